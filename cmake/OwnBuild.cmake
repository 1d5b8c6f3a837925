# How this project is built when it is built for itself: one folder, warnings that are errors, the compiler cache.

# Every program and module in one folder, as they are installed: a module finds its neighbours beside the program.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

if(MSVC)
  add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:/W4>)
else()
  # DWARF 4 is what Wine's debugger and dbghelp read.
  add_compile_options(-Wall -Wextra -gdwarf-4)
  add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Werror>)
  # Debug information is the same wherever the sources lie. Coverage looks its sources up, in the debug build.
  add_compile_options($<$<CONFIG:Release>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-Wno-restrict) # GCC 12 imagines overlaps in string concatenation
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-fpch-preprocess>) # the compiler cache keeps nothing with precompiled headers else
  endif()
endif()

include(${CMAKE_CURRENT_LIST_DIR}/CompilerCache.cmake)
if(MINGW)
  # Sections that lie in the file as they do in memory are mapped. Wine reads all others, debug information included, at
  # each load.
  set(FCOE_FILE_ALIGNMENT 4096)
  add_link_options(-Wl,--file-alignment,${FCOE_FILE_ALIGNMENT})
  # Two builds of the same sources are the same files.
  add_link_options(-Wl,--no-insert-timestamp)
  include(${CMAKE_CURRENT_LIST_DIR}/RunTime.cmake)
endif()
