// A ZIP archive with deflated entries.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <zlib.h>

namespace fcoectl {

// Entries one after the other, each in pieces; the archive grows in memory. Members throw Failure OutputFailed of what
// needs more than the 4 GB that the format has without its extension, and std::bad_alloc.
class ZipArchive {
  public:
    ZipArchive() = default;
    ~ZipArchive();
    ZipArchive(const ZipArchive&) = delete;
    ZipArchive& operator=(const ZipArchive&) = delete;

    // name: ASCII, with slashes.
    void Begin(const std::string& name);
    void Write(std::string_view bytes);
    void End();
    // A whole entry.
    void Add(const std::string& name, std::string_view bytes);

    std::uint16_t Entries() const { return m_count; }
    // The archive of the entries that are whole. Nothing can be added then.
    std::string Finish();

  private:
    struct Entry {
        std::string name;
        std::uint32_t checksum = 0;
        std::uint64_t size = 0;
        std::uint64_t packed = 0;
        std::uint64_t offset = 0; // of its header
    };

    void Deflate(std::string_view bytes, int flush);
    std::string Fields() const; // of the entry, that both of its headers have

    std::string m_archive;
    std::uint32_t m_time = 0; // of the entry, as DOS has it
    z_stream m_stream{};
    bool m_isOpen = false;
    Entry m_entry;
    std::string m_packed;      // of the entry that is open
    std::string m_directory;   // of those that are whole
    std::uint16_t m_count = 0; // of these
};

} // namespace fcoectl
