// The file system: a log that cannot be written where it should be, or not at all. A folder that is not writable is a
// file that cannot be opened, like the others here. A full disk is the C run time's write function that fails, which
// is where the agent meets it.
#include <fmt/format.h>

#include "tests/faults/Cells.h"
#include "tests/faults/FaultHost.h"
#include "tests/faults/Matrix.h"
#include "tests/faults/RegistryKeys.h"

namespace {

constexpr wchar_t LOG[] = L"FcoeAgnt.txt";

bool HasText(const std::filesystem::path& file) {
    std::error_code none;
    return std::filesystem::file_size(file, none) > 0 && !none;
}

void MakeFile(const std::filesystem::path& path) {
    CloseHandle(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
}

// The folder for temporary files for as long as the object lives.
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

// Loads the agent with its log in that folder and runs everything.
//   elsewhere  where the log is to be instead; empty: nowhere
std::string CheckLog(FaultHost& host, const std::wstring& folder, const std::filesystem::path& elsewhere) {
    PrivateHive& hive = host.Suite().Hive();
    host.Unload();
    hive.Set(SUITE_KEY, L"InstalledDir", folder);
    std::string problem = "there is no agent";
    if (host.Load()) {
        host.Log().Set(AgentLog::Disk::Healthy);
        problem = host.CheckAllOperations(true);
        if (problem.empty())
            problem = host.CheckHealth(true);
    }
    // A user who may do everything writes read-only files.
    if (problem.empty() && !elsewhere.empty() && !HasText(elsewhere) && !HasText(std::filesystem::path(folder) / LOG))
        problem = "the log is in no folder";
    host.Unload();
    hive.Set(SUITE_KEY, L"InstalledDir", host.Suite().Folder().wstring());
    if (!host.Load())
        return "afterwards there is no agent";
    return problem.empty() ? host.CheckHealth(true) : problem;
}

// Nothing of the operation gets into the log; the host must not notice. When there is room again, the log goes on.
std::string CheckFullDisk(FaultHost& host, const Operation& operation, bool cold) {
    host.Log().Set(AgentLog::Disk::Full);
    std::string problem = host.CheckHealthy(operation, cold);
    if (problem.empty() && host.Log().Writes() == 0)
        problem = "nothing was logged";
    host.Log().Set(AgentLog::Disk::Healthy);
    const auto Size = [&] { return ReadFileBytes(host.Suite().LogFile()).size(); };
    const auto before = Size();
    if (problem.empty())
        problem = host.CheckHealth(operation.locks);
    if (problem.empty() && Size() <= before)
        problem = "afterwards nothing is logged";
    host.Log().Set(AgentLog::Disk::None);
    return problem;
}

} // namespace

void RunFileCells(FaultHost& host, Matrix& matrix) {
    const TempFolder folder;
    matrix.Row("file system", "log folder");
    const auto Cells = [&](const std::string& name, const std::wstring& path) {
        matrix.Cell(name, [&] {
            const TempFolder temporary;
            const ChangedTemp temp(temporary.Path().c_str());
            return CheckLog(host, path, temporary.Path() / LOG);
        });
        matrix.Cell(name + ", no temporary folder either", [&] {
            const ChangedTemp temp(L"Q:\\nowhere");
            return CheckLog(host, path, {});
        });
        matrix.Cell(name + ", no temporary folder named", [&] {
            const ChangedTemp temp(nullptr);
            return CheckLog(host, path, {});
        });
    };
    Cells("missing folder", (folder.Path() / L"missing").wstring());
    Cells("missing drive", L"Q:\\log");
    Cells("no path at all", L"<>|?*");
    Cells("very long path", folder.Path().wstring() + L"\\" + std::wstring(180, L'x'));

    const auto file = folder.Path() / L"file";
    MakeFile(file);
    Cells("folder that is a file", file.wstring());

    const auto readOnly = folder.Path() / L"read-only";
    std::filesystem::create_directory(readOnly);
    MakeFile(readOnly / LOG);
    SetFileAttributesW((readOnly / LOG).c_str(), FILE_ATTRIBUTE_READONLY);
    Cells("read-only file", readOnly.wstring());
    SetFileAttributesW((readOnly / LOG).c_str(), FILE_ATTRIBUTE_NORMAL);

    const auto taken = folder.Path() / L"taken";
    std::filesystem::create_directories(taken / LOG);
    Cells("file that is a folder", taken.wstring());

    const auto locked = folder.Path() / L"locked";
    std::filesystem::create_directory(locked);
    const HANDLE lock = CreateFileW((locked / LOG).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    Cells("file in another's use", locked.wstring());
    CloseHandle(lock);

    matrix.Row("file system", "full disk");
    for (const bool cold : {true, false})
        for (const Operation& operation : Operations())
            matrix.Cell(fmt::format("{}{}", cold ? "just started, " : "", operation.name),
                        [&] { return CheckFullDisk(host, operation, cold); });
}
