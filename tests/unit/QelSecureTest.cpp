// The bounded copy and append.
#include "Common/Src/QelSecure.h"

#include <cerrno>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>

#include "Common/Src/InvalidParameterHandler.h"
#include "tests/kit/LogCapture.h"
#include "tests/unit/QelDebugFixture.h"

namespace {

constexpr wchar_t CALLER[] = L"caller.cpp";
const std::string HANDLER_LINE = "QelSecureInvalidParameterHandler : ERROR";
const std::string NULL_SOURCE = "caller.cpp (17): QelSafeCopy ERROR: NULL == strSource";
const std::string TOO_SMALL = "caller.cpp (17): QelSafeCopy ERROR: strDestination size 0, or too small";

// Lines that end with the text and name this module's source file.
int CountOwn(const LogCapture& log, const std::string& text) {
    int count = 0;
    for (const std::string& line : log.Messages())
        count += line.starts_with("Common\\Src\\QelSecure (") && line.ends_with("): " + text);
    return count;
}

class QelSecure : public testing::Test {
  protected:
    QelSecure() {
        QelSafeCopy(CALLER, 17, m_buffer, std::size(m_buffer), L"start"); // installs the handler
        m_log.Clear();
    }
    int Copy(std::size_t size, const wchar_t* source) { return QelSafeCopy(CALLER, 17, m_buffer, size, source); }
    int Cat(std::size_t size, const wchar_t* source) { return QelSafeCat(CALLER, 17, m_buffer, size, source); }

    wchar_t m_buffer[32] = {};
    LogCapture m_log;
};

TEST_F(QelSecure, CopiesTenCharactersIntoEleven) {
    EXPECT_EQ(0, Copy(11, L"0123456789"));
    EXPECT_STREQ(L"0123456789", m_buffer);
    EXPECT_TRUE(m_log.Lines().empty());
}

TEST_F(QelSecure, RefusesTenCharactersIntoTen) {
    EXPECT_EQ(ERANGE, Copy(10, L"0123456789"));
    EXPECT_STREQ(L"", m_buffer);
    EXPECT_EQ(1, m_log.Count(TOO_SMALL));
    EXPECT_EQ(1, m_log.Count(HANDLER_LINE));
}

TEST_F(QelSecure, RefusesANullSource) {
    EXPECT_EQ(EINVAL, Copy(11, nullptr));
    EXPECT_STREQ(L"", m_buffer);
    EXPECT_EQ(1, m_log.Count(NULL_SOURCE));
    EXPECT_EQ(1, m_log.Count(HANDLER_LINE));
}

TEST_F(QelSecure, ReportsANullDestinationAtItsOwnPosition) {
    EXPECT_EQ(EINVAL, QelSafeCopy(CALLER, 17, nullptr, 11, L"text"));
    EXPECT_EQ(1, CountOwn(m_log, "QelSafeCopy ERROR: NULL == strDestination"));
    EXPECT_EQ(1, m_log.Count(HANDLER_LINE));
    EXPECT_EQ(EINVAL, QelSafeCopy(CALLER, 17, nullptr, 11, nullptr));
    EXPECT_EQ(2, CountOwn(m_log, "QelSafeCopy ERROR: NULL == strDestination"));
    EXPECT_EQ(0, m_log.Count(NULL_SOURCE));
}

TEST_F(QelSecure, SizeZeroCountsAsAnInvalidArgument) {
    // The run time answers 22 here, and the line follows the number.
    EXPECT_EQ(EINVAL, Copy(0, L"text"));
    EXPECT_EQ(1, m_log.Count(NULL_SOURCE));
}

TEST_F(QelSecure, Appends) {
    EXPECT_EQ(0, Cat(11, L"12345"));
    EXPECT_STREQ(L"start12345", m_buffer);
    EXPECT_TRUE(m_log.Lines().empty());
}

// Wine's wcscat_s returns the error numbers without calling the handler, Windows' calls it: its line is not counted.
TEST_F(QelSecure, AppendReportsWithTheNameOfTheCopy) {
    EXPECT_EQ(ERANGE, Cat(10, L"12345"));
    EXPECT_STREQ(L"", m_buffer);
    EXPECT_EQ(1, m_log.Count(TOO_SMALL));
    EXPECT_EQ(EINVAL, Cat(10, nullptr));
    EXPECT_EQ(1, m_log.Count(NULL_SOURCE));
    EXPECT_EQ(EINVAL, QelSafeCat(CALLER, 17, nullptr, 10, L"x"));
    EXPECT_EQ(1, CountOwn(m_log, "QelSafeCopy ERROR: NULL == strDestination"));
}

TEST_F(QelSecure, CopiesAnEmptyText) {
    EXPECT_EQ(0, Copy(1, L""));
    EXPECT_STREQ(L"", m_buffer);
}

TEST_F(QelSecure, InstallsItsHandlerOnce) {
    EXPECT_EQ(QelSecureInvalidParameterHandler, _get_invalid_parameter_handler());
    const std::string message = "Setting invalid parameter handler to: QelSecureInvalidParameterHandler";
    const _invalid_parameter_handler other = [](const wchar_t*, const wchar_t*, const wchar_t*, unsigned int,
                                                std::uintptr_t) {};
    _set_invalid_parameter_handler(other);
    EXPECT_EQ(0, Copy(11, L"text"));
    EXPECT_EQ(QelSecureInvalidParameterHandler, _get_invalid_parameter_handler());
    EXPECT_EQ(1, CountOwn(m_log, message));
    EXPECT_EQ(0, Copy(11, L"text"));
    EXPECT_EQ(0, Cat(11, L"text"));
    EXPECT_EQ(1, CountOwn(m_log, message));

    _set_invalid_parameter_handler(other);
    EXPECT_EQ(0, Cat(11, L""));
    EXPECT_EQ(2, CountOwn(m_log, message));
}

TEST_F(QelSecure, TheHandlersLineComesBeforeTheErrorLine) {
    Copy(10, L"0123456789");
    EXPECT_EQ((std::vector<std::string>{HANDLER_LINE, TOO_SMALL}), m_log.Lines());
    m_log.Clear();
    Copy(11, nullptr);
    EXPECT_EQ((std::vector<std::string>{HANDLER_LINE, NULL_SOURCE}), m_log.Lines());
}

TEST_F(QelSecure, HandlerOnlyLogs) {
    QelSecureInvalidParameterHandler(nullptr, nullptr, nullptr, 0, 0);
    EXPECT_EQ(std::vector<std::string>{HANDLER_LINE}, m_log.Lines());
}

// In child processes, whose log is at another level.
class QelSecureChild : public QelDebugFixture {
  protected:
    static void CopyTooLong() {
        wchar_t buffer[10];
        QelSafeCopy(CALLER, 17, buffer, std::size(buffer), L"0123456789");
    }
};

TEST_F(QelSecureChild, TheHandlerIsSilentAtLevelTwo) {
    EXPECT_EXIT(Run(2, {TOO_SMALL}, CopyTooLong), testing::ExitedWithCode(0), "");
}

TEST_F(QelSecureChild, BothLinesAreWrittenAtLevelOne) {
    EXPECT_EXIT(Run(1, {HANDLER_LINE, TOO_SMALL}, CopyTooLong), testing::ExitedWithCode(0), "");
}

} // namespace
