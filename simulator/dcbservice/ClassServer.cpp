#include "simulator/dcbservice/ClassServer.h"

#include <cstdlib>

#include "simulator/dcbservice/DcbIoControl.h"
#include "simulator/dcbservice/ServiceHost.h"

namespace {

constexpr UINT EXIT_CRASHED = 3;

}

ClassServer::ClassServer(void (*onIdle)())
    : m_result(CoInitializeEx(nullptr, COINIT_MULTITHREADED)), m_comInitialized(SUCCEEDED(m_result)) {
    if (m_comInitialized)
        m_result = Offer(onIdle);
}

HRESULT ClassServer::Offer(void (*onIdle)()) {
    auto* const factory = new DcbClassFactory;
    ComObjectCount::Remove(); // the server's own objects keep nobody busy
    HRESULT result = Keep();
    ComObjectCount::OnLast(onIdle);
    if (SUCCEEDED(result)) {
        DWORD registration = 0;
        result = CoRegisterClassObject(__uuidof(OrvanDcbIoControl), factory, CLSCTX_LOCAL_SERVER, REGCLS_MULTIPLEUSE,
                                       &registration);
        s_registration = registration;
    }
    factory->Release();
    return result;
}

// One object stays marshalled for as long as the class is on offer. Wine takes an interface back when its last object
// goes, and waits for the calls of it that are under way: for ever, when a client makes one beside that release.
HRESULT ClassServer::Keep() {
    CQelComPointer<IOrvanDcbIoControl> object;
    object.Reset(new DcbIoControl);
    HRESULT result = CreateStreamOnHGlobal(nullptr, TRUE, m_kept.Put());
    if (SUCCEEDED(result))
        result = CoMarshalInterface(m_kept.Get(), __uuidof(IOrvanDcbIoControl), object.Get(), MSHCTX_LOCAL, nullptr,
                                    MSHLFLAGS_TABLESTRONG);
    if (SUCCEEDED(result))
        ComObjectCount::Remove();
    else
        m_kept.Reset();
    return result;
}

ClassServer::~ClassServer() {
    ComObjectCount::OnLast(nullptr);
    ComObjectCount::Add(); // given back by the factory's end
    if (SUCCEEDED(m_result))
        CoRevokeClassObject(s_registration);
    if (m_kept) {
        ComObjectCount::Add(); // given back by the end of the kept object
        m_kept.Get()->Seek({}, STREAM_SEEK_SET, nullptr);
        CoReleaseMarshalData(m_kept.Get());
        m_kept.Reset();
    }
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
