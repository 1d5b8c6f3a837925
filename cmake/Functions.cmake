# fcoe_add_module(name source...): a DLL of the suite, found by its name, which has no "lib" before it.
function(fcoe_add_module name)
  add_library(${name} SHARED ${ARGN})
  set_target_properties(${name} PROPERTIES PREFIX "")
endfunction()

# fcoe_find_package(name): the package if it is for the machine that we build for. A cross-build looks only where its
# toolchain keeps the packages of the machine that builds apart.
macro(fcoe_find_package name)
  if(NOT CMAKE_CROSSCOMPILING OR CMAKE_FIND_ROOT_PATH_MODE_PACKAGE STREQUAL "ONLY")
    find_package(${name} CONFIG QUIET)
  endif()
endmacro()
