#include "tools/fcoectl/doctor/ImageFile.h"

#include <cstring>
#include <fstream>
#include <iterator>

#include <filesystem>

namespace fcoectl {
namespace {

// The file's bytes; reads outside of them yield nothing.
class Bytes {
  public:
    explicit Bytes(const std::wstring& file) {
        std::ifstream stream(std::filesystem::path(file), std::ios::binary);
        m_bytes.assign(std::istreambuf_iterator<char>(stream), {});
    }
    template <class Record> bool Read(std::size_t at, Record& record) const {
        if (at > m_bytes.size() || m_bytes.size() - at < sizeof record)
            return false;
        std::memcpy(&record, m_bytes.data() + at, sizeof record);
        return true;
    }
    std::string Text(std::size_t at) const {
        std::string text;
        while (at < m_bytes.size() && m_bytes[at] != '\0' && text.size() < MAX_PATH)
            text += m_bytes[at++];
        return text;
    }

  private:
    std::string m_bytes;
};

// Where in the file an address of the loaded image stands; 0: nowhere.
std::size_t Place(const Bytes& bytes, std::size_t sections, WORD count, DWORD address) {
    IMAGE_SECTION_HEADER section;
    for (WORD i = 0; i < count && bytes.Read(sections + i * sizeof section, section); ++i)
        if (address >= section.VirtualAddress && address - section.VirtualAddress < section.SizeOfRawData)
            return section.PointerToRawData + (address - section.VirtualAddress);
    return 0;
}

} // namespace

std::optional<ImageFile> ReadImageFile(const std::wstring& file) {
    const Bytes bytes(file);
    IMAGE_DOS_HEADER dos;
    DWORD signature = 0;
    IMAGE_FILE_HEADER header;
    if (!bytes.Read(0, dos) || dos.e_magic != IMAGE_DOS_SIGNATURE || dos.e_lfanew < 0)
        return std::nullopt;
    const auto start = static_cast<std::size_t>(dos.e_lfanew);
    if (!bytes.Read(start, signature) || signature != IMAGE_NT_SIGNATURE ||
        !bytes.Read(start + sizeof signature, header))
        return std::nullopt;
    ImageFile image{header.Machine, (header.Characteristics & IMAGE_FILE_DLL) != 0, {}};
    const std::size_t optional = start + sizeof signature + sizeof header;
    IMAGE_OPTIONAL_HEADER64 optionalHeader;
    if (!bytes.Read(optional, optionalHeader) || optionalHeader.Magic != IMAGE_NT_OPTIONAL_HDR64_MAGIC)
        return image; // of another bitness: what it needs does not matter
    const std::size_t sections = optional + header.SizeOfOptionalHeader;
    const DWORD table = optionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    std::size_t at = Place(bytes, sections, header.NumberOfSections, table);
    IMAGE_IMPORT_DESCRIPTOR import;
    while (at != 0 && bytes.Read(at, import) && import.Name != 0) {
        image.imports.push_back(bytes.Text(Place(bytes, sections, header.NumberOfSections, import.Name)));
        at += sizeof import;
    }
    return image;
}

} // namespace fcoectl
