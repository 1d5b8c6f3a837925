#include "tests/recording/Playback.h"

#include <regex>

#include <gtest/gtest.h>

#include "tests/kit/LogText.h"
#include "tests/kit/TempFolder.h"
#include "tests/reading/CapturedOutput.h"
#include "tools/fcoectl/Run.h"
#include "tools/fcoectl/Text.h"

namespace {

// A log must not depend on how long a command took: each of these reads every cache once.
bool IsLogComparable(const std::string& words) {
    static const std::regex once("(hbas|fabrics|ports|targets|luns|vlans|stats|dcb)");
    return std::regex_match(words, once);
}

// Its lines without their headers. The last error of a call that failed inside the library is whatever Windows left.
ReadingHost::Json LogOf(const SuiteHost& suite) {
    static const std::regex lastError("(failed with error: )\\d+");
    ReadingHost::Json lines = ReadingHost::Json::array();
    for (const std::string& line : suite.LogLines())
        lines.push_back(std::regex_replace(line, lastError, "$1N"));
    return lines;
}

// Where the two begin to differ; a log is long.
void Tell(const ReadingHost::Json& expected, const ReadingHost::Json& actual, const std::string& what) {
    const auto differences = ReadingHost::Json::diff(expected, actual);
    for (std::size_t i = 0; i < std::min<std::size_t>(differences.size(), 4); ++i) {
        const ReadingHost::Json::json_pointer place(differences[i]["path"].get<std::string>());
        ADD_FAILURE() << what << ": " << differences[i].dump().substr(0, 600)
                      << "\nbefore: " << (expected.contains(place) ? expected[place].dump().substr(0, 600) : "nothing");
    }
}

} // namespace

std::vector<std::string> ReadingCommands() {
    return {std::begin(READERS), std::end(READERS)};
}

Playback::Playback() {
    m_host.Dcb();
}

// Anew: nothing was called yet. The DCB service counts on in a file that says the same.
void Playback::Simulate(const std::string& topology) {
    m_host.SimulateDcb(topology + "\n// " + std::to_string(++m_shown));
    m_host.Simulate(topology);
}

std::string Playback::Record(const std::string& topology, const std::string& words) {
    Simulate(topology);
    const auto file = m_host.Suite().Folder() / "recorded.json";
    std::vector<std::string> arguments = {"record", fcoectl::ToUtf8(file.wstring())};
    if (!words.empty())
        arguments.push_back(words);
    CapturedOutput captured;
    EXPECT_EQ(0, fcoectl::Run(arguments, captured)) << captured.out << captured.err;
    return ReadFileBytes(file);
}

Playback::Json Playback::Say(const std::string& topology, const std::string& words) {
    Simulate(topology);
    const auto reading = m_host.Run(words);
    Json said = reading.document;
    if (said.is_object())
        said.erase("output");
    return {{"exit", reading.exit},
            {"document", std::move(said)},
            {"written", reading.written},
            {"log", IsLogComparable(words) ? LogOf(m_host.Suite()) : Json()}};
}

void Playback::ExpectRecordedSame(const std::string& name, const std::string& topology,
                                  const std::vector<std::string>& commands) {
    const std::string recorded = Record(topology);
    for (const std::string& words : commands) {
        // What a command of several readings says may depend on whether they meet the agent's cache, as the time goes.
        // What the recording changes differs each time.
        const int attempts = IsLogComparable(words) ? 1 : 3;
        Json before, after;
        for (int attempt = 0; attempt < attempts && (attempt == 0 || before != after); ++attempt) {
            before = Say(topology, words);
            after = Say(recorded, words);
        }
        if (before != after)
            Tell(before, after, name + ": " + words);
    }
}
