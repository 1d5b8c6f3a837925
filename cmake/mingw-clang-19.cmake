# The newest compiler of this Debian.
set(FCOE_CLANG -19)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-clang.cmake)
# The C++ library's own algorithms use what it calls deprecated.
string(APPEND CMAKE_CXX_FLAGS_INIT " -Wno-deprecated-declarations")
