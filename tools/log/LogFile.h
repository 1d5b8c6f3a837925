// Reads a log file line by line, while its writer may be at work.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <windows.h>

namespace agentlog {

// Takes the same memory whatever the file's length. Not for several threads at once.
class LogFile {
  public:
    LogFile() = default;

    // Others may write, rename and delete the file meanwhile; a second call opens another one in its place. offset: of
    // the first byte to read, at the beginning of a line. False: Error() tells why not.
    [[nodiscard]] bool Open(const std::wstring& path, std::uint64_t offset = 0);
    bool IsOpen() const { return m_file != nullptr; }
    // Win32 error of the last Open that failed, and of a read that failed; 0: none.
    DWORD Error() const { return m_error; }

    // The next line, without its end, valid until the next call. Nothing at the end of the file, and where the last
    // line has no end yet; after the file has grown there is more.
    [[nodiscard]] std::optional<std::string_view> Next();
    // What stands behind the last whole line; empty: nothing. Next() goes on with it.
    std::string_view Unfinished() const;

    // Where in the file the next line begins.
    std::uint64_t Offset() const { return m_offset; }
    // The length of the file as it is now.
    std::uint64_t Size() const;
    // Whether the file was written anew since its opening, or since the last time that this was asked.
    [[nodiscard]] bool WasRewritten();
    // Reads on from there.
    void GoTo(std::uint64_t offset);

  private:
    struct Close {
        void operator()(void* file) const { CloseHandle(file); }
    };

    bool Fill();
    void RememberBeginning();
    DWORD ReadAt(std::uint64_t offset, char* bytes, DWORD length) const;

    std::unique_ptr<void, Close> m_file;
    std::string m_beginning; // the first bytes of the file
    std::vector<char> m_buffer;
    std::size_t m_first = 0; // of the bytes in the buffer, the first that was not handed out, and the end
    std::size_t m_end = 0;
    std::uint64_t m_offset = 0;
    DWORD m_error = 0;
};

// A text of the log as UTF-8.
[[nodiscard]] std::string Utf8(std::string_view text);

} // namespace agentlog
