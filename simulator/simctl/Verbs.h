// The verbs of simctl. Each returns the program's exit code.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "simulator/simctl/Console.h"

namespace simctl {

struct CheckOptions {
    std::vector<std::string> files; // none: the topology in use
    bool strict = false;            // warnings are errors
    bool json = false;
};
int CheckFiles(Console& console, const CheckOptions& options);

struct UseOptions {
    std::string file;
    bool builtIn = false; // instead of a file
};
int Use(Console& console, const UseOptions& options);

int Show(Console& console, bool json);

struct SetOptions {
    std::string file; // empty: the one in use
    std::string pointer;
    std::string value;
};
int Set(Console& console, const SetOptions& options);

struct WatchOptions {
    double interval = 0.5;                // seconds
    std::optional<std::uint32_t> changes; // ends after so many; none: goes on
};
int Watch(Console& console, const WatchOptions& options);

// Plays a list of steps into the world in use, until all are taken.
int PlayScript(Console& console, const std::string& file);

int Reset(Console& console);

struct CallsOptions {
    std::string file; // empty: the one that is configured
    std::vector<std::string> functions;
    std::vector<std::string> modules;
    std::vector<std::uint32_t> processes;
    std::optional<std::uint32_t> last; // so many lines; none: all
    bool follow = false;
};
int Calls(Console& console, const CallsOptions& options);

// Registers the suite that the program belongs to, and undoes it.
int SetUp(Console& console);
int Remove(Console& console);

struct VerifyOptions {
    std::string library;               // a file; empty: none
    std::string coreAgent;             // the same
    std::vector<std::string> adapters; // identifiers; none: what the neighbours themselves know
    double limit = 10;                 // seconds for a call
    unsigned slowMs = 500;             // what counts as slow
    bool rules = false;                // prints them instead
    bool json = false;
    // Of a process that asks for another one: where it reports to, and what it leaves out.
    std::uintptr_t reportTo = 0;
    std::vector<std::string> skipped;
};
int Verify(Console& console, const VerifyOptions& options);

int PrintFunctions(Console& console, bool json);
int PrintDefault(Console& console);
int PrintSchema(Console& console);

} // namespace simctl
