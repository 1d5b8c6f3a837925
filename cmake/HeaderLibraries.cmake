# The header-only libraries of tools and tests: nlohmann-json, CLI11, {fmt} and Mustache.
add_library(header_libraries INTERFACE)

# fcoe_header_library(package target header): the package's target when it is for the machine that we build for.
function(fcoe_header_library package target header)
  fcoe_find_package(${package})
  if(TARGET ${target})
    target_link_libraries(header_libraries INTERFACE ${target})
  else()
    fcoe_headers(${package} ${header})
  endif()
endfunction()

# fcoe_headers(package header): the headers of the machine that builds, each library linked into one folder of its own:
# adding the folder where all of them lie would bring that system's C headers into a cross-build.
function(fcoe_headers package header)
  find_path(FCOE_${package}_HEADERS ${header} NO_CMAKE_FIND_ROOT_PATH REQUIRED
            DOC "Where ${header} is, of any machine: it is headers only")
  cmake_path(GET header PARENT_PATH folder)
  set(headers ${PROJECT_BINARY_DIR}/headers)
  file(MAKE_DIRECTORY ${headers})
  file(CREATE_LINK ${FCOE_${package}_HEADERS}/${folder} ${headers}/${folder} SYMBOLIC)
  target_include_directories(header_libraries SYSTEM INTERFACE ${headers})
endfunction()

fcoe_header_library(nlohmann_json nlohmann_json::nlohmann_json nlohmann/json.hpp)
if(FCOE_nlohmann_json_HEADERS)
  # Without its literals, which nobody here uses: for their sake each file that includes it would instantiate the parser, a
  # quarter of the compiler's work on a small one.
  set(literal "JSON_HEDLEY_NON_NULL\\(1\\)\ninline [^\n]* operator \"\" _json[^}]*}\n|[^\n]*using [^\n]*::operator \"\" _json[^\n]*\n")
  file(READ ${FCOE_nlohmann_json_HEADERS}/nlohmann/json.hpp text)
  string(REGEX REPLACE "${literal}" "" text "${text}")
  file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/quick_headers/nlohmann/json.hpp CONTENT "${text}" @ONLY)
  target_include_directories(header_libraries SYSTEM BEFORE INTERFACE ${PROJECT_BINARY_DIR}/quick_headers)
endif()
fcoe_header_library(CLI11 CLI11::CLI11 CLI/CLI.hpp)
fcoe_header_library(fmt fmt::fmt-header-only fmt/format.h)
if(NOT TARGET fmt::fmt-header-only)
  # What its headers leave to a library: in each file that formats it would be a third of the compiler's work.
  add_library(fmt_functions STATIC ${CMAKE_CURRENT_LIST_DIR}/fmt_functions.cpp)
  target_include_directories(fmt_functions SYSTEM PRIVATE ${PROJECT_BINARY_DIR}/headers)
  target_link_libraries(header_libraries INTERFACE fmt_functions)
endif()
fcoe_headers(mustache kainjow/mustache.hpp)
