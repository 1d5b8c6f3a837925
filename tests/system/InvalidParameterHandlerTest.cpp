// The C run time's handler for invalid parameters, among several modules that carry the common code.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>

#include "tests/kit/FindFunction.h"
#include "tests/kit/ProgramFolder.h"
#include "tests/kit/TempFolder.h"
#include "tests/system/sibling/Sibling.h"

namespace {

using Handler = InvalidParameterHandler;

int g_hostsCalls;
void HostsHandler(const wchar_t*, const wchar_t*, const wchar_t*, unsigned, std::uintptr_t) {
    ++g_hostsCalls;
}
void HostsOther(const wchar_t*, const wchar_t*, const wchar_t*, unsigned, std::uintptr_t) {}

class InvalidParameters : public testing::Test {
  protected:
    InvalidParameters() {
        g_hostsCalls = 0;
        m_before = Set(HostsHandler);
    }
    ~InvalidParameters() override {
        for (const auto& [name, module] : m_modules)
            FreeLibrary(module);
        Set(m_before);
        FreeLibrary(m_runTime);
    }

    // The run time's of which every module of the suite takes its copies.
    Handler Get() const { return NeedFunction<Handler (*)()>(m_runTime, "_get_invalid_parameter_handler")(); }
    Handler Set(Handler handler) const {
        return NeedFunction<Handler (*)(Handler)>(m_runTime, "_set_invalid_parameter_handler")(handler);
    }

    HMODULE Load(char name) {
        const auto file = m_folder.Path() / (std::string("Sibling") + name + ".dll");
        std::filesystem::copy_file(ProgramFolder() / L"Sibling.dll", file);
        m_modules[name] = LoadLibraryW(file.c_str());
        EXPECT_TRUE(m_modules[name]) << "error " << GetLastError();
        return m_modules[name];
    }
    // The handler is the module's then.
    void Copy(char name) {
        EXPECT_EQ(0, NEED_FUNCTION(m_modules[name], SiblingCopy)(8, L"text"));
        EXPECT_EQ(m_modules[name], ModuleOf(Get())) << name;
    }
    void Free(char name) {
        EXPECT_TRUE(FreeLibrary(m_modules[name]));
        m_modules.erase(name);
        EXPECT_FALSE(GetModuleHandleA((std::string("Sibling") + name + ".dll").c_str()));
        if (Get()) {
            EXPECT_TRUE(ModuleOf(Get())) << "a handler of a module that is gone, after " << name;
        }
    }
    // In that order, and their files with them: each round has modules of its own.
    void FreeAll(const std::string& order) {
        for (const char name : order)
            Free(name);
        std::filesystem::remove_all(m_folder.Path());
        std::filesystem::create_directory(m_folder.Path());
    }
    static HMODULE ModuleOf(Handler handler) {
        HMODULE module = nullptr;
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           reinterpret_cast<const wchar_t*>(handler), &module);
        return module;
    }

    TempFolder m_folder;
    std::map<char, HMODULE> m_modules;
    HMODULE m_runTime = LoadLibraryW(L"ucrtbase.dll");
    Handler m_before;
};

TEST_F(InvalidParameters, OfTheHostAreItsOwnAgainWhateverTheOrderOfUnloading) {
    std::string order = "ABC";
    do {
        SCOPED_TRACE(order);
        for (const char name : {'A', 'B', 'C'}) {
            Load(name);
            Copy(name);
        }
        FreeAll(order);
        EXPECT_EQ(HostsHandler, Get());
    } while (std::next_permutation(order.begin(), order.end()));
    EXPECT_EQ(0, g_hostsCalls);
}

TEST_F(InvalidParameters, OfTheHostAreItsOwnAgainWhoeverCopiedLast) {
    for (const std::string order : {"AB", "BA"}) {
        SCOPED_TRACE(order);
        Load('A');
        Load('B');
        for (const char name : {'A', 'B', 'A', 'B', 'A'})
            Copy(name);
        FreeAll(order);
        EXPECT_EQ(HostsHandler, Get());
    }
}

TEST_F(InvalidParameters, AreLeftToWhomTheHostGaveThemSince) {
    Load('A');
    Copy('A');
    Set(HostsOther);
    Free('A');
    EXPECT_EQ(HostsOther, Get());
}

TEST_F(InvalidParameters, AreGivenBackOnlyToCodeThatIsStillThere) {
    constexpr BYTE RETURN = 0xC3;
    for (const bool gone : {false, true}) {
        void* const code = VirtualAlloc(nullptr, 1, MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE);
        ASSERT_TRUE(code);
        *static_cast<BYTE*>(code) = RETURN;
        const auto handler = reinterpret_cast<Handler>(code);
        Set(handler);
        const char name = gone ? 'A' : 'B';
        Load(name);
        Copy(name);
        if (gone)
            VirtualFree(code, 0, MEM_RELEASE);
        EXPECT_TRUE(FreeLibrary(m_modules[name]));
        m_modules.erase(name);
        EXPECT_EQ(gone ? nullptr : handler, Get()) << "code that lies in no module is there as long as its memory";
        if (!gone)
            VirtualFree(code, 0, MEM_RELEASE);
    }
}

// The module's code is still there then, and locks may be held by threads that are gone.
TEST_F(InvalidParameters, AreTheSuitesToTheEndOfTheProcess) {
    const auto EndProcess = [this] {
        Load('A');
        Copy('A');
        static Handler own;
        own = Get();
        static EndReport report;
        report.tell = [](const EndReport& found) {
            std::fputs(found.handler == own ? "still the suite's" : "another one's", stderr);
            std::fflush(stderr);
        };
        NEED_FUNCTION(m_modules['A'], SiblingCopyAtTheEnd)(&report);
        ExitProcess(0);
    };
    EXPECT_EXIT(EndProcess(), testing::ExitedWithCode(0), "still the suite's");
}

TEST_F(InvalidParameters, OfAnObjectThatIsDestroyedLastGoToTheSuiteForThatCallOnly) {
    EndReport report;
    Load('A');
    Copy('A');
    NEED_FUNCTION(m_modules['A'], SiblingCopyAtTheEnd)(&report);
    Free('A');
    EXPECT_EQ(HostsHandler, report.handler) << "the module's own handler was gone by then";
    EXPECT_EQ(ERANGE, report.result);
    EXPECT_EQ(0, g_hostsCalls);
    EXPECT_EQ(HostsHandler, Get());
}

} // namespace
