#include "tools/fcoectl/diagnose/ZipArchive.h"

#include <limits>
#include <new>
#include <utility>

#include <windows.h>

#include "tools/fcoectl/Failure.h"

namespace fcoectl {
namespace {

constexpr std::uint32_t LOCAL_HEADER = 0x04034B50;
constexpr std::uint32_t CENTRAL_HEADER = 0x02014B50;
constexpr std::uint32_t END_OF_DIRECTORY = 0x06054B50;
constexpr std::uint16_t VERSION_NEEDED = 20; // 2.0: deflated
constexpr std::uint16_t DEFLATED = 8;
constexpr std::uint64_t LARGEST = std::numeric_limits<std::uint32_t>::max();
constexpr std::size_t PIECE = 1 << 16;

template <class Number> std::string LittleEndian(Number number) {
    std::string bytes;
    for (std::size_t i = 0; i < sizeof number; ++i)
        bytes += static_cast<char>(number >> (8 * i) & 0xFF);
    return bytes;
}
std::string Short(std::uint16_t number) {
    return LittleEndian(number);
}
std::string Long(std::uint64_t number) {
    return LittleEndian(static_cast<std::uint32_t>(number));
}

[[noreturn]] void TooLarge() {
    throw Failure(Exit::OutputFailed, "The archive would be larger than 4 GB.");
}

std::uint32_t DosTime() {
    FILETIME now;
    FILETIME local;
    WORD date = 0;
    WORD time = 0;
    GetSystemTimeAsFileTime(&now);
    if (!FileTimeToLocalFileTime(&now, &local) || !FileTimeToDosDateTime(&local, &date, &time))
        return 0;
    return static_cast<std::uint32_t>(date) << 16 | time;
}

} // namespace

ZipArchive::~ZipArchive() {
    if (m_isOpen)
        deflateEnd(&m_stream);
}

void ZipArchive::Begin(const std::string& name) {
    constexpr int raw = -MAX_WBITS; // without zlib's own header
    m_stream = {};
    if (deflateInit2(&m_stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, raw, MAX_MEM_LEVEL, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::bad_alloc();
    m_isOpen = true;
    m_packed.clear();
    m_time = DosTime();
    m_entry = {name, static_cast<std::uint32_t>(crc32(0, nullptr, 0)), 0, 0, m_archive.size()};
}

void ZipArchive::Write(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::string_view piece = bytes.substr(0, PIECE);
        m_entry.checksum = static_cast<std::uint32_t>(
            crc32(m_entry.checksum, reinterpret_cast<const Bytef*>(piece.data()), static_cast<uInt>(piece.size())));
        m_entry.size += piece.size();
        Deflate(piece, Z_NO_FLUSH);
        bytes.remove_prefix(piece.size());
    }
}

void ZipArchive::End() {
    Deflate({}, Z_FINISH);
    deflateEnd(&m_stream);
    m_isOpen = false;
    m_entry.packed = m_packed.size();
    if (m_entry.size > LARGEST || m_entry.offset + m_entry.packed > LARGEST)
        TooLarge();
    m_archive += Long(LOCAL_HEADER) + Fields() + m_entry.name + m_packed;
    // No comment; on the first disk; without attributes.
    m_directory += Long(CENTRAL_HEADER) + Short(VERSION_NEEDED) + Fields() + Short(0) + Short(0) + Short(0) + Long(0) +
                   Long(m_entry.offset) + m_entry.name;
    ++m_count;
}

void ZipArchive::Add(const std::string& name, std::string_view bytes) {
    Begin(name);
    Write(bytes);
    End();
}

std::string ZipArchive::Finish() {
    const std::uint64_t start = m_archive.size();
    if (start + m_directory.size() > LARGEST)
        TooLarge();
    m_archive += m_directory + Long(END_OF_DIRECTORY) + Short(0) + Short(0) + Short(m_count) + Short(m_count) +
                 Long(m_directory.size()) + Long(start) + Short(0);
    return std::move(m_archive);
}

void ZipArchive::Deflate(std::string_view bytes, int flush) {
    m_stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data())); // NOLINT: zlib reads it only
    m_stream.avail_in = static_cast<uInt>(bytes.size());
    char packed[PIECE];
    do {
        m_stream.next_out = reinterpret_cast<Bytef*>(packed);
        m_stream.avail_out = PIECE;
        deflate(&m_stream, flush);
        m_packed.append(packed, PIECE - m_stream.avail_out);
    } while (m_stream.avail_out == 0);
}

std::string ZipArchive::Fields() const {
    return Short(VERSION_NEEDED) + Short(0) + Short(DEFLATED) + Long(m_time) + Long(m_entry.checksum) +
           Long(m_entry.packed) + Long(m_entry.size) + Short(static_cast<std::uint16_t>(m_entry.name.size())) +
           Short(0);
}

} // namespace fcoectl
