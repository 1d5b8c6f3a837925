// What the tests of the access to the vendor library share.
#pragma once

#include <atomic>
#include <cstring>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "hbaapi/HBAAPIInt.h"
#include "tests/kit/ImportPatch.h"
#include "tests/kit/LogCapture.h"
#include "tests/kit/PrivateHive.h"
#include "tests/unit/FakeHbaLibrary.h"

using Texts = std::vector<std::string>;

class HBAAPIFixture : public testing::Test {
  protected:
    // Binds the library and forgets how.
    void Bind() {
        ASSERT_TRUE(api.InitHBAAPIMod());
        Forget();
    }
    void Forget() {
        library.ClearCalls();
        library.mutex.Clear();
        log.Clear();
    }
    // The log's messages but those of the module search, the support settings and the registry.
    Texts Messages() const {
        return log.Messages(LogText::Without({"Common\\Src\\Helper (767): ERROR:  Unable to find path to library!",
                                              "IsDebugEnbled()", "IsSettingDebugable()", "CQelRegKey::"}));
    }
    // The operation's own lines, ENTRY and EXIT included, and no other's.
    Texts Traces(const std::string& operation) const { return log.TracesOf(operation); }

    PrivateHive hive;
    LogCapture log;
    FakeHbaLibrary library;
    CHBAAPIInt api;
};

// Makes the conversion of one text to 8 bits fail.
class BrokenNarrowing {
  public:
    explicit BrokenNarrowing(const wchar_t* text)
        : m_patch(nullptr, "QelColib.dll", "_ZN10CQelString22QelWideCharToMultiByteEjmPKwiPciPKcPi",
                  reinterpret_cast<void*>(&Convert)) {
        s_text = text;
        s_original = m_patch.Original<Function>();
    }

  private:
    using Function = decltype(&CQelString::QelWideCharToMultiByte);
    static int Convert(UINT codePage, DWORD flags, const wchar_t* source, int length, char* destination, int size,
                       const char* byDefault, BOOL* usedDefault) {
        if (std::wstring_view(source) == s_text)
            return 0;
        return s_original(codePage, flags, source, length, destination, size, byDefault, usedDefault);
    }
    static inline const wchar_t* s_text;
    static inline Function s_original;
    ImportPatch m_patch;
};

// Runs a library call on a thread of its own, and holds it inside the library until it is let go. For one call.
class CallInside {
  public:
    // For the function of the library that is to be held.
    void Stay() {
        m_inside.set_value();
        m_leave.get_future().wait();
    }
    template <class Call> void Start(Call call) {
        m_thread = std::thread(call);
        m_inside.get_future().wait();
    }
    void Finish() {
        m_leave.set_value();
        m_thread.join();
    }

  private:
    std::promise<void> m_inside, m_leave;
    std::thread m_thread;
};

inline constexpr HBA_WWN TARGET_WWN{{0x50, 0x0A, 0x09, 0x81, 0x86, 0x77, 0x8F, 0x29}};
inline constexpr HBA_WWN HBA_PORT_WWN{{0x20, 0x00, 0x00, 0x0E, 0x1E, 0x0D, 0x00, 0x01}};
