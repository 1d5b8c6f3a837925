# The C++ run time of mingw's GCC that all modules share, copied beside the binaries; aligned as they are. FCOE_MINGW_GXX
# is that GCC where another compiler builds; FCOE_RUN_TIME lists the copies.
set(gxx ${CMAKE_CXX_COMPILER})
if(DEFINED FCOE_MINGW_GXX)
  set(gxx ${FCOE_MINGW_GXX})
endif()
function(fcoe_ask_compiler variable question)
  execute_process(COMMAND ${gxx} ${question} OUTPUT_VARIABLE answer OUTPUT_STRIP_TRAILING_WHITESPACE
                  COMMAND_ERROR_IS_FATAL ANY)
  set(${variable} ${answer} PARENT_SCOPE)
endfunction()

fcoe_ask_compiler(objcopy -print-prog-name=objcopy)
file(MAKE_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
set(FCOE_RUN_TIME)
foreach(dll libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
  fcoe_ask_compiler(path -print-file-name=${dll})
  set(copy ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${dll})
  list(APPEND FCOE_RUN_TIME ${copy})
  if(${path} IS_NEWER_THAN ${copy} OR ${CMAKE_CURRENT_LIST_FILE} IS_NEWER_THAN ${copy})
    # Without a date given it writes the present one into the file.
    execute_process(COMMAND ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0 ${objcopy} --file-alignment ${FCOE_FILE_ALIGNMENT} ${path} ${copy}
                    COMMAND_ERROR_IS_FATAL ANY)
  endif()
endforeach()
