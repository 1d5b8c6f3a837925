// Every function with every wrong argument: a status, never a crash, and nothing is asked of the agent.
#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/capi/CSession.h"
#include "tests/fcoectl/Host.h"

using testing::Each;
using testing::StartsWith;

namespace {

// A block of the host's that is neither session nor list.
struct Stranger {
    char bytes[64] = {};
    template <class Type> Type* As() { return reinterpret_cast<Type*>(bytes); }
};

constexpr std::size_t UNITS = 24;

class Arguments : public testing::Test {
  protected:
    Arguments() : session(Open(host.FakeAgent().c_str())) { before = host.Calls(); }
    ~Arguments() override { EXPECT_EQ(before, host.Calls()) << "the agent was asked"; }

    fcoe_status Enumerate(fcoe_session* asked, fcoe_kind kind, std::uint32_t flags, bool withPlace = true) {
        auto* list = reinterpret_cast<fcoe_list*>(this);
        fcoe_char* message = nullptr;
        const fcoe_status status = fcoe_enumerate(asked, kind, nullptr, flags, withPlace ? &list : nullptr, &message);
        if (withPlace) {
            EXPECT_EQ(nullptr, list);
        }
        return Told(status, message);
    }
    fcoe_status EnumerateJson(fcoe_session* asked, fcoe_kind kind, std::uint32_t flags, bool withPlace = true) {
        auto* json = reinterpret_cast<char*>(this);
        fcoe_char* message = nullptr;
        const fcoe_status status =
            fcoe_enumerate_json(asked, kind, nullptr, flags, withPlace ? &json : nullptr, &message);
        if (withPlace) {
            EXPECT_EQ(nullptr, json);
        }
        return Told(status, message);
    }
    // A sentence that the status alone would not tell.
    fcoe_status Told(fcoe_status status, fcoe_char* message) {
        const Message owned(message);
        EXPECT_NE(nullptr, message);
        EXPECT_STRNE(fcoe_status_text(status), message);
        last = TextOf(message);
        return status;
    }

    Host host;
    Session session;
    Stranger stranger;
    std::vector<std::string> before;
    std::wstring last;
};

} // namespace

TEST_F(Arguments, SessionThatIsNone) {
    fcoe_list* list = nullptr;
    fcoe_session* const closed = Open(host.FakeAgent().c_str()).release();
    fcoe_close(closed);
    before = host.Calls();
    for (fcoe_session* none : {static_cast<fcoe_session*>(nullptr), stranger.As<fcoe_session>(), closed}) {
        fcoe_char wwpn[UNITS] = L"20:00:00:00:00:00:00:01";
        EXPECT_EQ(FCOE_BAD_ARGUMENT, Enumerate(none, FCOE_HBAS, 0));
        EXPECT_EQ(FCOE_BAD_ARGUMENT, EnumerateJson(none, FCOE_HBAS, 0));
        EXPECT_EQ(FCOE_BAD_ARGUMENT, fcoe_vport_create(none, FIRST, wwpn, 0, &list, nullptr));
        EXPECT_EQ(FCOE_BAD_ARGUMENT, fcoe_vport_delete(none, FIRST, wwpn, 0, &list, nullptr));
        EXPECT_EQ(FCOE_BAD_ARGUMENT, fcoe_refresh_targets(none, FIRST, nullptr));
        EXPECT_STREQ(L"20:00:00:00:00:00:00:01", wwpn);
        EXPECT_EQ(FCOE_BAD_ARGUMENT, fcoe_generate_wwpn(none, FIRST, wwpn, nullptr));
        EXPECT_STREQ(L"", wwpn) << "it is an output alone";
        fcoe_close(none);
    }
    EXPECT_EQ(FCOE_BAD_ARGUMENT, Enumerate(stranger.As<fcoe_session>(), FCOE_HBAS, 0));
    EXPECT_THAT(last, StartsWith(L"The session is none"));
}

TEST_F(Arguments, KindThatIsNone) {
    for (const fcoe_kind kind : {0u, 8u, 0xFFFFFFFFu}) {
        EXPECT_EQ(FCOE_BAD_ARGUMENT, Enumerate(session.get(), kind, 0));
        EXPECT_THAT(last, StartsWith(L"The kind " + std::to_wstring(kind) + L" is unknown"));
        EXPECT_EQ(FCOE_BAD_ARGUMENT, EnumerateJson(session.get(), kind, 0));
    }
}

TEST_F(Arguments, Flags) {
    for (const std::uint32_t flags : {1u, 0x80000000u}) {
        EXPECT_EQ(FCOE_BAD_ARGUMENT, Enumerate(session.get(), FCOE_HBAS, flags));
        EXPECT_THAT(last, StartsWith(L"There are no flags yet"));
        EXPECT_EQ(FCOE_BAD_ARGUMENT, EnumerateJson(session.get(), FCOE_HBAS, flags));
        fcoe_session* another = session.get();
        EXPECT_EQ(FCOE_BAD_ARGUMENT, fcoe_open(host.FakeAgent().c_str(), flags, &another, nullptr));
        EXPECT_EQ(nullptr, another);
    }
}

TEST_F(Arguments, PlaceForTheResultIsMissing) {
    EXPECT_EQ(FCOE_BAD_ARGUMENT, Enumerate(session.get(), FCOE_HBAS, 0, false));
    EXPECT_THAT(last, testing::HasSubstr(L"the pointer is null"));
    EXPECT_EQ(FCOE_BAD_ARGUMENT, EnumerateJson(session.get(), FCOE_HBAS, 0, false));
    EXPECT_EQ(FCOE_BAD_ARGUMENT, fcoe_open(host.FakeAgent().c_str(), 0, nullptr, nullptr));
    EXPECT_EQ(FCOE_BAD_ARGUMENT, fcoe_generate_wwpn(session.get(), FIRST, nullptr, nullptr));
}

TEST_F(Arguments, AdapterIsMissingWhereOneIsNeeded) {
    for (const fcoe_char* none : {static_cast<const fcoe_char*>(nullptr), L""}) {
        fcoe_char wwpn[UNITS] = L"auto";
        fcoe_list* errors = nullptr;
        EXPECT_EQ(FCOE_BAD_ARGUMENT, fcoe_vport_create(session.get(), none, wwpn, 0, &errors, nullptr));
        EXPECT_EQ(FCOE_BAD_ARGUMENT, fcoe_vport_delete(session.get(), none, wwpn, 0, &errors, nullptr));
        EXPECT_EQ(FCOE_BAD_ARGUMENT, fcoe_generate_wwpn(session.get(), none, wwpn, nullptr));
        EXPECT_EQ(FCOE_BAD_ARGUMENT, fcoe_refresh_targets(session.get(), none, nullptr));
        EXPECT_EQ(nullptr, errors);
    }
}

TEST_F(Arguments, NameOfThePortIsMissingOrNotTerminated) {
    fcoe_char wwpn[UNITS];
    std::fill_n(wwpn, UNITS, L'2');
    EXPECT_EQ(FCOE_BAD_ARGUMENT, fcoe_vport_create(session.get(), FIRST, wwpn, 0, nullptr, nullptr));
    EXPECT_THAT(wwpn, Each(L'2'));
    EXPECT_EQ(FCOE_BAD_ARGUMENT, fcoe_vport_create(session.get(), FIRST, nullptr, 0, nullptr, nullptr));
    EXPECT_EQ(FCOE_BAD_ARGUMENT, fcoe_vport_delete(session.get(), FIRST, nullptr, 0, nullptr, nullptr));
}

TEST_F(Arguments, EmptyNameOfTheAgentsFile) {
    fcoe_session* another = session.get();
    EXPECT_EQ(FCOE_BAD_ARGUMENT, fcoe_open(L"", 0, &another, nullptr));
    EXPECT_EQ(nullptr, another);
}

TEST_F(Arguments, ListThatIsNone) {
    fcoe_list* const none = stranger.As<fcoe_list>();
    for (const fcoe_list* list : {static_cast<const fcoe_list*>(nullptr), static_cast<const fcoe_list*>(none),
                                  reinterpret_cast<const fcoe_list*>(session.get())}) {
        EXPECT_EQ(0u, fcoe_list_count(list));
        EXPECT_EQ(nullptr, fcoe_list_at(list, 0));
    }
    fcoe_list_free(nullptr);
    fcoe_list_free(none);
    fcoe_list_free(reinterpret_cast<fcoe_list*>(session.get()));
    fcoe_close(reinterpret_cast<fcoe_session*>(none));
    fcoe_free(nullptr);
}

TEST(ListsGivenBack, AreNoneAnyMore) {
    Host host;
    const Session session = Open(host.FakeAgent().c_str());
    Result result = Enumerate(session, FCOE_HBAS);
    fcoe_list* const freed = result.list.release();
    fcoe_list_free(freed);
    EXPECT_EQ(0u, fcoe_list_count(freed));
    EXPECT_EQ(nullptr, fcoe_list_at(freed, 0));
    fcoe_list_free(freed);
}

TEST(StatusText, IsASentenceForEveryNumber) {
    std::set<std::wstring> texts;
    for (fcoe_status status = FCOE_UNKNOWN_ADAPTER; status <= FCOE_REFUSED; ++status)
        EXPECT_TRUE(texts.insert(TextOf(fcoe_status_text(status))).second) << status;
    for (const fcoe_status unknown : {-8, 3, 0x7FFFFFFF})
        EXPECT_EQ(L"The status is unknown to this version of the interface.", TextOf(fcoe_status_text(unknown)));
    EXPECT_THAT(texts, Each(testing::EndsWith(L".")));
}

TEST(Version, IsTheHeaders) {
    EXPECT_EQ(std::uint32_t{FCOE_API_VERSION_MAJOR} << 16 | FCOE_API_VERSION_MINOR, fcoe_api_version());
    EXPECT_EQ(0x10000u, fcoe_api_version());
}
