#include "simulator/dcbservice/ClassServer.h"

#include <cstdlib>

#include "simulator/dcbservice/DcbIoControl.h"
#include "simulator/dcbservice/ServiceHost.h"

namespace {

constexpr UINT EXIT_CRASHED = 3;

}

ClassServer::ClassServer(void (*onIdle)())
    : m_result(CoInitializeEx(nullptr, COINIT_MULTITHREADED)), m_comInitialized(SUCCEEDED(m_result)) {
    if (!m_comInitialized)
        return;
    auto* const factory = new DcbClassFactory;
    ComObjectCount::Remove(); // the server's own object keeps nobody busy
    ComObjectCount::OnLast(onIdle);
    DWORD registration = 0;
    m_result = CoRegisterClassObject(__uuidof(OrvanDcbIoControl), factory, CLSCTX_LOCAL_SERVER, REGCLS_MULTIPLEUSE,
                                     &registration);
    s_registration = registration;
    factory->Release();
}

ClassServer::~ClassServer() {
    ComObjectCount::OnLast(nullptr);
    ComObjectCount::Add(); // given back by the factory's end
    if (SUCCEEDED(m_result))
        CoRevokeClassObject(s_registration);
    if (m_comInitialized)
        CoUninitialize();
}

void ClassServer::Crash() {
    // The system does these two for a process that died. Wine's does neither, and would go on sending clients here.
    CoRevokeClassObject(s_registration);
    ReportAbortedService();
    TerminateProcess(GetCurrentProcess(), EXIT_CRASHED);
    std::abort();
}
