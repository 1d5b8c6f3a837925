#include "tools/fcoectl/doctor/ImageFile.h"

#include <algorithm>
#include <fstream>

#include <filesystem>

namespace fcoectl {
namespace {

// A file, of which no more is read than is asked for; reads outside of it yield nothing.
class Bytes {
  public:
    explicit Bytes(const std::wstring& file) : m_stream(std::filesystem::path(file), std::ios::binary) {}

    template <class Record> bool Read(std::size_t at, Record& record) {
        return Read(at, reinterpret_cast<char*>(&record), sizeof record) == sizeof record;
    }
    // Up to its zero, or as long as a path may be.
    std::string Text(std::size_t at) {
        char text[MAX_PATH];
        const std::size_t length = Read(at, text, sizeof text);
        return {text, std::find(text, text + length, '\0')};
    }

  private:
    std::size_t Read(std::size_t at, char* bytes, std::size_t size) {
        m_stream.clear();
        m_stream.seekg(static_cast<std::streamoff>(at));
        m_stream.read(bytes, static_cast<std::streamsize>(size));
        return static_cast<std::size_t>(m_stream.gcount());
    }

    std::ifstream m_stream;
};

// Where in the file an address of the loaded image stands; 0: nowhere.
std::size_t Place(Bytes& bytes, std::size_t sections, WORD count, DWORD address) {
    IMAGE_SECTION_HEADER section;
    for (WORD i = 0; i < count && bytes.Read(sections + i * sizeof section, section); ++i)
        if (address >= section.VirtualAddress && address - section.VirtualAddress < section.SizeOfRawData)
            return section.PointerToRawData + (address - section.VirtualAddress);
    return 0;
}

} // namespace

std::optional<ImageFile> ReadImageFile(const std::wstring& file) {
    Bytes bytes(file);
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
