# fcoe_add_module(name source...): a DLL of the suite, found by its name, which has no "lib" before it.
function(fcoe_add_module name)
  add_library(${name} SHARED ${ARGN})
  set_target_properties(${name} PROPERTIES PREFIX "")
endfunction()
