#include "tools/fcoectl/Tree.h"

#include <gtest/gtest.h>

#include "tests/fcoectl/fakeagent/FakeRecords.h"

using namespace fcoectl;

namespace {

Lists From(const FakeRecords& records) {
    return {records.hbas, records.fabrics, records.ports, records.targets, records.luns};
}

} // namespace

TEST(Tree, DrawsWithBoxCharacters) {
    EXPECT_EQ("ORVAN CNA Port 1  {0B6C7E1A-5D24-4F8B-9C11-000000000001}  Link up\n"
              "├─ Fabric 1  Physical\n"
              "│  └─ Physical port  20:00:00:1B:21:00:00:01\n"
              "│     └─ Target  50:06:01:60:00:00:00:01  ACME  SN-0001\n"
              "│        ├─ LUN 0  \\\\.\\PHYSICALDRIVE1  100 GB\n"
              "│        └─ LUN 1  \\\\.\\PHYSICALDRIVE2  512 MB\n"
              "└─ Virtual Fabric 2  Virtual\n"
              "   └─ Virtual port  20:01:00:1B:21:00:00:01\n"
              "      └─ Target  50:06:01:60:00:00:00:01  ACME  SN-0001\n"
              "         └─ LUN 0  \\\\.\\PHYSICALDRIVE1  100 GB\n",
              DrawTree(BuildTree(From(MakeFakeRecords(1))), false));
}

TEST(Tree, DrawsWithAsciiCharacters) {
    const std::string text = DrawTree(BuildTree(From(MakeFakeRecords(2))), true);
    EXPECT_TRUE(std::all_of(text.begin(), text.end(), [](unsigned char c) { return c < 0x80; }));
    EXPECT_NE(std::string::npos, text.find("\n|- Fabric 1  Physical\n|  `- Physical port"));
}

TEST(Tree, AdaptersWithEqualFabricNamesKeepTheirOwnPorts) {
    const auto tree = BuildTree(From(MakeFakeRecords(2)));
    ASSERT_EQ(2u, tree.size());
    ASSERT_EQ(1u, tree[1].fabrics.size());
    ASSERT_EQ(1u, tree[1].fabrics[0].ports.size());
    EXPECT_EQ(L"20:00:00:1B:21:00:00:02", std::wstring(tree[1].fabrics[0].ports[0].record.strPortWWN));
    EXPECT_EQ(2u, tree[0].fabrics.size());
}

TEST(Tree, TargetBelongsToThePortByOwningAndInitiatorName) {
    Lists lists = From(MakeFakeRecords(1));
    lists.targets[0].strOwningPortWWN = L"another";
    const auto tree = BuildTree(lists);
    EXPECT_TRUE(tree[0].fabrics[0].ports[0].targets.empty());
    ASSERT_EQ(1u, tree[0].targets.size());
    lists = From(MakeFakeRecords(1));
    lists.targets[0].strInitiatorPortWWN = L"another";
    EXPECT_EQ(1u, BuildTree(lists)[0].targets.size());
}

TEST(Tree, PortsOfTypeThreeAreToldApartByTheirAddress) {
    Lists lists = From(MakeFakeRecords(1));
    lists.ports[1].ulPortType = 3;
    lists.ports.push_back(lists.ports[1]);
    lists.ports[1].ulWordB = 0x111;
    lists.ports[2].ulWordB = 0x222;
    lists.targets[1].ulPortType = 3;
    lists.targets[1].ulFcId = 0x222;
    const auto tree = BuildTree(lists);
    const auto& ports = tree[0].fabrics[1].ports;
    ASSERT_EQ(2u, ports.size());
    EXPECT_TRUE(ports[0].targets.empty());
    EXPECT_EQ(1u, ports[1].targets.size());
}

TEST(Tree, NamelessPhysicalFabricKeepsItsPorts) {
    Lists lists = From(MakeFakeRecords(1));
    lists.fabrics[0].strName.clear();
    lists.ports[0].strFabricName.clear();
    const auto tree = BuildTree(lists);
    EXPECT_EQ(1u, tree[0].fabrics[0].ports.size());
    EXPECT_NE(std::string::npos, DrawTree(tree, true).find("Fabric without a name  Physical"));
}

TEST(Tree, PortReadBeforeItsFabricHadANameBelongsToTheFabricOfItsKind) {
    Lists lists = From(MakeFakeRecords(1));
    for (auto* name : {&lists.ports[0].strFabricName, &lists.targets[0].strFabricName, &lists.luns[0].strFabricName})
        name->clear();
    const auto tree = BuildTree(lists);
    ASSERT_EQ(1u, tree[0].fabrics[0].ports.size());
    ASSERT_EQ(1u, tree[0].fabrics[0].ports[0].targets.size());
    EXPECT_EQ(1u, tree[0].fabrics[0].ports[0].targets[0].luns.size());
    EXPECT_TRUE(tree[0].ports.empty());
}

TEST(Tree, WhatHasNoParentIsKeptAndShown) {
    Lists lists = From(MakeFakeRecords(1));
    lists.fabrics.clear();
    lists.luns[0].strTargetPortWWN = L"gone";
    const auto tree = BuildTree(lists);
    EXPECT_EQ(2u, tree[0].ports.size());
    EXPECT_EQ(1u, tree[0].luns.size());
    const std::string text = DrawTree(tree, true);
    EXPECT_NE(std::string::npos, text.find("`- Without a parent in the lists\n   |- Physical port"));
    const auto json = TreeToJson(tree);
    EXPECT_EQ(2u, json[0]["without_parent"]["ports"].size());
    EXPECT_EQ(1u, json[0]["without_parent"]["luns"].size());
}

TEST(Tree, AdapterWithoutARecordIsNamedByWhatItHas) {
    Lists lists = From(MakeFakeRecords(1));
    lists.hbas.clear();
    const auto tree = BuildTree(lists);
    ASSERT_EQ(1u, tree.size());
    EXPECT_EQ(L"ORVAN CNA Port 1", std::wstring(tree[0].record.strSecondId));
    EXPECT_EQ(2u, tree[0].fabrics.size());
}

TEST(Tree, JsonNestsAllFieldsOfEveryRecord) {
    const auto json = TreeToJson(BuildTree(From(MakeFakeRecords(1))));
    const auto& adapter = json.at(0);
    EXPECT_EQ("CX-", adapter["model"]);
    const auto& target = adapter["fabrics"][0]["ports"][0]["targets"][0];
    EXPECT_EQ("SN-0001", target["serial"]);
    EXPECT_EQ(2u, target["luns"].size());
    EXPECT_EQ("512 MB", target["luns"][1]["capacity"]);
}

TEST(Tree, NoAdapterDrawsNothing) {
    EXPECT_EQ("", DrawTree(BuildTree({}), false));
    EXPECT_EQ("[]", TreeToJson(BuildTree({})).dump());
}
