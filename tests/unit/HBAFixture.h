// What the tests of the HBA object share.
#pragma once

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "FcoeAgent/QelResource.h"
#include "hbaapi/HBAAPIInt.h"
#include "model/FcoeFabric.h"
#include "model/FcoeHBA.h"
#include "model/FcoeLUN.h"
#include "model/FcoePort.h"
#include "model/FcoeTarget.h"
#include "model/FcoeVLAN.h"
#include "tests/kit/LogCapture.h"
#include "tests/kit/MovedClock.h"
#include "tests/kit/PrivateHive.h"
#include "tests/unit/FakeHbaLibrary.h"
#include "tests/unit/FakeSetupApi.h"

inline constexpr wchar_t GUID_TEXT[] = L"{0A1B2C3D-0000-1111-2222-333344445555}";
inline constexpr char DEVICE_CALL[] = "GetFCoEControllerInfo \\DEVICE\\{0A1B2C3D-0000-1111-2222-333344445555}";

inline std::wstring ResourceString(UINT id) {
    CQelString text;
    EXPECT_GT(text.LoadCommonResString(id), 0) << id;
    return text;
}

// An adapter with a physical and a virtual port, a target behind each, and a logical unit behind each target.
class HBAFixture : public testing::Test {
  protected:
    HBAFixture() {
        fake.portAttributes.PortWWN = PHYSICAL;
        fake.portAttributes.NodeWWN = {{0x10, 0, 0, 0x1B, 0x21, 0, 0, 9}};
        fake.portAttributes.PortFcId = 0x010203;
        fake.portAttributes.PortState = HBA_PORTSTATE_OFFLINE;
        fake.portAttributes.PortSpeed = HBA_PORTSPEED_10GBIT;
        std::strcpy(fake.adapterAttributes.Model, "X520");
        std::strcpy(fake.properties.NetworkInstance, "\\DEVICE\\{0A1B2C3D-0000-1111-2222-333344445555}");
        setupApi.devices = {{GUID_TEXT, 5, 2u << 16 | 3, true}};
        AddPort(0, PHYSICAL);
        AddPort(2, VIRTUAL);
        AddTarget(0, PHYSICAL, 1);
        AddTarget(2, VIRTUAL, 2);
    }
    ~HBAFixture() override {
        hba.reset();
        library.DeInitHBAAPIMod();
    }

    void AddPort(BYTE type, const HBA_WWN& wwpn) {
        ORVAN_FC_PORT port{};
        port.PortType = type;
        port.PortWWN = wwpn;
        port.Word56 = 1;
        port.Number = static_cast<HBA_UINT16>(fake.ports.size() + 1);
        fake.ports.push_back(port);
    }
    void AddTarget(BYTE type, const HBA_WWN& initiator, BYTE number) {
        ORVAN_TARGET_ENTRY target{};
        target.ScsiTargetNumber = number;
        target.InitiatorPortType = type;
        target.InitiatorPortWWN = initiator;
        target.PortWWN = {{0x50, 0, 0, 0, 0, 0, 0, number}};
        fake.targets.push_back(target);
        HBA_FCPSCSIENTRY unit{};
        unit.ScsiId.ScsiTargetNumber = number;
        unit.ScsiId.ScsiOSLun = number * 10u;
        unit.FcpId.PortWWN = target.PortWWN;
        fake.mappings.push_back(unit);
    }
    void Make() {
        hba = std::make_unique<CQelFcoeHBA>(&library, GUID_TEXT, L"Adapter 1");
        Forget();
    }
    void Forget() {
        fake.ClearCalls();
        log.Clear();
    }
    bool Logged(const char* message) const { return log.Has(message); }
    QEL_FCOE_HBA Record() {
        QEL_FCOE_HBA record;
        EXPECT_TRUE(hba->Get(record));
        return record;
    }

    static constexpr HBA_WWN PHYSICAL{{0x20, 0, 0, 0x1B, 0x21, 0xAA, 0xBB, 0x01}};
    static constexpr HBA_WWN VIRTUAL{{0x20, 0, 0, 0x1B, 0x21, 0xAA, 0xBB, 0x02}};

    PrivateHive hive;
    LogCapture log;
    MovedClock clock;
    FakeHbaLibrary fake;
    FakeSetupApi setupApi{hive};
    CHBAAPIInt library;
    std::unique_ptr<CQelFcoeHBA> hba;
};
