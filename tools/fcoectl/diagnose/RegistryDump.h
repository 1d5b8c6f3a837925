// A part of the registry as text.
#pragma once

#include <string>

namespace fcoectl {

// Every key and value from the key of HKEY_LOCAL_MACHINE on, in the 64-bit view: "[KEY]", then "NAME = DATA" a line.
// What cannot be read is said in its place.
std::string DumpRegistry(const std::wstring& key);

} // namespace fcoectl
