// The adapters' HBA library, as this process has it.
#pragma once

#include <string>
#include <vector>

namespace reading {

inline constexpr wchar_t VENDOR_LIBRARY[] = L"orvanhapi.dll";

// The folders in which this process looks for it, in no order: System32, the program's and those of the host.
[[nodiscard]] std::vector<std::wstring> LibraryFolders(const std::vector<std::wstring>& ofHost);

[[nodiscard]] bool IsLibraryLoaded();
// Of one that is loaded: whether it exports the function.
[[nodiscard]] bool LibraryExports(const std::string& function);
// Why it is not loaded: a sentence that tells where it was looked for, and what is there. folders: of LibraryFolders.
[[nodiscard]] std::string WhyNotLoaded(const std::vector<std::wstring>& folders);
// What to do about it.
inline constexpr char LIBRARY_ADVICE[] =
    "Install the adapter maker's software, or put its orvanhapi.dll into one of these folders.";
inline constexpr char REINSTALL_ADVICE[] = "Reinstall the adapter maker's software.";

// Of a port name that the agent was asked for and did not get.
inline constexpr char NOT_GENERATED[] = "The adapter's HBA library generated no WWPN.";
// Of a rescan that the agent says failed.
inline constexpr char NOT_RESCANNED[] = "The adapter's HBA library did not rescan the targets.";
// Why one that the agent says was done was none, a sentence: it says so, too, when there is nothing that could. Empty:
// it was one.
[[nodiscard]] std::string WhyNothingRescanned();

} // namespace reading
