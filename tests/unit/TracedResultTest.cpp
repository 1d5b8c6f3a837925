// What the EXIT line of a traced operation shows.
#include <gtest/gtest.h>

#include "FcoeAgent/QelDebug.h"
#include "tests/kit/LogCapture.h"

namespace {

using Lines = std::vector<std::string>;

template <class Result> Result Traced(Result initial, Result result) {
    CQelTracedResult traced(L"Class::Operation", initial);
    return traced(result);
}

TEST(TracedResult, IsWhatTheOperationReturns) {
    const LogCapture log;
    EXPECT_EQ(TRUE, Traced<BOOL>(FALSE, TRUE));
    EXPECT_EQ((Lines{"ENTRY:  Class::Operation", "EXIT:  Class::Operation, bReturn=true"}), log.Lines());
}

TEST(TracedResult, CanBeANumber) {
    const LogCapture log;
    EXPECT_EQ(7, Traced<LONG>(0, 7));
    EXPECT_EQ((Lines{"ENTRY:  Class::Operation", "EXIT:  Class::Operation, nReturn=7"}), log.Lines());
}

TEST(TracedResult, CanBeAStatusOfTheCoreAgent) {
    const LogCapture log;
    EXPECT_EQ(5u, Traced<QEL_RESULT>(QEL_RESULT_NOT_DONE, {5, 0}).ulErrCode);
    EXPECT_EQ((Lines{"ENTRY:  Class::Operation", "EXIT:  Class::Operation, res.ulErrCode=5"}), log.Lines());
}

TEST(TracedResult, IsTheInitialOneWhenAnExceptionEndsTheOperation) {
    const LogCapture log;
    const auto fail = []() -> BOOL {
        CQelTracedResult traced(L"Class::Operation", TRUE);
        throw 1;
    };
    EXPECT_THROW(fail(), int);
    EXPECT_EQ((Lines{"ENTRY:  Class::Operation", "EXIT:  Class::Operation, bReturn=true"}), log.Lines());
}

} // namespace
