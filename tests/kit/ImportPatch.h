// Replaces a function where a module imports it.
#pragma once

#include <windows.h>

// Where a module keeps the function that it imports; null: it does not. module: null for the program itself.
void** FindImport(HMODULE module, const char* dll, const char* function);
// What is there. A slot need not be aligned as a pointer is.
void* LoadImport(void** slot);
void StoreImport(void** slot, void* function);

// For as long as the object lives.
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
    void** m_slot = nullptr;
    void* m_original = nullptr;
};
