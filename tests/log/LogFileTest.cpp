#include "tools/log/LogFile.h"

#include <fstream>

#include <gtest/gtest.h>

#include "tests/kit/TempFolder.h"

namespace {

using agentlog::LogFile;

class LogFileTest : public testing::Test {
  protected:
    void Write(std::string_view text, std::ios::openmode mode = std::ios::trunc) {
        std::ofstream(Path(), std::ios::binary | mode) << text;
    }
    std::filesystem::path Path() const { return m_folder.Path() / L"log.txt"; }

    std::vector<std::string> Rest() {
        std::vector<std::string> lines;
        while (const auto line = m_file.Next())
            lines.emplace_back(*line);
        return lines;
    }

    LogFile m_file;

  private:
    TempFolder m_folder;
};

using Lines = std::vector<std::string>;

} // namespace

TEST_F(LogFileTest, YieldsLinesWithoutTheirEnds) {
    Write("one\r\n\r\ntwo\n");
    ASSERT_TRUE(m_file.Open(Path().wstring()));
    EXPECT_EQ((Lines{"one", "", "two"}), Rest());
    EXPECT_EQ(11u, m_file.Offset());
    EXPECT_TRUE(m_file.Unfinished().empty());
}

TEST_F(LogFileTest, KeepsTheLineThatHasNoEndYet) {
    Write("one\r\ntw");
    ASSERT_TRUE(m_file.Open(Path().wstring()));
    EXPECT_EQ((Lines{"one"}), Rest());
    EXPECT_EQ("tw", m_file.Unfinished());
    Write("o\r\nthree\r\n", std::ios::app);
    EXPECT_EQ((Lines{"two", "three"}), Rest());
}

TEST_F(LogFileTest, BeginsWhereItIsTold) {
    Write("one\r\ntwo\r\n");
    ASSERT_TRUE(m_file.Open(Path().wstring(), 5));
    EXPECT_EQ((Lines{"two"}), Rest());
}

TEST_F(LogFileTest, GoesOnBehindTheBuffersEnd) {
    std::string text;
    Lines expected;
    for (int i = 0; i < 60000; ++i) {
        expected.push_back("line " + std::to_string(i));
        text += expected.back() + "\r\n";
    }
    Write(text);
    ASSERT_TRUE(m_file.Open(Path().wstring()));
    EXPECT_EQ(expected, Rest());
}

TEST_F(LogFileTest, HandsALongLineOutInPieces) {
    const std::string text(600000, 'x');
    Write(text + "\r\nend\r\n");
    ASSERT_TRUE(m_file.Open(Path().wstring()));
    std::string joined;
    for (const auto& line : Rest())
        joined += line;
    EXPECT_EQ(text + "end", joined);
}

TEST_F(LogFileTest, IsReadWhileItsWriterHasIt) {
    FILE* const writer = _wfsopen(Path().c_str(), L"w", 0x20 /* others may not write */);
    ASSERT_TRUE(writer);
    fputs("one\n", writer);
    fflush(writer);
    EXPECT_TRUE(m_file.Open(Path().wstring()));
    EXPECT_EQ((Lines{"one"}), Rest());
    fputs("two\n", writer);
    fflush(writer);
    EXPECT_EQ((Lines{"two"}), Rest());
    fclose(writer);
}

TEST_F(LogFileTest, SeesThatItWasWrittenAnew) {
    Write("FCOEAGENT 1\r\n");
    ASSERT_TRUE(m_file.Open(Path().wstring()));
    EXPECT_EQ(1u, Rest().size());
    Write("more\r\n", std::ios::app);
    EXPECT_FALSE(m_file.WasRewritten());
    Write("FCOEAGENT 2 and longer than before\r\n");
    EXPECT_TRUE(m_file.WasRewritten());
    ASSERT_TRUE(m_file.Open(Path().wstring()));
    EXPECT_EQ(1u, Rest().size());
    const std::string line = std::string(80, 'x') + "\r\n"; // the file begins as before
    Write(line + line);
    ASSERT_TRUE(m_file.Open(Path().wstring()));
    EXPECT_EQ(2u, Rest().size());
    Write(line);
    EXPECT_TRUE(m_file.WasRewritten());
}

TEST_F(LogFileTest, TellsWhyItCannotBeRead) {
    EXPECT_FALSE(m_file.Open(Path().wstring()));
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, m_file.Error());
    EXPECT_FALSE(m_file.IsOpen());
    EXPECT_FALSE(m_file.Next());
}

TEST(LogText, IsOfTheSystemsCodePage) {
    EXPECT_EQ("plain", agentlog::Utf8("plain"));
    const wchar_t umlaut = L'\u00fc';
    char bytes[4];
    const int length = WideCharToMultiByte(CP_ACP, 0, &umlaut, 1, bytes, sizeof bytes, nullptr, nullptr);
    EXPECT_EQ("a\xc3\xbc", agentlog::Utf8("a" + std::string(bytes, static_cast<std::size_t>(length))));
}
