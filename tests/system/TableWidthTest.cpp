// The tables of the suite's own topology fit a terminal of a hundred columns.
#include <sstream>

#include <gtest/gtest.h>

#include "tests/kit/SuiteHost.h"
#include "tools/fcoectl/Commands.h"
#include "tools/fcoectl/Run.h"

namespace {

class Captured : public fcoectl::Output {
  public:
    void Write(std::string_view text) override { out += text; }
    void WriteError(std::string_view) override {}
    bool Failed() const override { return false; }

    std::string out;
};

} // namespace

// Also those of the link's state, which no service tells here.
TEST(Tables, FitAHundredColumns) {
    SuiteHost host;
    for (const fcoectl::Command& command : fcoectl::Commands()) {
        if (!command.columns || !fcoectl::LoadsAgent(command.takes))
            continue;
        std::istringstream words(std::string(command.name) + " --tolerant");
        Captured captured;
        EXPECT_EQ(0, fcoectl::Run({std::istream_iterator<std::string>(words), {}}, captured)) << command.name;
        std::istringstream lines(captured.out);
        int rows = -2; // header and dashes
        for (std::string line; std::getline(lines, line); ++rows)
            EXPECT_LE(line.size(), 100u) << command.name << '\n' << line;
        EXPECT_GT(rows, 0) << command.name;
    }
}
