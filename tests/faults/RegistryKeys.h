// Where the values of the suite are that the agent reads.
#pragma once

constexpr wchar_t SUITE_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2";
constexpr wchar_t FCOE_AGENT_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\FcoeAgnt";
constexpr wchar_t CORE_AGENT_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\CoreAgnt";
constexpr wchar_t DCB_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\DCB";
constexpr wchar_t FEATURES_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\TOLV";
constexpr wchar_t FORCING_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\Debug";
