#include "tools/fcoectl/Suggestion.h"

#include <gtest/gtest.h>

using fcoectl::DidYouMean;
using fcoectl::Suggestion;

namespace {

const std::vector<std::string> KNOWN{"hbas", "ports", "targets", "stats", "tree", "--library-dir"};

} // namespace

TEST(Suggestion, IsATypingMistakeAway) {
    EXPECT_EQ("ports", Suggestion("prots", KNOWN)) << "swapped";
    EXPECT_EQ("ports", Suggestion("port", KNOWN)) << "left out";
    EXPECT_EQ("ports", Suggestion("poorts", KNOWN)) << "too many";
    EXPECT_EQ("ports", Suggestion("pirts", KNOWN)) << "another";
    EXPECT_EQ("targets", Suggestion("trgest", KNOWN)) << "two mistakes in a long name";
    EXPECT_EQ("tree", Suggestion("tree", KNOWN));
}

TEST(Suggestion, MayBeTheOnlyContinuation) {
    EXPECT_EQ("--library-dir", Suggestion("--lib", KNOWN));
    EXPECT_EQ("", Suggestion("t", KNOWN)) << "two begin so";
}

TEST(Suggestion, IsNotFarFetched) {
    for (const char* given : {"", "x", "lu", "nonsense", "trstets"})
        EXPECT_EQ("", Suggestion(given, KNOWN)) << given;
}

TEST(Suggestion, EndsASentence) {
    EXPECT_EQ("; did you mean 'ports'?", DidYouMean("prots", KNOWN));
    EXPECT_EQ(".", DidYouMean("nonsense", KNOWN));
}
