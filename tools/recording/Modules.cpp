#include "tools/recording/Modules.h"

#include "tools/reading/Registry.h"
#include "tools/reading/Text.h"

namespace recording {
namespace {

constexpr wchar_t VENDOR_MUTEX[] = L"Global\\CHBAAPINTMUT";
constexpr DWORD VENDOR_WAIT = 10000; // milliseconds
constexpr wchar_t CORE_AGENT[] = L"CoreAgnt";
constexpr wchar_t SUFFIX[] = L".DLL";

} // namespace

VendorTurn::VendorTurn() : m_mutex(CreateMutexW(nullptr, FALSE, VENDOR_MUTEX)) {
    // One that another account made may allow others no more than to wait for it.
    if (!m_mutex && GetLastError() == ERROR_ACCESS_DENIED)
        m_mutex = OpenMutexW(SYNCHRONIZE, FALSE, VENDOR_MUTEX);
    const DWORD waited = m_mutex ? WaitForSingleObject(m_mutex, VENDOR_WAIT) : WAIT_FAILED;
    if (waited == WAIT_OBJECT_0)
        return;
    // As an agent has it: who died in the library may have left it in any state.
    if (waited == WAIT_ABANDONED)
        ReleaseMutex(m_mutex);
    if (m_mutex)
        CloseHandle(m_mutex);
    throw LibraryBusy();
}

VendorTurn::~VendorTurn() {
    ReleaseMutex(m_mutex);
    CloseHandle(m_mutex);
}

std::wstring CoreAgentFile() {
    const reading::RegistryText registered = reading::RegisteredAgent(CORE_AGENT);
    std::wstring file = registered.Found() ? registered.text : CORE_AGENT;
    if (file.size() < 4 || !reading::EqualIgnoringCase(file.substr(file.size() - 4), SUFFIX))
        file += SUFFIX;
    return file;
}

} // namespace recording
