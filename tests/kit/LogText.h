// The agent's log as text: its lines, their headers, and what they say.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace LogText {

// One line, taken apart. The texts are parts of it.
struct Line {
    std::string_view module;
    unsigned long pid = 0, tid = 0;
    std::string_view time; // hh:mm:ss.mmm
    unsigned long long counter = 0;
    int tier = 0;
    std::string_view text;
};
// Nothing when it has not the whole header. Takes no memory.
std::optional<Line> Parse(std::string_view line);
// What the line says; the line itself when it has no header: a message of more than one line goes on in it.
std::string_view TextOf(std::string_view line);
// ENTRY or EXIT of an operation.
bool IsTrace(std::string_view text);

// Whether a text counts.
using Filter = std::function<bool(std::string_view text)>;
// All but those that begin with one of these.
Filter Without(std::vector<std::string> beginnings);
// These, and no other.
Filter Only(std::vector<std::string> texts);

// Of a whole log: its lines, without their ends; what they say; what they say but for the traces.
std::vector<std::string_view> Lines(std::string_view log);
std::vector<std::string> Texts(std::string_view log);
std::vector<std::string> Messages(std::string_view log, const Filter& filter = nullptr);

// The operation's own ENTRY and EXIT lines among those.
std::vector<std::string> TracesOf(const std::vector<std::string>& texts, const std::string& operation);
// The operation was entered and, after that, left; its EXIT line ends in the result, ", bReturn=true" or the like.
testing::AssertionResult Traced(const std::vector<std::string>& texts, const std::string& operation,
                                const std::string& result = "");

} // namespace LogText
