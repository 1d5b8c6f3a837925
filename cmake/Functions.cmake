# fcoe_add_dll(name source...): a DLL that is found by its name, which has no "lib" before it.
function(fcoe_add_dll name)
  add_library(${name} SHARED ${ARGN})
  set_target_properties(${name} PROPERTIES PREFIX "")
endfunction()

# The copyright that the files carry is the licence's.
file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/../LICENSE FCOE_COPYRIGHT REGEX "^Copyright" LIMIT_COUNT 1)

# What Windows reads of a file of the suite: the version, from the project's, and of a program the manifest. The targets
# that have it are in the global property FCOE_SHIPPED.
function(fcoe_describe target file type description)
  cmake_path(GET file STEM internal_name)
  set(resources "")
  if(type STREQUAL "VFT_APP")
    set(manifest ${CMAKE_CURRENT_BINARY_DIR}/${file}.manifest)
    configure_file(${CMAKE_CURRENT_FUNCTION_LIST_DIR}/program.manifest.in ${manifest} @ONLY)
    set(resources "1 24 \"${manifest}\"")
  endif()
  set(version ${CMAKE_CURRENT_BINARY_DIR}/${file}.rc)
  configure_file(${CMAKE_CURRENT_FUNCTION_LIST_DIR}/version.rc.in ${version} @ONLY)
  if(resources)
    set_property(SOURCE ${version} PROPERTY OBJECT_DEPENDS ${manifest})
  endif()
  target_sources(${target} PRIVATE ${version})
  set_property(GLOBAL APPEND PROPERTY FCOE_SHIPPED ${target})
endfunction()

# fcoe_add_module(name [FILE file] DESCRIPTION text SOURCES source...): a DLL of the suite. file: its name, when it is not
# the target's.
function(fcoe_add_module name)
  cmake_parse_arguments(ARG "" "FILE;DESCRIPTION" "SOURCES" ${ARGN})
  if(NOT ARG_FILE)
    set(ARG_FILE ${name})
  endif()
  fcoe_add_dll(${name} ${ARG_SOURCES})
  set_target_properties(${name} PROPERTIES OUTPUT_NAME ${ARG_FILE})
  fcoe_describe(${name} ${ARG_FILE}.dll VFT_DLL ${ARG_DESCRIPTION})
endfunction()

# fcoe_add_program(name DESCRIPTION text SOURCES source...): a program of the suite.
function(fcoe_add_program name)
  cmake_parse_arguments(ARG "" "DESCRIPTION" "SOURCES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  fcoe_describe(${name} ${name}.exe VFT_APP ${ARG_DESCRIPTION})
  if(MINGW)
    target_link_options(${name} PRIVATE -Wl,--tsaware) # what other linkers do unasked
  elseif(MSVC)
    target_link_options(${name} PRIVATE /MANIFEST:NO) # the resources bring it
  endif()
endfunction()

# fcoe_find_package(name): the package if it is for the machine that we build for. A cross-build looks only where its
# toolchain keeps the packages of the machine that builds apart.
macro(fcoe_find_package name)
  if(NOT CMAKE_CROSSCOMPILING OR CMAKE_FIND_ROOT_PATH_MODE_PACKAGE STREQUAL "ONLY")
    find_package(${name} CONFIG QUIET)
  endif()
endmacro()
