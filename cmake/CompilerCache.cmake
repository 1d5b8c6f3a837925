# Object files are shared between build folders and clones through ccache, where it is installed.
find_program(CCACHE ccache)
if(CCACHE)
  cmake_path(GET CMAKE_CURRENT_LIST_DIR PARENT_PATH cache_base)
  foreach(language C CXX)
    set(CMAKE_${language}_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${cache_base} CCACHE_NOHASHDIR=1 ${CCACHE})
  endforeach()
endif()
