# Object files are shared between build folders and clones through ccache, where it is installed. Without
# the sloppiness it would not keep what is compiled with precompiled headers; nothing here uses __DATE__ or __TIME__.
find_program(CCACHE ccache)
if(CCACHE AND CMAKE_HOST_UNIX)
  cmake_path(GET CMAKE_CURRENT_LIST_DIR PARENT_PATH cache_base)
  foreach(language C CXX)
    set(CMAKE_${language}_COMPILER_LAUNCHER
        env CCACHE_BASEDIR=${cache_base} CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=pch_defines,time_macros,locale ${CCACHE})
  endforeach()
endif()
