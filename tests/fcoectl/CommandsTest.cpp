// The table of commands.
#include <gtest/gtest.h>

#include "tools/fcoectl/Commands.h"

namespace {

TEST(Commands, ThatGiveAListHaveItsColumns) {
    for (const fcoectl::Command& command : fcoectl::Commands())
        EXPECT_EQ((command.takes & fcoectl::TAKES_LIST) != 0, command.columns != nullptr) << command.name;
}

} // namespace
