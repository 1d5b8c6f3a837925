// Every option of the program, once: for the parser, the help, the completions and the manual page.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "tools/fcoectl/Command.h"

namespace fcoectl {

// The options as they stand on the command line; a text is there when its option is.
struct Typed {
    bool json = false;
    bool tolerant = false;
    bool mask = false;
    bool blocks = false;
    bool noHeader = false;
    bool ascii = false;
    bool all = false;
    bool dryRun = false;
    bool follow = false;
    bool openMetrics = false;
    std::optional<std::string> adapter;
    std::optional<std::string> agent;
    std::optional<std::string> libraryFolder;
    std::optional<std::string> watch; // empty: without a value
    std::optional<std::string> count;
    std::optional<std::string> timeout;
    std::optional<std::string> file;
    std::optional<std::string> output;
    std::optional<std::string> form;
    std::optional<std::string> columns;
    std::optional<std::string> sort;
    std::vector<std::string> where;
    std::vector<std::string> arguments; // what is no option
};

enum class ValueOf {
    Flag,   // takes none
    Needed, // each time it is given
    Optional,
};

struct Option {
    unsigned takes;    // commands that take one of these have it; TAKES_NOTHING: all
    const char* names; // "--json", or "-o,--format"
    ValueOf value;
    const char* placeholder; // of the value
    const char* description; // with its default
    const char* group;       // of the help
    const char* choices;     // its values, with blanks between; null: any
    std::variant<bool Typed::*, std::optional<std::string> Typed::*, std::vector<std::string> Typed::*> member;
};

std::span<const Option> OptionTable();

// What a command takes that is no option.
struct Argument {
    unsigned takes; // commands that take this have it
    const char* name;
    int least;
    int most;
    const char* description;
};

// Null: the command takes none.
const Argument* ArgumentOf(const Command& command);

// Whether the command has the option.
bool Has(const Command& command, const Option& option);
// By one of its names; null when there is none.
const Option* FindOption(std::string_view name);
// "--json" of "--json", "--format" of "-o,--format".
std::string LongName(const Option& option);

} // namespace fcoectl
