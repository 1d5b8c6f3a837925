#include "simulator/dcbservice/ClassServer.h"

#include <objidl.h>

#include "Common/Src/ComOwner.h"
#include "simulator/dcbservice/Crash.h"
#include "simulator/dcbservice/DcbIoControl.h"
#include "simulator/dcbservice/LocalPermission.h"

namespace {

// Without it COM admits the service's own account, the system and administrators.
HRESULT AdmitLocalUsers() {
    LocalPermission permission(COM_RIGHTS_EXECUTE | COM_RIGHTS_EXECUTE_LOCAL);
    if (!permission.Descriptor())
        return HRESULT_FROM_WIN32(GetLastError());
    return CoInitializeSecurity(permission.Descriptor(), -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_CONNECT,
                                RPC_C_IMP_LEVEL_IDENTIFY, nullptr, EOAC_NONE, nullptr);
}

// Has the interface stay marshalled until the process ends. Wine takes an interface back when the last object that
// clients have of it goes, waits for the calls of it that are under way, and may miss that one has just ended: it then
// waits for ever.
HRESULT Keep(IUnknown* object, REFIID iid) {
    CQelComPointer<IStream> stream;
    HRESULT result = CreateStreamOnHGlobal(nullptr, TRUE, stream.Put());
    if (SUCCEEDED(result))
        result = CoMarshalInterface(stream.Get(), iid, object, MSHCTX_LOCAL, nullptr, MSHLFLAGS_TABLESTRONG);
    return result;
}

} // namespace

ClassServer::ClassServer(void (*onIdle)()) : m_result(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {
    if (SUCCEEDED(m_result))
        m_result = AdmitLocalUsers();
    if (SUCCEEDED(m_result))
        m_result = Offer(onIdle);
}

HRESULT ClassServer::Offer(void (*onIdle)()) {
    CQelComPointer<IClassFactory> factory(new DcbClassFactory);
    CQelComPointer<IOrvanDcbIoControl> object(new DcbIoControl);
    HRESULT result = Keep(factory.Get(), __uuidof(IClassFactory));
    if (SUCCEEDED(result))
        result = Keep(object.Get(), __uuidof(IOrvanDcbIoControl));
    // The server's own objects keep nobody busy.
    ComObjectCount::Remove();
    ComObjectCount::Remove();
    ComObjectCount::OnLast(onIdle);
    if (SUCCEEDED(result)) {
        // Clients would still be sent here.
        AtCrash([] { CoRevokeClassObject(s_registration); });
        DWORD registration = 0;
        result = CoRegisterClassObject(__uuidof(OrvanDcbIoControl), factory.Get(), CLSCTX_LOCAL_SERVER,
                                       REGCLS_MULTIPLEUSE, &registration);
        s_registration = registration;
    }
    return result;
}

// COM itself is left to the end of the process, which is next: its own end would wait for calls in the same way.
ClassServer::~ClassServer() {
    ComObjectCount::OnLast(nullptr);
    if (SUCCEEDED(m_result))
        CoRevokeClassObject(s_registration);
}
