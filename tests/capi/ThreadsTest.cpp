// Threads of all kinds.
#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <objbase.h>

#include "tests/capi/CSession.h"
#include "tests/capi/CapiHost.h"

namespace {

// A thread in an apartment of that kind.
template <class Work> void InApartment(DWORD kind, Work work) {
    std::thread([&] {
        ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, kind)));
        work();
        CoUninitialize();
    }).join();
}

std::wstring LinkStatus(const Session& session) {
    const Result list = Enumerate(session, FCOE_HBAS, FIRST);
    const auto* hba = At<fcoe_hba>(list.list);
    return hba ? hba->fcoe_link_status : L"no adapter";
}

// The same of the agent, asked in this thread.
std::wstring LinkStatusOfAgent(CapiHost& host) {
    std::vector<QEL_FCOE_HBA> hbas;
    EXPECT_TRUE(host.Suite().GetAgent()->EnumerateHBAs(CQelString(FIRST), hbas, 0));
    return hbas.at(0).strFcoeLinkStatus;
}

} // namespace

TEST(Threads, ListsOfManyAtOnceAreWhole) {
    CapiHost host;
    const Session session = Open();
    std::vector<std::uint32_t> expected;
    for (const fcoe_kind kind : KINDS)
        expected.push_back(Enumerate(session, kind).count);
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int number = 0; number < 8; ++number)
        threads.emplace_back([&, number] {
            for (int i = 0; i < 40; ++i) {
                const std::size_t at = static_cast<std::size_t>(i + number) % std::size(KINDS);
                fcoe_list* list = nullptr;
                fcoe_session* own = nullptr;
                wrong += fcoe_open(nullptr, 0, &own, nullptr) != FCOE_OK;
                wrong += fcoe_enumerate(i % 2 ? own : session.get(), KINDS[at], nullptr, 0, &list, nullptr) != FCOE_OK;
                fcoe_close(own);
                wrong += fcoe_list_count(list) != expected[at];
                fcoe_list_free(list);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(0, wrong);
}

TEST(Threads, SessionsThatComeAndGoStartAndEndTheAgentInTurn) {
    CapiHost host;
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int number = 0; number < 6; ++number)
        threads.emplace_back([&] {
            for (int i = 0; i < 15; ++i) {
                fcoe_session* session = nullptr;
                wrong += fcoe_open(nullptr, 0, &session, nullptr) != FCOE_OK;
                fcoe_list* list = nullptr;
                wrong += fcoe_enumerate(session, FCOE_PORTS, nullptr, 0, &list, nullptr) != FCOE_OK;
                fcoe_list_free(list);
                fcoe_close(session);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(0, wrong);
    EXPECT_EQ(nullptr, GetModuleHandleW(L"FcoeAgnt.dll"));
}

TEST(Threads, SessionAndListMayChangeThem) {
    CapiHost host;
    Session session;
    Result result;
    std::thread([&] { session = Open(); }).join();
    std::thread([&] { result = Enumerate(session, FCOE_LUNS); }).join();
    std::thread([&] { session.reset(); }).join();
    EXPECT_LT(0u, result.count);
    std::thread([&] { EXPECT_STREQ(FIRST, At<fcoe_lun>(result.list)->device_id); }).join();
}

// A single-threaded apartment is where the agent alone cannot ask the service.
TEST(Apartments, LinkStatesAreRightInEach) {
    CapiHost host;
    host.Dcb();
    host.Simulate(ReadingHost::Topology("", true));
    Session session = Open();
    const std::wstring up = LinkStatus(session);
    EXPECT_EQ(L"Link up", up);
    InApartment(COINIT_MULTITHREADED, [&] { EXPECT_EQ(up, LinkStatus(session)); });
    InApartment(COINIT_APARTMENTTHREADED, [&] { EXPECT_EQ(up, LinkStatus(session)); });
    session.reset();
    InApartment(COINIT_APARTMENTTHREADED, [&] {
        EXPECT_NE(up, LinkStatusOfAgent(host)) << "else there is nothing to be tested";
        host.Suite().GetAgent()->Uninstall(0);
    });
    host.Suite().Unload();
}

TEST(Apartments, SingleThreadedOneHasWholeSessions) {
    CapiHost host;
    host.Dcb();
    host.Simulate(ReadingHost::Topology("", true));
    InApartment(COINIT_APARTMENTTHREADED, [&] {
        Session session = Open();
        EXPECT_EQ(L"Link up", LinkStatus(session));
        EXPECT_EQ(FCOE_OK, EnumerateJson(session, FCOE_HBAS).status);
        EXPECT_EQ(FCOE_UNKNOWN_ADAPTER, Enumerate(session, FCOE_HBAS, NOBODY).status);
        std::wstring wwpn = L"auto";
        EXPECT_EQ(FCOE_OK, Create(session, FIRST, wwpn).status);
        EXPECT_EQ(FCOE_REFUSED, Create(session, FIRST, wwpn).status);
        EXPECT_EQ(FCOE_OK, Delete(session, FIRST, wwpn).status);
        EXPECT_EQ(FCOE_OK, Refresh(session, FIRST).status);
        session.reset();
        EXPECT_EQ(nullptr, GetModuleHandleW(L"FcoeAgnt.dll"));
    });
}
