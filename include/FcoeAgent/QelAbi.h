// Refuses compilers whose strings, lists and classes are not the agent's: what they compile would not fail, but read
// and free foreign memory. docs/host-guide.md has the table of who can use what.
#pragma once

#include <cstddef> // tells of the C++ library

// The agent that is built along with its host is of the host's compiler, whichever that is.
#if !defined(QEL_SAME_COMPILER)
#if !defined(__MINGW32__) || !defined(__x86_64__) || !defined(__GLIBCXX__)
#error "The FCoE agent's C++ is that of mingw-w64 with libstdc++ for x86-64; other compilers use fcoe_agent.h."
#elif defined(_GLIBCXX_DEBUG)
#error "The FCoE agent's strings and lists are not those of _GLIBCXX_DEBUG; build the host without it."
#elif !_GLIBCXX_USE_CXX11_ABI
#error "The FCoE agent's strings are those of the new ABI; build the host without _GLIBCXX_USE_CXX11_ABI=0."
#elif __cplusplus < 201703L
#error "The FCoE agent's headers are C++17; build the host with -std=c++17 or later."
#endif
#endif
