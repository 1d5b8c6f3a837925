// The entries of a ZIP archive, as its directory at the end has them.
#pragma once

#include <map>
#include <string>

// By name; a test fails on what is no such archive.
std::map<std::string, std::string> Unzip(const std::string& archive);
