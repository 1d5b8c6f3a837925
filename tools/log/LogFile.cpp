#include "tools/log/LogFile.h"

#include <algorithm>
#include <cstring>

namespace agentlog {
namespace {

constexpr std::size_t BUFFER = 256 * 1024; // a longer line is handed out in pieces
constexpr std::size_t BEGINNING = 64;      // holds the process and the counter of the first line

} // namespace

bool LogFile::Open(const std::wstring& path, std::uint64_t offset) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    m_error = file == INVALID_HANDLE_VALUE ? GetLastError() : ERROR_SUCCESS;
    m_file.reset(file == INVALID_HANDLE_VALUE ? nullptr : file);
    if (!m_file)
        return false;
    m_buffer.resize(BUFFER);
    RememberBeginning();
    GoTo(offset);
    return true;
}

void LogFile::RememberBeginning() {
    m_beginning.resize(BEGINNING);
    m_beginning.resize(ReadAt(0, m_beginning.data(), BEGINNING));
}

DWORD LogFile::ReadAt(std::uint64_t offset, char* bytes, DWORD length) const {
    OVERLAPPED at{};
    at.Offset = static_cast<DWORD>(offset);
    at.OffsetHigh = static_cast<DWORD>(offset >> 32);
    DWORD read = 0;
    return ReadFile(m_file.get(), bytes, length, &read, &at) ? read : 0;
}

void LogFile::GoTo(std::uint64_t offset) {
    m_offset = offset;
    m_first = m_end = 0;
}

// More bytes behind those that are left; false when there are none.
bool LogFile::Fill() {
    std::memmove(m_buffer.data(), m_buffer.data() + m_first, m_end - m_first);
    m_end -= m_first;
    m_first = 0;
    const DWORD read = ReadAt(m_offset + m_end, m_buffer.data() + m_end, static_cast<DWORD>(BUFFER - m_end));
    m_end += read;
    return read != 0;
}

std::optional<std::string_view> LogFile::Next() {
    if (!m_file)
        return std::nullopt;
    for (std::size_t searched = m_first;;) {
        const void* const found = std::memchr(m_buffer.data() + searched, '\n', m_end - searched);
        const char* const first = m_buffer.data() + m_first;
        std::size_t length = found ? static_cast<std::size_t>(static_cast<const char*>(found) - first) + 1 : 0;
        if (!found && m_end - m_first == BUFFER)
            length = BUFFER;
        if (length != 0) {
            m_first += length;
            m_offset += length;
            std::string_view line(first, length);
            if (line.ends_with('\n'))
                line.remove_suffix(1);
            if (line.ends_with('\r'))
                line.remove_suffix(1);
            return line;
        }
        searched = m_end - m_first; // as it will be when the rest stands at the buffer's beginning
        if (!Fill())
            return std::nullopt;
    }
}

std::string_view LogFile::Unfinished() const {
    return {m_buffer.data() + m_first, m_end - m_first};
}

std::uint64_t LogFile::Size() const {
    LARGE_INTEGER size{};
    return m_file && GetFileSizeEx(m_file.get(), &size) ? static_cast<std::uint64_t>(size.QuadPart) : 0;
}

bool LogFile::WasRewritten() {
    if (!m_file)
        return false;
    const std::string before = m_beginning;
    RememberBeginning(); // longer, if the file was short
    return Size() < m_offset || !m_beginning.starts_with(before);
}

std::string Utf8(std::string_view text) {
    if (std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; }))
        return std::string(text);
    const int length = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0');
    wide.resize(static_cast<std::size_t>(
        MultiByteToWideChar(CP_ACP, 0, text.data(), length, wide.data(), static_cast<int>(wide.size()))));
    std::string utf8(wide.size() * 3, '\0');
    utf8.resize(
        static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()),
                                                     utf8.data(), static_cast<int>(utf8.size()), nullptr, nullptr)));
    return utf8;
}

} // namespace agentlog
