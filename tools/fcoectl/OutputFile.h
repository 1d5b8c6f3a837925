// A file that takes the place of another once it is whole.
#pragma once

#include <string>
#include <string_view>

#include <windows.h>

namespace fcoectl {

// Who reads the file never sees half of it; without Finish the old one stays. Each member throws Failure OutputFailed.
class OutputFile {
  public:
    // name: UTF-8, relative to the current folder or not.
    explicit OutputFile(const std::string& name);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void Write(std::string_view bytes);
    void Finish();
    std::string Name() const; // its full path

  private:
    [[noreturn]] void Fail(DWORD error) const;

    std::wstring m_path;
    std::wstring m_unfinished;
    HANDLE m_file;
};

} // namespace fcoectl
