// What the command line asks for, checked.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tools/fcoectl/LogOptions.h"

namespace fcoectl {

// Of a list.
enum class Form { Table, Long, Csv, Tsv, Json, JsonLines };

// Columns stand by their place in the command's list of them.
struct Query {
    struct SortKey {
        std::size_t column;
        bool descending;
    };
    struct Condition {
        std::size_t column;
        std::string glob;
    };

    std::vector<std::size_t> columns; // empty: the usual ones
    std::vector<SortKey> sort;
    std::vector<Condition> where; // all of them
};

struct Options {
    std::string agentFile;              // empty: the registered one
    std::string libraryFolder;          // --library-dir; empty: where the system finds the HBA library
    std::optional<std::string> adapter; // as typed, not empty; none: all, or the only one
    bool allAdapters = false;           // --all, of a command that works on one otherwise
    Form form = Form::Table;
    bool formGiven = false; // on the command line
    bool json = false;      // one document
    bool tolerant = false;  // what could not be read is told, and is no failure
    Query query;
    bool header = true;
    bool ascii = false;
    bool mask = false;
    bool dryRun = false;            // say what would be done
    std::string wwpn = "auto";      // of a new or an existing port: in canonical form when it is a WWPN at all
    std::vector<std::string> words; // of the command that `help` tells of; the shell of `completion`
    std::string file;               // to write
    std::string output;             // --output: to write, too; empty: standard output
    bool openMetrics = false;
    std::string code;              // what `explain` explains; empty: all codes
    std::optional<double> watch;   // seconds between two readings of the counters
    unsigned count = 0;            // readings of --watch; 0: until Ctrl+C
    std::optional<double> timeout; // seconds that an answer of the agent may take
    LogOptions log;
};

} // namespace fcoectl
