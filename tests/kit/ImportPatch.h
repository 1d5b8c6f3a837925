// Replaces a function where a module imports it, for as long as the object lives.
#pragma once

#include <windows.h>

class ImportPatch {
  public:
    // module: null for the test program itself. The test fails when the module does not import the function.
    ImportPatch(HMODULE module, const char* dll, const char* function, void* replacement);
    ~ImportPatch();
    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;

    // What the import led to before.
    template <class F> F Original() const { return reinterpret_cast<F>(m_original); }
    bool Installed() const { return m_slot != nullptr; }

  private:
    void Store(void* value);

    void** m_slot = nullptr;
    void* m_original = nullptr;
};
