#include "tests/report/Unzip.h"

#include <cstdint>

#include <gtest/gtest.h>
#include <zlib.h>

namespace {

std::uint32_t Number(const std::string& bytes, std::size_t at, std::size_t size) {
    std::uint32_t number = 0;
    for (std::size_t i = size; i > 0; --i)
        number = number << 8 | static_cast<unsigned char>(bytes.at(at + i - 1));
    return number;
}

std::string Inflated(const std::string& packed, std::size_t size) {
    std::string bytes(size, '\0');
    z_stream stream{};
    EXPECT_EQ(Z_OK, inflateInit2(&stream, -MAX_WBITS));
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
    stream.avail_in = static_cast<uInt>(packed.size());
    stream.next_out = reinterpret_cast<Bytef*>(bytes.data());
    stream.avail_out = static_cast<uInt>(bytes.size());
    EXPECT_EQ(Z_STREAM_END, inflate(&stream, Z_FINISH));
    inflateEnd(&stream);
    return bytes;
}

} // namespace

std::map<std::string, std::string> Unzip(const std::string& archive) {
    constexpr std::size_t end = 22;   // bytes of the end of the directory
    constexpr std::size_t local = 30; // of an entry's header, without its name
    constexpr std::size_t central = 46;
    std::map<std::string, std::string> entries;
    if (archive.size() < end || Number(archive, archive.size() - end, 4) != 0x06054B50) {
        ADD_FAILURE() << "no archive";
        return entries;
    }
    std::size_t at = Number(archive, archive.size() - 6, 4);
    for (std::uint32_t count = Number(archive, archive.size() - 12, 2); count > 0; --count) {
        EXPECT_EQ(0x02014B50u, Number(archive, at, 4));
        const std::size_t length = Number(archive, at + 28, 2);
        const std::string name = archive.substr(at + central, length);
        const std::size_t header = Number(archive, at + 42, 4);
        const std::string bytes =
            Inflated(archive.substr(header + local + length, Number(archive, at + 20, 4)), Number(archive, at + 24, 4));
        EXPECT_EQ(Number(archive, at + 16, 4),
                  crc32(0, reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uInt>(bytes.size())));
        EXPECT_TRUE(entries.emplace(name, bytes).second) << name;
        at += central + length;
    }
    return entries;
}
