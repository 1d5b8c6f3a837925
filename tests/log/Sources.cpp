#include "tests/log/Sources.h"
#include "tests/kit/TestData.h"

#include <filesystem>
#include <regex>

#include <gtest/gtest.h>

#include "tests/kit/TempFolder.h"

namespace {

namespace fs = std::filesystem;

// Wide literals that have a blank are sentences; these are not for the log, or are its frame.
const std::regex NOT_LOGGED(R"(ENTRY:  .*|EXIT:  .*|.*TIER |SELECT .*|%s \(%d\): %s| )");

std::string WithoutComments(const std::string& source) {
    return std::regex_replace(source, std::regex(R"((^|\s)//[^\n]*)"), "");
}

void AddTexts(const std::string& source, std::set<std::string>& texts) {
    // A call of the log's, or a literal anywhere that is a sentence.
    static const std::regex literals(R"re(((?:QEL_PRINT|Print)\s*\(\s*)?((?:L"(?:[^"\\]|\\.)*"\s*)+))re");
    static const std::regex one(R"re(L"((?:[^"\\]|\\.)*)")re");
    for (std::sregex_iterator found(source.begin(), source.end(), literals), end; found != end; ++found) {
        const std::string all = (*found)[2];
        std::string text;
        for (std::sregex_iterator part(all.begin(), all.end(), one); part != end; ++part)
            text += (*part)[1];
        const bool sentence = text.find(' ') != std::string::npos;
        if (((*found)[1].matched || sentence) && !std::regex_match(text, NOT_LOGGED))
            texts.insert(text);
    }
}

} // namespace

std::set<std::string> LoggedTexts() {
    std::set<std::string> texts;
    for (const char* folder : {"Common/Src", "hbaapi", "model", "agent"})
        for (const auto& entry : fs::directory_iterator(SourceFolder() / folder))
            if (entry.path().extension() == ".cpp" || entry.path().extension() == ".h")
                AddTexts(WithoutComments(ReadFileBytes(entry.path())), texts);
    return texts;
}

bool Matches(const std::string& text, const std::string& pattern) {
    std::string expression;
    for (const char c : std::regex_replace(pattern, std::regex("%(lld|llX|[dxsl])"), "\x01"))
        expression += c == '\x01'                                   ? std::string(".*")
                      : std::isalnum(static_cast<unsigned char>(c)) ? std::string{c}
                                                                    : std::string{'\\', c};
    return std::regex_match(text, std::regex(expression));
}

std::map<std::string, std::uint32_t> HeaderStatuses() {
    const std::string header = ReadFileBytes(SourceFolder() / "include/FcoeAgent/HbaApi.h");
    static const std::regex definition(R"(HBA_STATUS (HBA_STATUS_\w+) = (\d+);)");
    std::map<std::string, std::uint32_t> statuses;
    for (std::sregex_iterator found(header.begin(), header.end(), definition), end; found != end; ++found)
        statuses[(*found)[1]] = static_cast<std::uint32_t>(std::stoul((*found)[2]));
    return statuses;
}
