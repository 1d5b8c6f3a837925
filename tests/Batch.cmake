# Writes a source of which several test sources are compiled at once, each in a namespace of its own, see fcoe_add_tests:
# cmake -P Batch.cmake BATCH SOURCE..., the sources as the compiler finds them from the folder that this one is in.
cmake_path(GET CMAKE_CURRENT_LIST_DIR PARENT_PATH root)
math(EXPR last "${CMAKE_ARGC} - 1")
foreach(at RANGE 4 ${last})
  set(source ${CMAKE_ARGV${at}})
  # Headers stay outside of the namespaces.
  file(STRINGS ${root}/${source} lines REGEX "^#include ")
  list(APPEND includes ${lines})
  cmake_path(GET source STEM name)
  string(APPEND parts "namespace in_${name} {\n#include \"${source}\"\n}\n")
endforeach()
list(REMOVE_DUPLICATES includes)
list(JOIN includes "\n" includes)
file(WRITE ${CMAKE_ARGV3} "${includes}\n\n${parts}")
