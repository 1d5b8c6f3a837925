// Where the program writes: UTF-8 with LF, on a terminal through its own wide functions.
#pragma once

#include <string_view>

#include <windows.h>

namespace fcoectl {

class Output {
  public:
    virtual ~Output() = default;
    virtual void Write(std::string_view text) = 0;
    virtual void WriteError(std::string_view text) = 0;
    // Whether something written before was lost.
    virtual bool Failed() const = 0;
    // Whether escape sequences colour what is written.
    virtual bool HasColours() const { return false; }
    virtual bool ErrorsHaveColours() const { return false; }
};

// The process's standard output and error.
class StandardOutput : public Output {
  public:
    // Consoles show colours, unless the environment variable NO_COLOR is set.
    StandardOutput();
    void Write(std::string_view text) override;
    void WriteError(std::string_view text) override;
    bool Failed() const override { return m_failed; }
    bool HasColours() const override { return m_colours; }
    bool ErrorsHaveColours() const override { return m_errorColours; }

  private:
    bool m_failed = false;
    bool m_colours = false;
    bool m_errorColours = false;
};

} // namespace fcoectl
