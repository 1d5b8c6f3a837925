#include "tools/fcoectl/OutputFile.h"

#include <fmt/format.h>

#include "tools/fcoectl/Failure.h"
#include "tools/fcoectl/Text.h"

namespace fcoectl {

OutputFile::OutputFile(const std::string& name) : m_path(FullPath(FromUtf8(name))), m_unfinished(m_path + L".part") {
    m_file = CreateFileW(m_unfinished.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
    if (m_file == INVALID_HANDLE_VALUE)
        Fail(GetLastError());
}

OutputFile::~OutputFile() {
    if (m_file == INVALID_HANDLE_VALUE)
        return;
    CloseHandle(m_file);
    DeleteFileW(m_unfinished.c_str());
}

void OutputFile::Write(std::string_view bytes) {
    DWORD written = 0;
    if (!WriteFile(m_file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) ||
        written != bytes.size())
        Fail(GetLastError());
}

void OutputFile::Finish() {
    const bool closed = CloseHandle(m_file);
    m_file = INVALID_HANDLE_VALUE;
    if (closed && MoveFileExW(m_unfinished.c_str(), m_path.c_str(), MOVEFILE_REPLACE_EXISTING))
        return;
    const DWORD error = GetLastError();
    DeleteFileW(m_unfinished.c_str());
    Fail(error);
}

std::string OutputFile::Name() const {
    return ToUtf8(m_path);
}

void OutputFile::Fail(DWORD error) const {
    throw Failure(Exit::OutputFailed,
                  fmt::format("\"{}\" cannot be written: {}", ToUtf8(m_path), SystemMessage(error)));
}

} // namespace fcoectl
