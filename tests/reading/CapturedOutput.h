// Keeps what fcoectl writes.
#pragma once

#include <string>
#include <string_view>

#include "tools/fcoectl/Output.h"

class CapturedOutput : public fcoectl::Output {
  public:
    void Write(std::string_view text) override { out += text; }
    void WriteError(std::string_view text) override { err += text; }
    bool Failed() const override { return false; }

    std::string out;
    std::string err;
};
