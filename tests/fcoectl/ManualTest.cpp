// The manual says what the program does.
#include <iterator>
#include <regex>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fcoectl/Host.h"
#include "tests/kit/PrivateHive.h"
#include "tests/kit/TestData.h"
#include "tools/fcoectl/Codes.h"
#include "tools/fcoectl/Commands.h"
#include "tools/fcoectl/Examples.h"
#include "tools/fcoectl/Text.h"

using testing::HasSubstr;

namespace {

constexpr char TEMP[] = "C:\\Temp"; // the folder for temporary files of the transcripts

std::string ManualText() {
    const std::string text = ReadFileBytes(SourceFolder() / "docs/fcoectl.md");
    EXPECT_FALSE(text.empty()) << "docs/fcoectl.md cannot be read";
    return text;
}

// As the manual shows a transcript: indented, empty lines empty.
std::string Block(std::string_view command, std::string_view output) {
    std::string block = "    > " + std::string(command) + '\n';
    while (!output.empty()) {
        const auto end = output.find('\n');
        block += end ? "    " : "";
        block += output.substr(0, end + 1);
        output.remove_prefix(end + 1);
    }
    return block;
}

// What a transcript says of the log is said on a machine where the suite is in this folder.
class Manual : public testing::Test {
  protected:
    Manual() { m_hive.Set(L"SOFTWARE\\ORVAN\\NETWORK_SERVICES\\QEL2", L"InstalledDir", L"C:\\Program Files\\ORVAN"); }

  private:
    PrivateHive m_hive;
};

// Also where backslashes are doubled, as in JSON.
void Replace(std::string& text, std::string from, std::string to) {
    for (int form = 0; form < 2; ++form) {
        for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
            text.replace(at, from.size(), to);
        from = std::regex_replace(from, std::regex(R"(\\)"), R"(\\)");
        to = std::regex_replace(to, std::regex(R"(\\)"), R"(\\)");
    }
}

void ExpectTranscript(Host&& host, const std::vector<std::string>& arguments, bool withAgent = true) {
    const Answer answer = withAgent ? host.Run(arguments) : host.RunPlain(arguments);
    std::string command = "fcoectl";
    for (const std::string& argument : arguments)
        command += ' ' + argument;
    std::string said = answer.out + answer.err;
    Replace(said, fcoectl::ToUtf8(host.LogPlace()), TEMP);
    EXPECT_THAT(ManualText(), HasSubstr(Block(command, said)));
}

} // namespace

TEST_F(Manual, TranscriptsAreWhatIsPrinted) {
    for (const char* command : {"tree", "hbas", "ports", "dcb", "disks"})
        ExpectTranscript(Host(), {command});
    ExpectTranscript(Host(), {"luns", "--where", "os_lun=0", "--columns", "os_device_name,capacity,initiator"});
    ExpectTranscript(Host(), {"ports", "-o", "jsonl", "--where", "kind=virtual*", "--columns", "port_wwn,fabric_name"});
    ExpectTranscript(Host(), {"hbas", "--long"});
    ExpectTranscript(Host(), {"vlans", "--json"});
    ExpectTranscript(Host(L"two"), {"ports", "--adapter", "CNA"});
    ExpectTranscript(Host(), {"vport", "delete", "2001001b21000001", "--dry-run"});
    ExpectTranscript(Host(L"refuse:203 silent"), {"vport", "create", "20:01:00:1B:21"});
    ExpectTranscript(Host(L"refuse:203 silent"), {"vport", "create", "20:01:00:1B:21", "--json"});
    ExpectTranscript(Host(), {"prots"}, false);
    ExpectTranscript(Host(), {"vlans", "--adaptor", "1"}, false);
    ExpectTranscript(Host(), {"explain", "pfc_mismatch"}, false);
    ExpectTranscript(Host(),
                     {"explain", "CHBAAPIInt::InitHBAAPIMod", "InitializeLibrary", "failed", "-", "Status", "-", "3"},
                     false);
    for (const char* name : {"explain", "log requests", "log problems"}) {
        const fcoectl::Example* example = fcoectl::FindExample(name);
        ASSERT_NE(nullptr, example);
        EXPECT_THAT(ManualText(), HasSubstr(Block(example->command, example->output)));
    }
}

TEST_F(Manual, ListsEveryCode) {
    const std::string manual = ManualText();
    for (const auto& exit : fcoectl::ExitCodes())
        EXPECT_THAT(manual, HasSubstr("| " + std::to_string(static_cast<int>(exit.value)) + " | `" + exit.name +
                                      "` | " + exit.meaning + " | " + exit.advice + " |"));
    for (const auto& error : reading::AgentErrors()) {
        char code[16];
        std::snprintf(code, sizeof code, "0x%08X", error.code);
        EXPECT_THAT(manual, HasSubstr("| " + std::string(code) + " | " +
                                      std::to_string(static_cast<int>(fcoectl::ExitOf(error.code))) + " | "));
    }
}

TEST_F(Manual, ListsEveryCommandAndKey) {
    const std::string manual = ManualText();
    for (const auto& command : fcoectl::Commands()) {
        EXPECT_THAT(manual, HasSubstr("`" + std::string(command.name)));
        if (!command.list)
            continue;
        Host host;
        const std::string name = command.name;
        std::istringstream words(name + " --json");
        std::vector<std::string> arguments{std::istream_iterator<std::string>(words), {}};
        if (command.takes & fcoectl::TAKES_LOG_FILE)
            arguments.insert(arguments.end(), {"--file", (TestData() / "log/FcoeAgnt.txt").string()});
        if (command.takes & fcoectl::TAKES_REQUEST)
            arguments.emplace_back("2");
        const bool agent = command.takes & fcoectl::TAKES_AGENT;
        const auto document = agent ? host.Run(arguments).Json() : host.RunPlain(arguments).Json();
        ASSERT_FALSE(document[command.list].empty()) << name;
        for (const auto& [key, value] : document[command.list][0].items())
            EXPECT_THAT(manual, HasSubstr("`" + key + "`")) << name;
    }
}
