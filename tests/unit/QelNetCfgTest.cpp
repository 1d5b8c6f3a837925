// The network configuration records.
#include "FcoeAgent/QelNetCfg.h"

#include <gtest/gtest.h>

namespace {

CQelNetCfgComponent Component(const wchar_t* id) {
    CQelNetCfgComponent component;
    component.m_strComponentId = id;
    component.m_strInstanceId = std::wstring(id) + L"-instance";
    component.m_strDisplayName = std::wstring(id) + L"-name";
    return component;
}

void ExpectIs(const CQelNetCfgComponent& component, const std::wstring& id) {
    EXPECT_EQ(id, component.m_strComponentId);
    EXPECT_EQ(id + L"-instance", component.m_strInstanceId);
    EXPECT_EQ(id + L"-name", component.m_strDisplayName);
}

TEST(QelNetCfg, RecordsStartEmpty) {
    const CQelNetCfgComponent component;
    EXPECT_EQ(L"", component.m_strComponentId);
    EXPECT_EQ(L"", component.m_strInstanceId);
    EXPECT_EQ(L"", component.m_strDisplayName);
    const CQelNetCfgInterface binding;
    EXPECT_EQ(L"", binding.m_strName);
    EXPECT_EQ(L"", binding.m_upper.m_strComponentId);
    EXPECT_EQ(L"", binding.m_lower.m_strComponentId);
}

TEST(QelNetCfg, CopiesAreIndependent) {
    CQelNetCfgInterface binding;
    binding.m_strName = L"binding";
    binding.m_upper = Component(L"upper");
    binding.m_lower = Component(L"lower");
    const CQelNetCfgInterface copy(binding);
    CQelNetCfgInterface assigned;
    assigned = binding;
    binding.m_strName = L"changed";
    binding.m_upper = Component(L"changed");
    for (const CQelNetCfgInterface* record : {&copy, static_cast<const CQelNetCfgInterface*>(&assigned)}) {
        EXPECT_EQ(L"binding", record->m_strName);
        ExpectIs(record->m_upper, L"upper");
        ExpectIs(record->m_lower, L"lower");
    }
    const CQelNetCfgComponent component(binding.m_lower);
    ExpectIs(component, L"lower");
}

} // namespace
