// One way in which a deviating module deviates, and what is to be told of it.
#pragma once

#include <cctype>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "tests/verify/Asked.h"

struct Planted {
    const char* deviation;
    Told told;
    bool ends = false;  // the process, so that another one has to ask
    bool hangs = false; // until it is ended
};

inline void PrintTo(const Planted& planted, std::ostream* stream) {
    *stream << planted.deviation;
}

// As the name of its case.
inline std::string NameOf(const testing::TestParamInfo<Planted>& info) {
    std::string name;
    for (const char* c = info.param.deviation; *c; ++c)
        name += std::isalnum(static_cast<unsigned char>(*c)) ? *c : '_';
    return name;
}
