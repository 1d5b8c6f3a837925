# Debian's header-only libraries, each linked into one folder of its own: adding /usr/include itself to a cross-build
# would bring in the system's C headers.
set(FCOE_HEADERS ${CMAKE_BINARY_DIR}/headers)
file(MAKE_DIRECTORY ${FCOE_HEADERS})
foreach(library nlohmann CLI fmt)
  file(CREATE_LINK /usr/include/${library} ${FCOE_HEADERS}/${library} SYMBOLIC)
endforeach()
add_library(header_libraries INTERFACE)
target_include_directories(header_libraries SYSTEM INTERFACE ${FCOE_HEADERS})
target_compile_definitions(header_libraries INTERFACE FMT_HEADER_ONLY=1)
