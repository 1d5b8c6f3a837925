// The output of a thread that may be left behind.
#pragma once

#include <mutex>

#include "tools/fcoectl/Output.h"
#include "tools/fcoectl/TimeLimit.h"

namespace fcoectl {

// Passes everything on until it is closed. The time that the reader of the output takes is none of the agent's.
class ClosableOutput : public Output {
  public:
    ClosableOutput(Output& output, TimeLimit& limit) : m_output(output), m_limit(limit) {}

    void Write(std::string_view text) override {
        const std::lock_guard guard(m_mutex);
        if (m_closed)
            return;
        m_limit.Pause();
        m_output.Write(text);
        m_limit.Restart();
    }
    void WriteError(std::string_view text) override {
        const std::lock_guard guard(m_mutex);
        if (!m_closed)
            m_output.WriteError(text);
    }
    bool Failed() const override {
        const std::lock_guard guard(m_mutex);
        return m_closed || m_output.Failed();
    }

    bool HasColours() const override { return m_output.HasColours(); }
    bool ErrorsHaveColours() const override { return m_output.ErrorsHaveColours(); }

    // From now on the other output may be gone.
    void Close() {
        const std::lock_guard guard(m_mutex);
        m_closed = true;
    }

  private:
    Output& m_output;
    TimeLimit& m_limit;
    mutable std::mutex m_mutex;
    bool m_closed = false;
};

} // namespace fcoectl
