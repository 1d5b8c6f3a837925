// Worlds that move, as tests make them and look at them.
#pragma once

#include <string>

#include "FcoeAgent/OrvanHbaApi.h"
#include "tests/kit/ImportPatch.h"

// One adapter with one target of one LUN and a VLAN, whose topology has the steps, separated by commas.
std::string MovingAdapter(const std::string& steps, const std::string& more = {}, const std::string& faults = {});
// A step after so many calls. operations: of its patch, separated by commas. which: more keys; each with a comma first.
std::string AfterCalls(unsigned calls, const std::string& operations, const std::string& which = {});
std::string AfterSeconds(const char* seconds, const std::string& operations);
// Operations.
std::string Replace(const char* path, const std::string& value);
std::string Add(const char* path, const std::string& value);

// GetTickCount64 of a module under the test's control.
class MovedTicks {
  public:
    // module: null for the test program itself.
    explicit MovedTicks(HMODULE module);
    static void Advance(ULONGLONG milliseconds);

  private:
    ImportPatch m_patch;
};
