#include "tests/capi/CSession.h"

#include <algorithm>

#include <gtest/gtest.h>

namespace {

constexpr std::size_t UNITS = 24;
// What must not stay.
constexpr std::uintptr_t PLANTED = 0x5A5A;

template <class Pointer> Pointer Planted() {
    return reinterpret_cast<Pointer>(PLANTED);
}

// Takes the message over; there is one unless all went well.
std::wstring Taken(fcoe_status status, fcoe_char* message) {
    EXPECT_EQ(status == FCOE_OK, message == nullptr) << status;
    const Message owned(message);
    const std::wstring text = message ? message : L"";
    EXPECT_EQ(status == FCOE_OK, text.empty()) << status;
    return text;
}

Result Filled(fcoe_status status, fcoe_list* list, fcoe_char* message, bool hasList) {
    Result result;
    result.status = status;
    EXPECT_EQ(hasList, list != nullptr) << status;
    result.list.reset(list);
    result.message = Taken(status, message);
    result.count = fcoe_list_count(list);
    return result;
}

bool IsAnswer(fcoe_status status) {
    return status == FCOE_OK || status == FCOE_INCOMPLETE;
}

} // namespace

std::wstring TextOf(const fcoe_char* text) {
    return text ? text : L"(null)";
}

fcoe_status TryOpen(const wchar_t* file, std::wstring& message) {
    auto* session = Planted<fcoe_session*>();
    auto* told = Planted<fcoe_char*>();
    const fcoe_status status = fcoe_open(file, 0, &session, &told);
    const Session owned(session);
    EXPECT_EQ(status == FCOE_OK, session != nullptr);
    message = Taken(status, told);
    return status;
}

Session Open(const wchar_t* file) {
    fcoe_session* session = nullptr;
    fcoe_char* message = nullptr;
    EXPECT_EQ(FCOE_OK, fcoe_open(file, 0, &session, &message)) << testing::PrintToString(TextOf(message));
    fcoe_free(message);
    return Session(session);
}

Result Enumerate(const Session& session, fcoe_kind kind, const wchar_t* adapter) {
    auto* list = Planted<fcoe_list*>();
    auto* message = Planted<fcoe_char*>();
    const fcoe_status status = fcoe_enumerate(session.get(), kind, adapter, 0, &list, &message);
    return Filled(status, list, message, IsAnswer(status));
}

Result EnumerateJson(const Session& session, fcoe_kind kind, const wchar_t* adapter) {
    auto* json = Planted<char*>();
    auto* message = Planted<fcoe_char*>();
    const fcoe_status status = fcoe_enumerate_json(session.get(), kind, adapter, 0, &json, &message);
    Result result;
    result.status = status;
    EXPECT_EQ(IsAnswer(status), json != nullptr) << status;
    if (json)
        result.json = json;
    fcoe_free(json);
    result.message = Taken(status, message);
    return result;
}

Result Create(const Session& session, const wchar_t* adapter, std::wstring& wwpn, std::uint32_t owner) {
    fcoe_char name[UNITS] = {};
    std::copy_n(wwpn.begin(), std::min(wwpn.size(), UNITS - 1), name);
    auto* errors = Planted<fcoe_list*>();
    auto* message = Planted<fcoe_char*>();
    const fcoe_status status = fcoe_vport_create(session.get(), adapter, name, owner, &errors, &message);
    wwpn = name;
    return Filled(status, errors, message, status == FCOE_REFUSED);
}

Result Delete(const Session& session, const wchar_t* adapter, const std::wstring& wwpn, std::uint32_t owner) {
    auto* errors = Planted<fcoe_list*>();
    auto* message = Planted<fcoe_char*>();
    const fcoe_status status = fcoe_vport_delete(session.get(), adapter, wwpn.c_str(), owner, &errors, &message);
    return Filled(status, errors, message, status == FCOE_REFUSED);
}

Result Generate(const Session& session, const wchar_t* adapter, std::wstring& wwpn) {
    fcoe_char name[UNITS] = {L'x'};
    auto* message = Planted<fcoe_char*>();
    const fcoe_status status = fcoe_generate_wwpn(session.get(), adapter, name, &message);
    wwpn = name;
    EXPECT_EQ(status != FCOE_OK, wwpn.empty());
    return Filled(status, nullptr, message, false);
}

Result Refresh(const Session& session, const wchar_t* adapter) {
    auto* message = Planted<fcoe_char*>();
    const fcoe_status status = fcoe_refresh_targets(session.get(), adapter, &message);
    return Filled(status, nullptr, message, false);
}
