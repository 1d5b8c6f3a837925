# The second compiler: clang for the same target. Headers, C++ library, run time and linker are those of mingw's GCC, so
# that what it builds runs as the rest does.
include(${CMAKE_CURRENT_LIST_DIR}/mingw-wine.cmake)
set(CMAKE_C_COMPILER clang${FCOE_CLANG})
set(CMAKE_CXX_COMPILER clang++${FCOE_CLANG})
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)

execute_process(COMMAND ${FCOE_MINGW_GXX} -print-file-name=libstdc++.dll.a OUTPUT_VARIABLE library
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
cmake_path(GET library PARENT_PATH gcc)
# The C++ library's thread-local variables are emulated ones. Only clang checks what the locks guard (QelLock.h).
set(CMAKE_C_FLAGS_INIT "-femulated-tls -nostdlibinc -isystem ${CMAKE_FIND_ROOT_PATH}/include")
set(CMAKE_CXX_FLAGS_INIT "-Wthread-safety -femulated-tls -nostdlibinc -isystem ${gcc}/include/c++ \
-isystem ${gcc}/include/c++/x86_64-w64-mingw32 -isystem ${gcc}/include/c++/backward \
-isystem ${CMAKE_FIND_ROOT_PATH}/include")
foreach(kind EXE SHARED MODULE)
  # The compile flags are given to the linker, too.
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-B${gcc} -L${gcc} -pthread -Wno-unused-command-line-argument")
endforeach()
