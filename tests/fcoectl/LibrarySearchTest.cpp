// Where fcoectl.exe finds the adapters' HBA library, and where not. The scripted agent asks for it by its bare name, as
// the agent does; any module will do for it.
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fcoectl/Host.h"
#include "tools/fcoectl/Text.h"

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace {

constexpr wchar_t LIBRARY[] = L"orvanhapi.dll";

// The program and the agent, each in a folder that has nothing else but what they need; a planted library in the
// current folder, which is the first on PATH, too.
class LibrarySearch : public testing::Test {
  protected:
    LibrarySearch() : host(std::wstring(L"loads:") + LIBRARY) {
        for (const wchar_t* folder : {L"program", L"agent", L"planted", L"named", L"empty"})
            fs::create_directory(root.Path() / folder);
        for (const wchar_t* file :
             {L"fcoectl.exe", L"QelColib.dll", L"libstdc++-6.dll", L"libgcc_s_seh-1.dll", L"libwinpthread-1.dll"})
            Link(file, L"program");
        Link(L"FakeFcoeAgent.dll", L"agent");
        Plant(L"planted");

        wchar_t text[32768];
        m_path.assign(text, GetEnvironmentVariableW(L"PATH", text, 32768));
        m_current = fs::current_path();
        SetEnvironmentVariableW(L"PATH", ((root.Path() / L"planted").wstring() + L";" + m_path).c_str());
        fs::current_path(root.Path() / L"planted");
    }
    ~LibrarySearch() override {
        fs::current_path(m_current);
        SetEnvironmentVariableW(L"PATH", m_path.c_str());
    }

    // A copy, which is a module of its own: two names of one file would be one.
    void Plant(const wchar_t* folder) const {
        fs::copy_file(Beside(L"libgcc_s_seh-1.dll"), root.Path() / folder / LIBRARY);
    }

    Answer Run(const std::wstring& more = L"") {
        return host.RunProgram(
            L"hbas --agent \"" + (root.Path() / L"agent/FakeFcoeAgent.dll").make_preferred().wstring() + L"\" " + more,
            root.Path() / L"program/fcoectl.exe");
    }
    // The folder that the library was loaded from; empty: from none.
    std::wstring Found() const {
        for (const std::string& call : host.Calls())
            if (call.starts_with("loaded "))
                return fs::path(call.substr(7)).parent_path().filename().wstring();
        return L"(not asked for)";
    }

    TempFolder root;
    Host host;

  private:
    void Link(const wchar_t* file, const wchar_t* folder) const {
        std::error_code failed;
        fs::create_hard_link(Beside(file), root.Path() / folder / file, failed);
        if (failed)
            fs::copy_file(Beside(file), root.Path() / folder / file);
    }

    std::wstring m_path;
    fs::path m_current;
};

} // namespace

TEST_F(LibrarySearch, LeavesOutTheCurrentFolderAndPath) {
    const Answer answer = Run();
    EXPECT_EQ(0, answer.exit) << answer.err;
    EXPECT_EQ(L"", Found());
}

TEST_F(LibrarySearch, OfAProgramThatIsNotRestrictedDoesNot) {
    constexpr wchar_t PLANTED[] = L"orvanhapi-planted.dll";
    fs::copy_file(Beside(L"libgcc_s_seh-1.dll"), fs::path(PLANTED));
    const HMODULE module = LoadLibraryW(PLANTED);
    EXPECT_TRUE(module) << "this is what the program must not do";
    FreeLibrary(module);
}

TEST_F(LibrarySearch, FindsTheOneBesideTheAgent) {
    Plant(L"agent");
    EXPECT_EQ(0, Run().exit);
    EXPECT_EQ(L"agent", Found());
}

TEST_F(LibrarySearch, FindsTheOneBesideTheProgram) {
    Plant(L"program");
    EXPECT_EQ(0, Run().exit);
    EXPECT_EQ(L"program", Found());
}

TEST_F(LibrarySearch, TakesTheNamedFolderBeforeAllOthers) {
    for (const wchar_t* folder : {L"agent", L"program", L"named"})
        Plant(folder);
    const Answer answer = Run(L"--library-dir \"" + (root.Path() / L"named").wstring() + L"\"");
    EXPECT_EQ(0, answer.exit) << answer.err;
    EXPECT_EQ(L"named", Found());
}

TEST_F(LibrarySearch, NamedFolderMayBeRelativeAndEndInABackslash) {
    Plant(L"named");
    EXPECT_EQ(0, Run(L"--library-dir ..\\named\\").exit);
    EXPECT_EQ(L"named", Found());
}

TEST_F(LibrarySearch, NamedFolderThatIsMissingOrEmptyIsRefused) {
    const auto name = [&](const wchar_t* file) { return '"' + fcoectl::ToUtf8((root.Path() / file).wstring()) + '"'; };
    Plant(L"agent");
    const Answer missing = Run(L"--library-dir \"" + (root.Path() / L"nowhere").wstring() + L"\"");
    EXPECT_EQ(2, missing.exit);
    EXPECT_EQ("fcoectl: There is no folder " + name(L"nowhere") + ".\n  Check the folder after --library-dir.\n",
              missing.err);
    const Answer empty = Run(L"--library-dir \"" + (root.Path() / L"empty").wstring() + L"\"");
    EXPECT_EQ(2, empty.exit);
    EXPECT_THAT(empty.err, HasSubstr("The folder " + name(L"empty") + " holds no orvanhapi.dll.\n"));
    EXPECT_EQ(L"(not asked for)", Found()) << "nothing was done";
}

TEST_F(LibrarySearch, NamedLibraryThatDoesNotLoadIsRefused) {
    const auto file = root.Path() / L"empty" / LIBRARY;
    std::ofstream(file) << "no module";
    const Answer answer = Run(L"--json --library-dir \"" + (root.Path() / L"empty").wstring() + L"\"");
    EXPECT_EQ(2, answer.exit);
    EXPECT_EQ("usage", answer.Json()["error"]["name"]);
    EXPECT_THAT(answer.Json()["error"]["text"],
                HasSubstr("The HBA library \"" + fcoectl::ToUtf8(file.wstring()) + "\" cannot be loaded: "));
}
