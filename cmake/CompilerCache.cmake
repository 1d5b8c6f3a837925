# Object files are shared between build folders and clones through ccache, where it is installed.
find_program(CCACHE ccache)
if(CCACHE)
  foreach(language C CXX)
    set(CMAKE_${language}_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${CCACHE})
  endforeach()
endif()
