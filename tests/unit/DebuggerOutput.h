// Everything the debugger would see while the object lives.
#pragma once

#include <string>

#include <windows.h>

#include "tests/kit/ImportPatch.h"

class DebuggerOutput {
  public:
    DebuggerOutput() : m_patch(nullptr, "KERNEL32.dll", "OutputDebugStringW", reinterpret_cast<void*>(&Take)) {
        s_text.clear();
    }
    const std::wstring& Text() const { return s_text; }

  private:
    static void WINAPI Take(const wchar_t* text) { s_text += text; }

    inline static std::wstring s_text;
    ImportPatch m_patch;
};
