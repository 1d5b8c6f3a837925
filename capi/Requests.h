// What the functions of the interface ask of the agent. Each throws Ended, and what the agent throws.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "capi/Lists.h"
#include "capi/Outcome.h"
#include "capi/Session.h"

namespace capi {

// An enumeration: as a list or, where that is asked for, as JSON. adapter: null or empty for all.
struct Answer {
    Outcome outcome;
    std::unique_ptr<List> list;
    std::string json;
};
enum class Form { List, Json };
[[nodiscard]] Answer Enumerate(SharedAgent& shared, fcoe_kind kind, const fcoe_char* adapter, Form form);

// A change of virtual ports. adapter: one.
struct Change {
    Outcome outcome;
    std::unique_ptr<List> errors; // when it was refused
    CQelString wwpn;
};
[[nodiscard]] Change CreateVPort(SharedAgent& shared, const fcoe_char* adapter, const std::wstring& wwpn,
                                 std::uint32_t lockOwner);
[[nodiscard]] Change DeleteVPort(SharedAgent& shared, const fcoe_char* adapter, const std::wstring& wwpn,
                                 std::uint32_t lockOwner);
[[nodiscard]] Change GenerateWwpn(SharedAgent& shared, const fcoe_char* adapter);
[[nodiscard]] Outcome RefreshTargets(SharedAgent& shared, const fcoe_char* adapter);

} // namespace capi
