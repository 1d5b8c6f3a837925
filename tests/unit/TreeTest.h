// What the tests of the tree's objects share: a bound library, the log, and makers of the library's records.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "hbaapi/HBAAPIInt.h"
#include "model/SharedPaths.h"
#include "tests/kit/LogCapture.h"
#include "tests/unit/FakeHbaLibrary.h"

class TreeTest : public testing::Test {
  protected:
    static constexpr HBA_HANDLE HANDLE_7 = 7;

    TreeTest() {
        EXPECT_TRUE(library.InitHBAAPIMod());
        fake.ClearCalls();
        log.Clear();
    }
    ~TreeTest() override { library.DeInitHBAAPIMod(); }

    // What was logged without the traces and without the library access layer's own lines.
    std::vector<std::string> Messages() const { return log.Messages(LogText::Without({"CHBAAPIInt::"})); }
    // The scope of the operation was traced, and this is how its EXIT line ends.
    testing::AssertionResult Traced(const std::string& operation, const std::string& result = "") const {
        return log.Traced(operation, result);
    }

    FakeHbaLibrary fake;
    CHBAAPIInt library;
    LogCapture log;
    // What an object of the tree is made with.
    const std::shared_ptr<const AdapterNames> names =
        std::make_shared<AdapterNames>(AdapterNames{L"second", L"{name}"});
    const std::shared_ptr<const PortPath> portPath = std::make_shared<PortPath>(PortPath{L"Fabric 1", L"owning"});
};

inline HBA_WWN Wwn(HBA_UINT64 number) {
    HBA_WWN wwn;
    for (int i = 7; i >= 0; --i, number >>= 8)
        wwn.wwn[i] = static_cast<HBA_UINT8>(number);
    return wwn;
}

inline ORVAN_FC_PORT FcPort(HBA_UINT8 type, HBA_UINT64 portWwn) {
    ORVAN_FC_PORT port{};
    port.PortType = type;
    port.PortWWN = Wwn(portWwn);
    return port;
}

inline ORVAN_TARGET_ENTRY TargetEntry(HBA_UINT8 type, HBA_UINT64 initiatorWwn, HBA_UINT64 portWwn) {
    ORVAN_TARGET_ENTRY target{};
    target.InitiatorPortType = type;
    target.InitiatorPortWWN = Wwn(initiatorWwn);
    target.PortWWN = Wwn(portWwn);
    return target;
}

inline HBA_FCPSCSIENTRY LunEntry(HBA_UINT64 targetPortWwn, HBA_UINT32 osLun) {
    HBA_FCPSCSIENTRY entry{};
    entry.FcpId.PortWWN = Wwn(targetPortWwn);
    entry.ScsiId.ScsiOSLun = osLun;
    return entry;
}

inline std::vector<BYTE> Capacity16(HBA_UINT64 address, HBA_UINT32 blockSize) {
    std::vector<BYTE> response(12);
    for (int i = 7; i >= 0; --i, address >>= 8)
        response[i] = static_cast<BYTE>(address);
    for (int i = 11; i >= 8; --i, blockSize >>= 8)
        response[i] = static_cast<BYTE>(blockSize);
    return response;
}
