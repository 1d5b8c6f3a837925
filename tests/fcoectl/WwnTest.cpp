#include "tools/fcoectl/Wwn.h"

#include <gtest/gtest.h>

using fcoectl::CanonicalWwn;

TEST(Wwn, IsUpperCaseWithColons) {
    for (const char* text : {"20:01:00:1B:21:AA:BB:CC", "20:01:00:1b:21:aa:Bb:cc", "2001001b21aabbcc"})
        EXPECT_EQ("20:01:00:1B:21:AA:BB:CC", CanonicalWwn(text)) << text;
}

TEST(Wwn, OtherTextsAreNone) {
    for (const char* text :
         {"", "auto", "20:01", "20-01-00-1B-21-AA-BB-CC", "20:01:00:1B:21:AA:BB:CG", "2001001b21aabbc",
          "20:01:00:1B:21:AA:BB:CC:", "2001:001b:21aa:bbcc:abcd", " 2001001b21aabbcc", "20:01:00:1B:21:AA:BBCC:"})
        EXPECT_EQ(std::nullopt, CanonicalWwn(text)) << text;
}
