// What --mask makes of the output.
#pragma once

#include "tools/fcoectl/Output.h"
#include "tools/reading/Mask.h"

namespace fcoectl {

// Passes everything on with what the mask has learnt by then replaced.
class MaskedOutput : public Output {
  public:
    // mask: null passes everything on as it is.
    MaskedOutput(Output& output, const reading::Mask* mask) : m_output(output), m_mask(mask) {}

    void Write(std::string_view text) override { m_output.Write(Shown(text)); }
    void WriteError(std::string_view text) override { m_output.WriteError(Shown(text)); }
    bool Failed() const override { return m_output.Failed(); }
    bool HasColours() const override { return m_output.HasColours(); }
    bool ErrorsHaveColours() const override { return m_output.ErrorsHaveColours(); }

  private:
    std::string Shown(std::string_view text) const { return m_mask ? m_mask->Apply(text) : std::string(text); }

    Output& m_output;
    const reading::Mask* m_mask;
};

} // namespace fcoectl
