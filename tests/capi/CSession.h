// The C interface with its pointers given back.
#pragma once

#include <memory>
#include <string>

#include "FcoeAgent/fcoe_agent.h"

// A message or a text of a record; null as "(null)".
std::wstring TextOf(const fcoe_char* text);

struct Free {
    void operator()(void* block) const { fcoe_free(block); }
    void operator()(fcoe_list* list) const { fcoe_list_free(list); }
    void operator()(fcoe_session* session) const { fcoe_close(session); }
};
using List = std::unique_ptr<fcoe_list, Free>;
using Session = std::unique_ptr<fcoe_session, Free>;
using Message = std::unique_ptr<fcoe_char, Free>;

template <class Record> const Record* At(const List& list, std::uint32_t index = 0) {
    return static_cast<const Record*>(fcoe_list_at(list.get(), index));
}

struct Result {
    fcoe_status status = FCOE_FAILED;
    List list;
    std::wstring message; // "" for null
    std::string json;
    std::uint32_t count = 0;
};

// Of a file, null: the registered one; fails the test when there is none.
Session Open(const wchar_t* file = nullptr);
// The same; what became of it.
fcoe_status TryOpen(const wchar_t* file, std::wstring& message);

// Each checks that the outputs are what the status says.
Result Enumerate(const Session& session, fcoe_kind kind, const wchar_t* adapter = nullptr);
Result EnumerateJson(const Session& session, fcoe_kind kind, const wchar_t* adapter = nullptr);
// wwpn: in and out.
Result Create(const Session& session, const wchar_t* adapter, std::wstring& wwpn, std::uint32_t owner = 5);
Result Delete(const Session& session, const wchar_t* adapter, const std::wstring& wwpn, std::uint32_t owner = 5);
Result Generate(const Session& session, const wchar_t* adapter, std::wstring& wwpn);
Result Refresh(const Session& session, const wchar_t* adapter);

inline constexpr fcoe_kind KINDS[] = {FCOE_HBAS, FCOE_FABRICS, FCOE_PORTS,     FCOE_TARGETS,
                                      FCOE_LUNS, FCOE_VLANS,   FCOE_STATISTICS};
// The adapter of the tests' topology that has everything, and the other one.
inline constexpr wchar_t FIRST[] = L"{11111111-2222-4333-8444-555555555501}";
inline constexpr wchar_t SECOND[] = L"{11111111-2222-4333-8444-555555555502}";
inline constexpr wchar_t NOBODY[] = L"{99999999-2222-4333-8444-555555555599}";
