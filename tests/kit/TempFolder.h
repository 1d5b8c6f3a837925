// A folder of the test's own, removed with all it holds at the end.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

class TempFolder {
  public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }

  private:
    std::filesystem::path m_path;
};

// A text file's bytes from an offset on; empty when there is none. Opens the file with all sharing, so an open log can
// be read.
std::string ReadFileBytes(const std::filesystem::path& path, std::size_t from = 0);
