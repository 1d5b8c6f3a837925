#include "tests/simulator/Moving.h"

#include <atomic>

namespace {

std::atomic<ULONGLONG> g_ticks{5000000};

ULONGLONG WINAPI Ticks() {
    return g_ticks;
}

std::string Step(const std::string& when, const std::string& operations) {
    return "{" + when + R"(, "patch": [)" + operations + "]}";
}

} // namespace

std::string MovingAdapter(const std::string& steps, const std::string& more, const std::string& faults) {
    return R"({"adapters": [{"identifier": "{11111111-2222-4333-8444-555555555501}", "mac": "02:05:7C:00:00:01",
        "port": {"node_wwn": "10:00:02:05:7C:00:00:01", "port_wwn": "20:00:02:05:7C:00:00:01", "fc_id": "0x010200", "state": 2},
        "targets": [{"port_wwn": "50:06:02:6B:00:00:00:01", "luns": [{"blocks": 2048}]}], "vlans": [{"id": 1}])" +
           more + "}], \"faults\": [" + faults + "], \"timeline\": [" + steps + "]}";
}

std::string AfterCalls(unsigned calls, const std::string& operations, const std::string& which) {
    return Step("\"after_calls\": " + std::to_string(calls) + which, operations);
}

std::string AfterSeconds(const char* seconds, const std::string& operations) {
    return Step(std::string("\"after_seconds\": ") + seconds, operations);
}

std::string Replace(const char* path, const std::string& value) {
    return std::string(R"({"op": "replace", "path": ")") + path + R"(", "value": )" + value + "}";
}

std::string Add(const char* path, const std::string& value) {
    return std::string(R"({"op": "add", "path": ")") + path + R"(", "value": )" + value + "}";
}

MovedTicks::MovedTicks(HMODULE module)
    : m_patch(module, "KERNEL32.dll", "GetTickCount64", reinterpret_cast<void*>(&Ticks)) {}

void MovedTicks::Advance(ULONGLONG milliseconds) {
    g_ticks += milliseconds;
}
