// The file system: a log that cannot be written where it should be.
#include "tests/faults/Cells.h"
#include "tests/faults/FaultHost.h"
#include "tests/faults/Matrix.h"

namespace {

constexpr wchar_t SUITE[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2";

// Loads the agent with its log in that folder and runs everything.
std::string CheckLog(FaultHost& host, const std::wstring& folder) {
    PrivateHive& hive = host.Suite().Hive();
    host.Unload();
    hive.Set(SUITE, L"InstalledDir", folder);
    hive.Set(SUITE, L"TRACE", DWORD{1});
    std::string problem = host.Load() ? host.CheckAllOperations() : "there is no agent";
    if (problem.empty())
        problem = host.CheckHealth(true);
    host.Unload();
    hive.Set(SUITE, L"InstalledDir", host.Suite().Folder().wstring());
    hive.Set(SUITE, L"TRACE", DWORD{1});
    if (!host.Load())
        return "afterwards there is no agent";
    return problem.empty() ? host.CheckHealth(true) : problem;
}

void MakeFile(const std::filesystem::path& path) {
    CloseHandle(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
}

// The environment variable for as long as the object lives.
class ChangedTemp {
  public:
    explicit ChangedTemp(const wchar_t* value) {
        GetEnvironmentVariableW(L"Temp", m_before, MAX_PATH);
        SetEnvironmentVariableW(L"Temp", value);
    }
    ~ChangedTemp() { SetEnvironmentVariableW(L"Temp", m_before); }

  private:
    wchar_t m_before[MAX_PATH] = L"";
};

} // namespace

void RunFileCells(FaultHost& host, Matrix& matrix) {
    const TempFolder folder;
    matrix.Row("file system", "log");
    const auto Both = [&](const std::string& name, const std::wstring& path) {
        matrix.Cell(name, [&] { return CheckLog(host, path); });
        matrix.Cell(name + ", no temporary folder either", [&] {
            const ChangedTemp temp(L"Q:\\nowhere");
            return CheckLog(host, path);
        });
        matrix.Cell(name + ", no temporary folder named", [&] {
            const ChangedTemp temp(nullptr);
            return CheckLog(host, path);
        });
    };
    Both("missing folder", (folder.Path() / L"missing").wstring());
    Both("missing drive", L"Q:\\log");
    Both("no path at all", L"<>|?*");
    Both("very long path", folder.Path().wstring() + std::wstring(180, L'\\'));

    const auto file = folder.Path() / L"file";
    MakeFile(file);
    Both("folder that is a file", file.wstring());

    const auto readOnly = folder.Path() / L"read-only";
    std::filesystem::create_directory(readOnly);
    MakeFile(readOnly / L"FcoeAgnt.txt");
    SetFileAttributesW((readOnly / L"FcoeAgnt.txt").c_str(), FILE_ATTRIBUTE_READONLY);
    Both("read-only file", readOnly.wstring());
    SetFileAttributesW((readOnly / L"FcoeAgnt.txt").c_str(), FILE_ATTRIBUTE_NORMAL);

    const auto taken = folder.Path() / L"taken";
    std::filesystem::create_directories(taken / L"FcoeAgnt.txt");
    Both("file that is a folder", taken.wstring());

    const auto locked = folder.Path() / L"locked";
    std::filesystem::create_directory(locked);
    const HANDLE lock =
        CreateFileW((locked / L"FcoeAgnt.txt").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    Both("file in another's use", locked.wstring());
    CloseHandle(lock);
}
