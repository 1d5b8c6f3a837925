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
    if (!m_mutex)
        return;
    const DWORD waited = WaitForSingleObject(m_mutex, VENDOR_WAIT);
    if (waited == WAIT_ABANDONED) // as an agent has it: who died in the library may have left it in any state
        ReleaseMutex(m_mutex);
    m_mine = waited == WAIT_OBJECT_0;
}

VendorTurn::~VendorTurn() {
    if (m_mine)
        ReleaseMutex(m_mutex);
    if (m_mutex)
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
