// The scope tracer and the traced result, which write to the program's log.
#include "FcoeAgent/QelDebug.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/kit/LogCapture.h"
#include "tests/unit/QelDebugFixture.h"

namespace {

using Texts = std::vector<std::string>;

// The tiers of the lines, counted from the first one's: threads of earlier tests may have left the log at any tier.
std::vector<int> Tiers(const LogCapture& log) {
    std::vector<int> tiers;
    for (const std::string& line : log.WholeLines())
        tiers.push_back(std::stoi(line.substr(line.find("\tTIER ") + 6)));
    const int first = tiers.empty() ? 0 : tiers[0];
    for (int& tier : tiers)
        tier -= first;
    return tiers;
}

TEST(QelDebugScope, WritesEntryAndExit) {
    LogCapture log;
    {
        const CQelDebugScope scope(L"Class::Operation");
        EXPECT_EQ(Texts{"ENTRY:  Class::Operation"}, log.Lines());
    }
    EXPECT_EQ((Texts{"ENTRY:  Class::Operation", "EXIT:  Class::Operation"}), log.Lines());
}

TEST(QelDebugScope, ExitShowsTheResultAtTheEnd) {
    LogCapture log;
    BOOL isDone = TRUE;
    LONG count = 1;
    QEL_RESULT result{1, 2};
    HRESULT hresult = 0;
    {
        const CQelDebugScope boolean(L"B", &isDone);
        const CQelDebugScope integer(L"I", &count);
        const CQelDebugScope record(L"R", &result);
        CQelDebugScope com(L"H");
        com.ShowHResult(&hresult);
        isDone = FALSE;
        count = -7;
        result.ulErrCode = 0xFFFFFFFF;
        hresult = E_FAIL;
    }
    EXPECT_EQ((Texts{"ENTRY:  B", "ENTRY:  I", "ENTRY:  R", "ENTRY:  H", "EXIT:  H, HRESULT=0X80004005",
                     "EXIT:  R, res.ulErrCode=-1", "EXIT:  I, nReturn=-7", "EXIT:  B, bReturn=false"}),
              log.Lines());
    log.Clear();
    isDone = 5;
    { const CQelDebugScope boolean(L"B", &isDone); }
    EXPECT_TRUE(log.Has("EXIT:  B, bReturn=true"));
}

TEST(QelDebugScope, NullResultPointerWritesThePlainExit) {
    LogCapture log;
    {
        const CQelDebugScope boolean(L"B", static_cast<const BOOL*>(nullptr));
        const CQelDebugScope integer(L"I", static_cast<const LONG*>(nullptr));
        const CQelDebugScope record(L"R", static_cast<const QEL_RESULT*>(nullptr));
        CQelDebugScope com(L"H");
        com.ShowHResult(nullptr);
    }
    EXPECT_EQ(
        (Texts{"ENTRY:  B", "ENTRY:  I", "ENTRY:  R", "ENTRY:  H", "EXIT:  H", "EXIT:  R", "EXIT:  I", "EXIT:  B"}),
        log.Lines());
}

TEST(QelDebugScope, NestingIsTheTier) {
    const LogCapture log;
    QEL_PRINT(L"before");
    {
        const CQelDebugScope outer(L"O");
        QEL_PRINT(L"in the outer");
        const CQelDebugScope inner(L"I");
    }
    QEL_PRINT(L"outside");
    EXPECT_EQ((Texts{"before", "ENTRY:  O", "in the outer", "ENTRY:  I", "EXIT:  I", "EXIT:  O", "outside"}),
              log.Lines());
    EXPECT_EQ((std::vector{0, 1, 1, 2, 2, 1, 0}), Tiers(log));
}

TEST(QelDebugScope, NamelessScopeOnlyCounts) {
    const LogCapture log;
    QEL_PRINT(L"before");
    {
        const CQelDebugScope scope(nullptr);
        QEL_PRINT(L"inside");
    }
    QEL_PRINT(L"outside");
    EXPECT_EQ((Texts{"before", "inside", "outside"}), log.Lines());
    EXPECT_EQ((std::vector{0, 1, 0}), Tiers(log));
}

TEST(QelDebugScope, PrintArgumentsAreEvaluatedOnlyWhenTheLogIsOn) {
    int evaluated = 0;
    const LogCapture log;
    QEL_PRINT(L"%d", ++evaluated);
    EXPECT_EQ(1, evaluated);
}

// In child processes, whose log is configured otherwise.
using QelDebugScopeChild = QelDebugFixture;

TEST_F(QelDebugScopeChild, LevelTwoWritesNoTraces) {
    EXPECT_EXIT(Run(2, {"f.cpp (3): bad"},
                    [] {
                        int evaluated = 0;
                        const CQelDebugScope scope(L"Class::Operation");
                        QEL_PRINT(L"%d", ++evaluated);
                        if (evaluated)
                            _exit(3);
                        CQelDebug::Instance().Error(L"f.cpp", 3, L"bad");
                    }),
                testing::ExitedWithCode(0), "");
}

TEST_F(QelDebugScopeChild, ALogConfiguredInsideAScopeShowsItsExitAtItsTier) {
    EXPECT_EXIT(Run(0, {"ENTRY:  Inner", "EXIT:  Inner", "EXIT:  Outer"},
                    [] {
                        const CQelDebugScope outer(L"Outer");
                        if (CQelDebug::Instance().Configure(MODULE, L"log.txt", 1, 0, 0) != 0)
                            _exit(2);
                        const CQelDebugScope inner(L"Inner");
                    }),
                testing::ExitedWithCode(0), "");
}

} // namespace
