# Cross-builds for Windows x86-64 with mingw-w64 and runs the results under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(FCOE_MINGW_GXX x86_64-w64-mingw32-g++-posix)
set(CMAKE_CXX_COMPILER ${FCOE_MINGW_GXX})
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_DLLTOOL x86_64-w64-mingw32-dlltool) # whatever other compilers are installed

# Where the system's own headers and libraries are.
execute_process(COMMAND ${FCOE_MINGW_GXX} -print-file-name=libkernel32.a OUTPUT_VARIABLE library
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
cmake_path(NORMAL_PATH library)
cmake_path(GET library PARENT_PATH root)
cmake_path(GET root PARENT_PATH root)
set(CMAKE_FIND_ROOT_PATH ${root})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/wine-run)
