// The order of the lines that an adapter's operations write, from the first to the last.
#include <algorithm>

#include "tests/unit/HBAFixture.h"

using testing::ElementsAreArray;

namespace {

constexpr wchar_t NAME[] = L"10:00:00:1b:21:aa:bb:cc";

bool IsOfALayerBelow(const std::string& line) {
    constexpr const char* PARTS[] = {"CHBAAPIInt::",
                                     "CHelper::",
                                     "CQelRegKey::",
                                     "IsDebugEnbled()",
                                     "IsSettingDebugable()",
                                     "AttributesHandler",
                                     "GetFCEthernetProperties",
                                     "Adapter Handle"};
    return std::ranges::any_of(PARTS, [&](const char* part) { return line.find(part) != std::string::npos; });
}

class FcoeHBALog : public HBAFixture {
  protected:
    FcoeHBALog() { Make(); }

    // The object's own lines, and where it enters the access to the library.
    std::vector<std::string> Outline() const {
        std::vector<std::string> outline = log.Lines();
        std::erase_if(outline, [](const std::string& line) {
            return !line.starts_with("ENTRY:  CHBAAPIInt::") && IsOfALayerBelow(line);
        });
        return outline;
    }
    void ExpectOutline(const std::vector<std::string>& expected) { EXPECT_THAT(Outline(), ElementsAreArray(expected)); }
    void ExpectLines(const std::vector<std::string>& expected) { EXPECT_THAT(log.Lines(), ElementsAreArray(expected)); }

    std::vector<QEL_ERROR_ENTRY> errors;
};

const std::vector<std::string> OPEN = {"ENTRY:  CQelFcoeHBA::Open", "ENTRY:  CHBAAPIInt::CloseAdapHandle",
                                       "ENTRY:  CHBAAPIInt::InitHBAAPIMod", "ENTRY:  CHBAAPIInt::GetAdapterHandle",
                                       "EXIT:  CQelFcoeHBA::Open"};

std::vector<std::string> operator+(std::vector<std::string> lines, const std::vector<std::string>& more) {
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

const std::vector<std::string> RECORD = {"ENTRY:  CQelFcoeHBA::Get", "ENTRY:  CQelFcoeHBA::GetHBA"};
const std::vector<std::string> RECORD_END = {"EXIT:  CQelFcoeHBA::GetHBA", "EXIT:  CQelFcoeHBA::Get, bReturn=true"};
const std::vector<std::string> LOCATION = {"ENTRY:  CHBAAPIInt::GetAdapterPortAttributes",
                                           "ENTRY:  CHBAAPIInt::GetAdapterAtrributes",
                                           "ENTRY:  CQelFcoeHBA::GetPCISlotInfo"};

} // namespace

// --- The record

TEST_F(FcoeHBALog, OfARecord) {
    Record();
    ExpectOutline(RECORD + OPEN + LOCATION + OPEN +
                  std::vector<std::string>{"ENTRY:  CHBAAPIInt::GetFCEthernetProperties", "Bus number : 5",
                                           "Device number : 2", "Function number : 3",
                                           "EXIT:  CQelFcoeHBA::GetPCISlotInfo"} +
                  RECORD_END);
}

TEST_F(FcoeHBALog, OfARecordWithoutPortAttributes) {
    fake.GetAdapterPortAttributes = [](auto...) -> HBA_STATUS { return HBA_STATUS_ERROR; };
    Record();
    ExpectOutline(RECORD + OPEN +
                  std::vector<std::string>{"ENTRY:  CHBAAPIInt::GetAdapterPortAttributes",
                                           "ERROR calling GetAdapterPortAttributes"} +
                  RECORD_END);
}

TEST_F(FcoeHBALog, OfARecordWithoutAdapterAttributes) {
    fake.GetAdapterAttributes = [](auto...) -> HBA_STATUS { return HBA_STATUS_ERROR; };
    Record();
    ExpectOutline(RECORD + OPEN +
                  std::vector<std::string>{"ENTRY:  CHBAAPIInt::GetAdapterPortAttributes",
                                           "ENTRY:  CHBAAPIInt::GetAdapterAtrributes",
                                           "ERROR calling GetAdapterAtrributes"} +
                  RECORD_END);
}

TEST_F(FcoeHBALog, OfALocationWithoutProperties) {
    fake.GetFCAndNICProperties = [](auto...) -> HBA_STATUS { return HBA_STATUS_ERROR; };
    Record();
    ExpectOutline(RECORD + OPEN + LOCATION + OPEN +
                  std::vector<std::string>{"ENTRY:  CHBAAPIInt::GetFCEthernetProperties",
                                           "Unable to retrieve properties from HBAAPI",
                                           "EXIT:  CQelFcoeHBA::GetPCISlotInfo"} +
                  RECORD_END);
}

TEST_F(FcoeHBALog, OfALocationWithoutABusNumber) {
    setupApi.devices[0].bus.reset();
    Record();
    ExpectOutline(RECORD + OPEN + LOCATION + OPEN +
                  std::vector<std::string>{"ENTRY:  CHBAAPIInt::GetFCEthernetProperties",
                                           "CQelFcoeHBA::GetPCISlotInfo - Failed to get the bus number",
                                           "EXIT:  CQelFcoeHBA::GetPCISlotInfo"} +
                  RECORD_END);
}

TEST_F(FcoeHBALog, OfALocationWithoutAnAddress) {
    setupApi.devices[0].address.reset();
    Record();
    ExpectOutline(RECORD + OPEN + LOCATION + OPEN +
                  std::vector<std::string>{"ENTRY:  CHBAAPIInt::GetFCEthernetProperties", "Bus number : 5",
                                           "CQelFcoeHBA::GetPCISlotInfo - Failed to get the device number",
                                           "EXIT:  CQelFcoeHBA::GetPCISlotInfo"} +
                  RECORD_END);
}

// --- Virtual ports

TEST_F(FcoeHBALog, OfACreation) {
    CQelString name(NAME);
    EXPECT_TRUE(hba->CreateVPort(name, errors));
    ExpectLines({"ENTRY:  CQelFcoeHBA::CreateVPort", "ENTRY:  CHBAAPIInt::CreateVport", "CreateVport Succeeded",
                 "EXIT:  CHBAAPIInt::CreateVport, bReturn=true", "ENTRY:  CQelFcoeHBA::InvalidateCache",
                 "EXIT:  CQelFcoeHBA::InvalidateCache", "EXIT:  CQelFcoeHBA::CreateVPort, bReturn=true"});
}

TEST_F(FcoeHBALog, OfACreationThatIsRefused) {
    const std::pair<HBA_STATUS, const char*> refusals[] = {{16, "The WWPN is already in use"},
                                                           {17, "The maximum ports has already been reached"},
                                                           {1, "Unknonw error has occured in CreateVPort"}};
    for (const auto& [status, line] : refusals) {
        Forget();
        fake.CreateVPort = [status = status](auto...) -> HBA_STATUS { return status; };
        CQelString name(NAME);
        EXPECT_FALSE(hba->CreateVPort(name, errors));
        ExpectLines({"ENTRY:  CQelFcoeHBA::CreateVPort", "ENTRY:  CHBAAPIInt::CreateVport",
                     "CreateVport failed - status - " + std::to_string(status),
                     "EXIT:  CHBAAPIInt::CreateVport, bReturn=false", line, "ENTRY:  CQelFcoeHBA::InvalidateCache",
                     "EXIT:  CQelFcoeHBA::InvalidateCache", "EXIT:  CQelFcoeHBA::CreateVPort, bReturn=false"});
    }
}

TEST_F(FcoeHBALog, OfACreationWhoseNameIsGenerated) {
    CQelString name(L"Auto");
    EXPECT_TRUE(hba->CreateVPort(name, errors));
    ExpectLines({"ENTRY:  CQelFcoeHBA::CreateVPort", "ENTRY:  CHBAAPIInt::GenerateVportWwpn",
                 "GenerateVportWwpn Succeeded", "EXIT:  CHBAAPIInt::GenerateVportWwpn, bReturn=true",
                 "ENTRY:  CHBAAPIInt::CreateVport", "CreateVport Succeeded",
                 "EXIT:  CHBAAPIInt::CreateVport, bReturn=true", "ENTRY:  CQelFcoeHBA::InvalidateCache",
                 "EXIT:  CQelFcoeHBA::InvalidateCache", "EXIT:  CQelFcoeHBA::CreateVPort, bReturn=true"});
}

TEST_F(FcoeHBALog, OfACreationWhoseNameCannotBeGenerated) {
    fake.GeneratePortWWN = [](auto...) -> HBA_STATUS { return HBA_STATUS_ERROR; };
    CQelString name(L"Auto");
    EXPECT_FALSE(hba->CreateVPort(name, errors));
    ExpectLines({"ENTRY:  CQelFcoeHBA::CreateVPort", "ENTRY:  CHBAAPIInt::GenerateVportWwpn",
                 "GenerateVportWwpn failed - status - 1", "EXIT:  CHBAAPIInt::GenerateVportWwpn, bReturn=false",
                 "Unable to generate the WWPN", "EXIT:  CQelFcoeHBA::CreateVPort, bReturn=false"});
}

TEST_F(FcoeHBALog, OfACreationByATextThatIsNoName) {
    CQelString name(L"no name");
    EXPECT_FALSE(hba->CreateVPort(name, errors));
    ExpectLines(
        {"ENTRY:  CQelFcoeHBA::CreateVPort", "Invalid WWPN!", "EXIT:  CQelFcoeHBA::CreateVPort, bReturn=false"});
}

TEST_F(FcoeHBALog, OfADeletion) {
    EXPECT_TRUE(hba->DeleteVPort(NAME, errors));
    ExpectLines({"ENTRY:  CQelFcoeHBA::DeleteVPort", "ENTRY:  CHBAAPIInt::RemoveVport", "RemoveVport Succeeded",
                 "EXIT:  CHBAAPIInt::RemoveVport, bReturn=true", "ENTRY:  CQelFcoeHBA::InvalidateCache",
                 "EXIT:  CQelFcoeHBA::InvalidateCache", "EXIT:  CQelFcoeHBA::DeleteVPort, bReturn=true"});
}

// The ports are looked through before the caches are invalidated.
TEST_F(FcoeHBALog, OfADeletionThatIsRefused) {
    std::vector<std::shared_ptr<CQelFcoePort>> ports;
    hba->GetPorts(ports);
    Forget();
    fake.RemoveVPort = [](auto...) -> HBA_STATUS { return HBA_STATUS_ERROR; };
    EXPECT_FALSE(hba->DeleteVPort(NAME, errors));
    ExpectLines({"ENTRY:  CQelFcoeHBA::DeleteVPort", "ENTRY:  CHBAAPIInt::RemoveVport",
                 "RemoveVport failed - status - 1", "EXIT:  CHBAAPIInt::RemoveVport, bReturn=false",
                 "ENTRY:  CQelFcoeHBA::GetPorts", "ENTRY:  CQelFcoeHBA::GetFabrics",
                 "EXIT:  CQelFcoeHBA::GetFabrics, bReturn=true", "ENTRY:  CQelFcoeFabric::GetPorts",
                 "EXIT:  CQelFcoeFabric::GetPorts, bReturn=true", "ENTRY:  CQelFcoeFabric::GetPorts",
                 "EXIT:  CQelFcoeFabric::GetPorts, bReturn=true", "EXIT:  CQelFcoeHBA::GetPorts, bReturn=true",
                 "ENTRY:  CQelFcoePort::Get", "EXIT:  CQelFcoePort::Get, bReturn=true", "ENTRY:  CQelFcoePort::Get",
                 "EXIT:  CQelFcoePort::Get, bReturn=true", "ENTRY:  CQelFcoeHBA::InvalidateCache",
                 "EXIT:  CQelFcoeHBA::InvalidateCache", "EXIT:  CQelFcoeHBA::DeleteVPort, bReturn=false"});
}

TEST_F(FcoeHBALog, OfADeletionByATextThatIsNoName) {
    EXPECT_FALSE(hba->DeleteVPort(L"no name", errors));
    ExpectLines({"ENTRY:  CQelFcoeHBA::DeleteVPort", "EXIT:  CQelFcoeHBA::DeleteVPort, bReturn=false"});
}

TEST_F(FcoeHBALog, OfAGeneratedName) {
    CQelString name;
    EXPECT_TRUE(hba->GenerateVPortWWPN(name));
    ExpectLines({"ENTRY:  CQelFcoeHBA::GenerateVPortWWPN", "ENTRY:  CHBAAPIInt::GenerateVportWwpn",
                 "GenerateVportWwpn Succeeded", "EXIT:  CHBAAPIInt::GenerateVportWwpn, bReturn=true",
                 "EXIT:  CQelFcoeHBA::GenerateVPortWWPN, bReturn=true"});
}

TEST_F(FcoeHBALog, OfARescan) {
    EXPECT_TRUE(hba->RefreshTargets());
    ExpectLines({"ENTRY:  CQelFcoeHBA::RefreshTargets", "ENTRY:  CHBAAPIInt::RefreshTargetInfo",
                 "CHBAAPIInt::RefreshTargetInfo Succeeded", "EXIT:  CHBAAPIInt::RefreshTargetInfo",
                 "CQelFcoeHBA::RefreshTargetInfo - successful", "EXIT:  CQelFcoeHBA::RefreshTargets, bReturn=true"});
}
