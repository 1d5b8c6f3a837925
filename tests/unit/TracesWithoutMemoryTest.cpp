// What memory exhaustion leaves in the log: the result that each operation of the tree and of CHelper had come to.
#include <functional>
#include <new>

#include "Common/Src/Helper.h"
#include "tests/unit/FailingMemory.h"
#include "tests/unit/HBAFixture.h"

namespace {

using Reads = std::vector<std::pair<const char*, std::function<BOOL()>>>; // operations by their names

void ExpectEndWithFalse(const LogCapture& log, const Reads& reads) {
    for (const auto& [operation, run] : reads) {
        EXPECT_THROW(
            {
                const FailingMemory memory;
                static_cast<void>(run());
            },
            std::bad_alloc)
            << operation;
        const auto traces = log.TracesOf(operation);
        EXPECT_EQ(std::string("EXIT:  ") + operation + ", bReturn=false", traces.empty() ? "" : traces.back());
    }
}

class TracesWithoutMemory : public HBAFixture {
  protected:
    // Everything is read once: from then on the caches answer.
    void SetUp() override {
        fake.vlans.resize(1);
        Make();
        ASSERT_TRUE(hba->GetFabrics(fabrics));
        ASSERT_TRUE(hba->GetPorts(ports));
        ASSERT_TRUE(hba->GetTargets(targets));
        ASSERT_TRUE(hba->GetLUNs(luns));
        ASSERT_TRUE(hba->GetVLANs(vlans));
        Record();
        Forget();
    }

    std::vector<std::shared_ptr<CQelFcoeFabric>> fabrics;
    std::vector<std::shared_ptr<CQelFcoePort>> ports;
    std::vector<std::shared_ptr<CQelFcoeTarget>> targets;
    std::vector<std::shared_ptr<CQelFcoeLUN>> luns;
    std::vector<std::shared_ptr<CQelFcoeVLAN>> vlans;
};

} // namespace

TEST_F(TracesWithoutMemory, OfARecordEndWithFalse) {
    QEL_FCOE_HBA hbaRecord;
    QEL_FCOE_FABRIC fabric;
    QEL_FCOE_PORT port;
    QEL_FCOE_TARGET target;
    QEL_FCOE_LUN lun;
    QEL_FCOE_VLAN vlan;
    const Reads reads{
        {"CQelFcoeHBA::Get", [&] { return hba->Get(hbaRecord); }},
        {"CQelFcoeFabric::Get", [&] { return fabrics.front()->Get(fabric); }},
        {"CQelFcoePort::Get", [&] { return ports.front()->Get(port); }},
        {"CQelFcoeTarget::Get", [&] { return targets.front()->Get(target); }},
        {"CQelFcoeLUN::Get", [&] { return luns.front()->Get(lun); }},
        {"CQelFcoeVLAN::Get", [&] { return vlans.front()->Get(vlan); }},
    };
    ExpectEndWithFalse(log, reads);
}

TEST_F(TracesWithoutMemory, OfAListEndWithFalse) {
    // Lists of the caller's, which have no room yet.
    std::vector<std::shared_ptr<CQelFcoeFabric>> someFabrics;
    std::vector<std::shared_ptr<CQelFcoePort>> somePorts;
    std::vector<std::shared_ptr<CQelFcoeTarget>> someTargets;
    std::vector<std::shared_ptr<CQelFcoeLUN>> someLuns;
    std::vector<std::shared_ptr<CQelFcoeVLAN>> someVlans;
    const auto& fabric = fabrics.front();
    const auto& port = ports.front();
    const auto& target = targets.front();
    const Reads reads{
        {"CQelFcoeHBA::GetFabrics", [&] { return hba->GetFabrics(someFabrics); }},
        {"CQelFcoeHBA::GetPorts", [&] { return hba->GetPorts(somePorts); }},
        {"CQelFcoeHBA::GetTargets", [&] { return hba->GetTargets(someTargets); }},
        {"CQelFcoeHBA::GetLUNs", [&] { return hba->GetLUNs(someLuns); }},
        {"CQelFcoeHBA::GetVLANs", [&] { return hba->GetVLANs(someVlans); }},
        {"CQelFcoeFabric::GetPorts", [&] { return fabric->GetPorts(somePorts); }},
        {"CQelFcoeFabric::GetTargets", [&] { return fabric->GetTargets(someTargets); }},
        {"CQelFcoeFabric::GetLUNs", [&] { return fabric->GetLUNs(someLuns); }},
        {"CQelFcoePort::GetTargets", [&] { return port->GetTargets(someTargets); }},
        {"CQelFcoeTarget::GetLUNs", [&] { return target->GetLUNs(someLuns); }},
        {"CQelFcoeTarget::GetLUNs_Cache", [&] { return target->GetLUNs(someLuns); }},
    };
    ExpectEndWithFalse(log, reads);
}

TEST(HelperTracesWithoutMemory, EndWithFalse) {
    constexpr wchar_t KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2";
    PrivateHive hive;
    hive.Set(KEY, L"Place", L"longer than the text that a string holds by itself");
    CHelper helper;
    CQelString text;
    const CQelString name(L"an agent whose name is long"), key(KEY), value(L"Place");
    const CQelString setting(L"a setting whose name is long");
    ULONG number = 0;
    const LogCapture log;
    const Reads reads{
        {"CHelper::IsDcbInstalled", [&] { return helper.IsDcbInstalled(); }},
        {"CHelper::IsFcoeInstalled", [&] { return helper.IsFcoeInstalled(); }},
        {"CHelper::IsIscsiInstalled", [&] { return helper.IsIscsiInstalled(); }},
        {"CHelper::IsDebugEnbled", [&] { return helper.IsDebugEnbled(); }},
        {"CHelper::IsSettingDebugable", [&] { return helper.IsSettingDebugable(setting, number); }},
        {"CHelper::GetPathFromRegistry", [&] { return helper.GetPathFromRegistry(key, value, text); }},
        {"CHelper::GetInstalledLanguage", [&] { return helper.GetInstalledLanguage(text); }},
        {"CHelper::GetLocalLanguage", [&] { return helper.GetLocalLanguage(text); }},
        {"CHelper::GetAgentModuleLocation", [&] { return helper.GetAgentModuleLocation(name, text); }},
    };
    ExpectEndWithFalse(log, reads);
}
