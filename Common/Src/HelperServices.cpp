// The service operations of CHelper.
#include "Common/Src/Helper.h"

#include <iterator>

#include "Common/Src/Owner.h"
#include "FcoeAgent/QelDebug.h"

namespace {

struct SuiteService {
    const wchar_t* pszName;
    bool bControllable; // whether the suite may start and stop it
};

// By CHelper::SERVICE_...
constexpr SuiteService SERVICES[] = {{L"OrvanDCB", true}, {L"OFCoEDCB", true}, {L"MSiSCSI", false}};

constexpr int WAIT_PASSES = 51;
constexpr DWORD WAIT_INTERVAL = 500; // milliseconds

bool IsControllable(ULONG ulService) {
    return ulService < std::size(SERVICES) && SERVICES[ulService].bControllable;
}

// A service and the manager it was opened through; closed in reverse order.
class CQelOpenService {
  public:
    CQelOpenService(const wchar_t* pszName, DWORD dwManagerAccess, DWORD dwServiceAccess)
        : m_manager(OpenSCManagerW(nullptr, nullptr, dwManagerAccess)) {
        if (m_manager)
            m_service.Reset(OpenServiceW(m_manager.Get(), pszName, dwServiceAccess));
    }

    explicit operator bool() const { return static_cast<bool>(m_service); }
    SC_HANDLE Get() const { return m_service.Get(); }

    // dwState is untouched when the manager refuses.
    bool QueryState(DWORD& dwState) const {
        SERVICE_STATUS status{};
        if (!QueryServiceStatus(m_service.Get(), &status))
            return false;
        dwState = status.dwCurrentState;
        return true;
    }

  private:
    CQelServiceHandle m_manager;
    CQelServiceHandle m_service;
};

template <class Condition> bool WaitFor(Condition condition) {
    for (int nPass = 0; nPass < WAIT_PASSES; ++nPass) {
        Sleep(WAIT_INTERVAL);
        if (condition())
            return true;
    }
    return false;
}

bool StopService(const CQelOpenService& service) {
    DWORD dwState = 0;
    if (!service.QueryState(dwState))
        return false;
    if (dwState == SERVICE_STOP_PENDING)
        WaitFor([&] { return service.QueryState(dwState) && dwState != SERVICE_STOP_PENDING; });
    if (dwState == SERVICE_STOPPED)
        return true;

    SERVICE_STATUS status{};
    if (!ControlService(service.Get(), SERVICE_CONTROL_STOP, &status)) {
        const DWORD dwError = GetLastError();
        QEL_PRINT(L"ControlService stop failed - %d", dwError);
    }
    // A service that refused the control may still be stopping by itself.
    return WaitFor([&] { return service.QueryState(dwState) && dwState == SERVICE_STOPPED; });
}

} // namespace

BOOL CHelper::IsServiceRunning(ULONG ulService) {
    CQelTracedResult traced(L"CHelper::IsServiceRunning", FALSE);
    if (ulService >= std::size(SERVICES))
        return traced(FALSE);
    const CQelOpenService service(SERVICES[ulService].pszName, GENERIC_READ, GENERIC_READ);
    DWORD dwState = 0;
    return traced(service && service.QueryState(dwState) && dwState == SERVICE_RUNNING);
}

BOOL CHelper::QelStartService(ULONG ulService) {
    CQelTracedResult traced(L"CHelper::QelStartService", FALSE);
    if (!IsControllable(ulService))
        return traced(FALSE);
    const CQelOpenService service(SERVICES[ulService].pszName, SC_MANAGER_ALL_ACCESS, SERVICE_ALL_ACCESS);
    if (!service)
        return traced(FALSE);
    StartServiceW(service.Get(), 0, nullptr);
    // Whatever was started, callers wait for the DCB service: nothing of the suite works before it runs.
    return traced(WaitFor([this] { return IsServiceRunning(SERVICE_DCB) != FALSE; }));
}

BOOL CHelper::QelStopService(ULONG ulService) {
    CQelTracedResult traced(L"CHelper::QelStopService", FALSE);
    if (!IsControllable(ulService))
        return traced(FALSE);
    const CQelOpenService service(SERVICES[ulService].pszName, SC_MANAGER_ALL_ACCESS, SERVICE_ALL_ACCESS);
    return traced(service && StopService(service));
}
