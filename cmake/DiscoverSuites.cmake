# Read by ctest whenever it begins, through a file that sets `program`, `list`, `emulator`, `folder` and `properties`: each gtest
# suite of the program becomes one test, which runs its cases in one process. They are named one by one, so that whoever judges
# the run knows which they had to be.
if(NOT EXISTS "${program}")
  get_filename_component(name "${program}" NAME_WE)
  add_test(${name}_NOT_BUILT ${name}_NOT_BUILT)
  return()
endif()

if(NOT EXISTS "${list}" OR NOT "${list}" IS_NEWER_THAN "${program}")
  execute_process(COMMAND ${emulator} "${program}" --gtest_list_tests WORKING_DIRECTORY "${folder}" TIMEOUT 120
                  OUTPUT_VARIABLE listed RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${program} --gtest_list_tests: ${status}\n${listed}")
  endif()
  # What follows on a name is a value of its parameter.
  string(REGEX REPLACE " *#[^\n]*|\r" "" listed "${listed}")
  file(WRITE "${list}" "${listed}")
endif()

set(suite)
set(cases)
file(STRINGS "${list}" lines REGEX "^ *[A-Za-z_]")
foreach(line IN LISTS lines ITEMS "")
  if(line MATCHES "^  ")
    string(STRIP "${line}" case)
    if(NOT "${suite}.${case}" MATCHES "DISABLED_") # other cases run those, in a process of its own
      string(APPEND cases ":${suite}.${case}")
    endif()
    continue()
  endif()
  if(cases)
    string(SUBSTRING "${cases}" 1 -1 cases)
    add_test("${suite}" ${emulator} "${program}" --gtest_filter=${cases})
    set_tests_properties("${suite}" PROPERTIES WORKING_DIRECTORY "${folder}" ${properties})
  endif()
  string(REGEX REPLACE "[.]$" "" suite "${line}")
  set(cases)
endforeach()
