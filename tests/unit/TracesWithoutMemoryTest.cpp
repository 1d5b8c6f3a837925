// What memory exhaustion leaves in the log: the result that each operation of the tree had come to.
#include <functional>
#include <new>

#include "tests/unit/FailingMemory.h"
#include "tests/unit/HBAFixture.h"

namespace {

// One object of each kind, read once: from now on the caches answer.
struct Objects {
    std::vector<std::shared_ptr<CQelFcoeFabric>> fabrics;
    std::vector<std::shared_ptr<CQelFcoePort>> ports;
    std::vector<std::shared_ptr<CQelFcoeTarget>> targets;
    std::vector<std::shared_ptr<CQelFcoeLUN>> luns;
    std::vector<std::shared_ptr<CQelFcoeVLAN>> vlans;
};

class TracesWithoutMemory : public HBAFixture {
  protected:
    void SetUp() override {
        fake.vlans.resize(1);
        Make();
        objects = std::make_unique<Objects>();
        ASSERT_TRUE(hba->GetFabrics(objects->fabrics));
        ASSERT_TRUE(hba->GetPorts(objects->ports));
        ASSERT_TRUE(hba->GetTargets(objects->targets));
        ASSERT_TRUE(hba->GetLUNs(objects->luns));
        ASSERT_TRUE(hba->GetVLANs(objects->vlans));
        Record();
        std::erase(objects->ports, nullptr);
        Forget();
    }

    // The operation's last line, once memory ran out in it.
    std::string ExitOf(const char* operation, const std::function<BOOL()>& run) {
        EXPECT_THROW(
            {
                const FailingMemory memory;
                static_cast<void>(run());
            },
            std::bad_alloc)
            << operation;
        const auto traces = log.TracesOf(operation);
        return traces.empty() ? "" : traces.back();
    }

    std::unique_ptr<Objects> objects;
};

} // namespace

TEST_F(TracesWithoutMemory, OfARecordEndWithFalse) {
    QEL_FCOE_HBA hbaRecord;
    QEL_FCOE_FABRIC fabric;
    QEL_FCOE_PORT port;
    QEL_FCOE_TARGET target;
    QEL_FCOE_LUN lun;
    QEL_FCOE_VLAN vlan;
    const std::pair<const char*, std::function<BOOL()>> reads[] = {
        {"CQelFcoeHBA::Get", [&] { return hba->Get(hbaRecord); }},
        {"CQelFcoeFabric::Get", [&] { return objects->fabrics.front()->Get(fabric); }},
        {"CQelFcoePort::Get", [&] { return objects->ports.front()->Get(port); }},
        {"CQelFcoeTarget::Get", [&] { return objects->targets.front()->Get(target); }},
        {"CQelFcoeLUN::Get", [&] { return objects->luns.front()->Get(lun); }},
        {"CQelFcoeVLAN::Get", [&] { return objects->vlans.front()->Get(vlan); }},
    };
    for (const auto& [operation, run] : reads)
        EXPECT_EQ(std::string("EXIT:  ") + operation + ", bReturn=false", ExitOf(operation, run));
}

TEST_F(TracesWithoutMemory, OfAListEndWithFalse) {
    std::vector<std::shared_ptr<CQelFcoeFabric>> fabrics;
    std::vector<std::shared_ptr<CQelFcoePort>> ports;
    std::vector<std::shared_ptr<CQelFcoeTarget>> targets;
    std::vector<std::shared_ptr<CQelFcoeLUN>> luns;
    std::vector<std::shared_ptr<CQelFcoeVLAN>> vlans;
    const auto& fabric = objects->fabrics.front();
    const auto& port = objects->ports.front();
    const auto& target = objects->targets.front();
    const std::pair<const char*, std::function<BOOL()>> reads[] = {
        {"CQelFcoeHBA::GetFabrics", [&] { return hba->GetFabrics(fabrics); }},
        {"CQelFcoeHBA::GetPorts", [&] { return hba->GetPorts(ports); }},
        {"CQelFcoeHBA::GetTargets", [&] { return hba->GetTargets(targets); }},
        {"CQelFcoeHBA::GetLUNs", [&] { return hba->GetLUNs(luns); }},
        {"CQelFcoeHBA::GetVLANs", [&] { return hba->GetVLANs(vlans); }},
        {"CQelFcoeFabric::GetPorts", [&] { return fabric->GetPorts(ports); }},
        {"CQelFcoeFabric::GetTargets", [&] { return fabric->GetTargets(targets); }},
        {"CQelFcoeFabric::GetLUNs", [&] { return fabric->GetLUNs(luns); }},
        {"CQelFcoePort::GetTargets", [&] { return port->GetTargets(targets); }},
        {"CQelFcoeTarget::GetLUNs", [&] { return target->GetLUNs(luns); }},
        {"CQelFcoeTarget::GetLUNs_Cache", [&] { return target->GetLUNs(luns); }},
    };
    for (const auto& [operation, run] : reads)
        EXPECT_EQ(std::string("EXIT:  ") + operation + ", bReturn=false", ExitOf(operation, run));
}
