// COM's texts that the program holds: those that it made and did not free.
#pragma once

#include <vector>

#include <windows.h>

#include <oleauto.h>

#include "tests/kit/ImportPatch.h"

// One at a time.
class CountedBstrs {
  public:
    CountedBstrs()
        : m_make(nullptr, "oleaut32.dll", "SysAllocString", reinterpret_cast<void*>(&Make)),
          m_free(nullptr, "oleaut32.dll", "SysFreeString", reinterpret_cast<void*>(&Free)) {
        s_texts.clear();
        s_make = m_make.Original<decltype(s_make)>();
        s_free = m_free.Original<decltype(s_free)>();
    }

    std::size_t Live() const { return s_texts.size(); }

  private:
    static BSTR WINAPI Make(const OLECHAR* text) {
        const BSTR made = s_make(text);
        s_texts.push_back(made);
        return made;
    }
    static void WINAPI Free(BSTR text) {
        std::erase(s_texts, text);
        s_free(text);
    }

    static inline std::vector<BSTR> s_texts;
    static inline BSTR(WINAPI* s_make)(const OLECHAR*);
    static inline void(WINAPI* s_free)(BSTR);
    ImportPatch m_make, m_free;
};
