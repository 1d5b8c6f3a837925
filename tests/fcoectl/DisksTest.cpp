// The logical units as the operating system's disks.
#include "tools/fcoectl/Disks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fcoectl/Host.h"
#include "tests/fcoectl/fakeagent/FakeRecords.h"
#include "tools/fcoectl/DiskSize.h"

using namespace fcoectl;
using testing::HasSubstr;

namespace {

nlohmann::ordered_json Disks(const std::vector<QEL_FCOE_LUN>& luns, const SizeOf& sizeOf = DiskSize) {
    return JsonOf(SheetOfDisks(luns, MakeFakeRecords(1).targets, sizeOf));
}

} // namespace

TEST(Disks, HaveTheirPathsTogether) {
    const auto disks = Disks(MakeFakeRecords(1).luns);
    ASSERT_EQ(2u, disks.size());
    EXPECT_EQ("\\\\.\\PHYSICALDRIVE1", disks[0]["os_device_name"]);
    EXPECT_EQ(2, disks[0]["path_count"]);
    EXPECT_EQ(2u, disks[0]["paths"].size());
    EXPECT_EQ("20:00:00:1B:21:00:00:01", disks[0]["paths"][0]["initiator_port_wwn"]);
    EXPECT_EQ("20:01:00:1B:21:00:00:01", disks[0]["paths"][1]["initiator_port_wwn"]);
    EXPECT_EQ("ORVAN CNA Port 1", disks[0]["paths"][1]["second_id"]);
    EXPECT_EQ("ACME", disks[0]["vendor"]) << "without the blanks behind it";
    EXPECT_EQ("SN-0001", disks[0]["serial"]);
    EXPECT_EQ(1, disks[1]["path_count"]);
}

TEST(Disks, OfSeveralTargetsNameThemAll) {
    auto records = MakeFakeRecords(1);
    records.targets[1].strSerial = L"SN-0002";
    const auto disks = JsonOf(SheetOfDisks(records.luns, records.targets, DiskSize));
    EXPECT_EQ("SN-0001, SN-0002", disks[0]["serial"]);
    EXPECT_EQ("ACME", disks[0]["vendor"]);
}

TEST(Disks, OnEachPathHaveWhatTheLibraryTellsThere) {
    auto records = MakeFakeRecords(1);
    records.targets[1].strSerial = L"";
    records.luns.back().strCapacity = L"Unknown";
    const auto paths = JsonOf(SheetOfDisks(records.luns, records.targets, DiskSize))[0]["paths"];
    EXPECT_EQ("SN-0001", paths[0]["serial"]);
    EXPECT_EQ("", paths[1]["serial"]);
    EXPECT_EQ("ACME", paths[1]["vendor"]);
    EXPECT_EQ("100 GB", paths[0]["capacity"]);
    EXPECT_EQ("Unknown", paths[1]["capacity"]);
}

TEST(Disks, UnitsWithoutADeviceAreNone) {
    auto luns = MakeFakeRecords(1).luns;
    luns[1].strOsDeviceName = L"";
    EXPECT_EQ(1u, Disks(luns).size());
}

TEST(Disks, BytesComeFromTheDiskOrElseFromTheText) {
    auto luns = MakeFakeRecords(1).luns;
    const auto exact = Disks(luns, [](const std::wstring& device) -> std::optional<std::uint64_t> {
        return device.ends_with(L"1") ? std::optional<std::uint64_t>(107374182912) : std::nullopt;
    });
    EXPECT_EQ(107374182912, exact[0]["bytes"]);
    EXPECT_EQ("disk", exact[0]["bytes_source"]);
    EXPECT_EQ(512LL << 20, exact[1]["bytes"]);
    EXPECT_EQ("capacity", exact[1]["bytes_source"]);
    for (auto& lun : luns)
        lun.strCapacity = L"Unknown";
    const auto unknown = Disks(luns, [](const std::wstring&) { return std::nullopt; });
    EXPECT_TRUE(unknown[0]["bytes"].is_null());
    EXPECT_EQ("", unknown[0]["bytes_source"]);
}

TEST(Disks, TextsStandForBytes) {
    EXPECT_EQ(std::optional<std::uint64_t>(1023LL << 20), BytesOfText(L"1023 MB"));
    EXPECT_EQ(std::optional<std::uint64_t>(7LL << 30), BytesOfText(L"7 GB"));
    EXPECT_EQ(std::optional<std::uint64_t>(4LL << 40), BytesOfText(L"4 TB"));
    for (const wchar_t* text : {L"", L"Unknown", L"12", L"12 kB", L" MB", L"12 MB or so"})
        EXPECT_EQ(std::nullopt, BytesOfText(text));
}

TEST(Disks, NamesThatAreNoDevicesAreNotOpened) {
    EXPECT_EQ(std::nullopt, DiskSize(Beside(L"fcoectl.exe").wstring()));
    EXPECT_EQ(std::nullopt, DiskSize(L"\\\\.\\NoSuchDisk"));
    EXPECT_EQ(std::nullopt, DiskSize(L"\\\\.\\NUL")) << "opens, and has no size";
}

TEST(DisksCommand, SaysWhereTheBytesComeFrom) {
    const ::Answer answer = Host(L"two").Run({"disks"});
    EXPECT_EQ(0, answer.exit);
    EXPECT_THAT(answer.err, HasSubstr("cannot be asked for their size"));
    EXPECT_EQ(1, Host(L"false:targets").Run({"disks"}).exit);
    EXPECT_EQ(1, Host(L"false:luns").Run({"disks"}).exit);
}
