// What the DCB service is asked.
#include <memory>

#include <windows.h>

#include "FcoeAgent/OrvanDcb.h"
#include "tools/reading/Apartment.h"
#include "tools/reading/Text.h"
#include "tools/recording/Questions.h"

namespace recording {
namespace {

constexpr wchar_t SERVICE[] = L"OrvanDCB";
constexpr wchar_t CLASS[] = L"OrvanDCB.IoControl.1";
constexpr LONG APPLICATION_FCOE = 0;

struct CloseService {
    using pointer = SC_HANDLE;
    void operator()(SC_HANDLE handle) const { CloseServiceHandle(handle); }
};
using Service = std::unique_ptr<SC_HANDLE, CloseService>;

struct Release {
    void operator()(IOrvanDcbIoControl* object) const { object->Release(); }
};

bool IsRunning() {
    const Service manager(OpenSCManagerW(nullptr, nullptr, GENERIC_READ));
    const Service service(manager ? OpenServiceW(manager.get(), SERVICE, GENERIC_READ) : nullptr);
    SERVICE_STATUS status{};
    return service && QueryServiceStatus(service.get(), &status) && status.dwCurrentState == SERVICE_RUNNING;
}

HRESULT Connect(std::unique_ptr<IOrvanDcbIoControl, Release>& object) {
    if (!IsRunning()) // to ask for its class would start it
        return HRESULT_FROM_WIN32(ERROR_SERVICE_NOT_ACTIVE);
    CLSID id{};
    HRESULT result = CLSIDFromProgID(CLASS, &id);
    IOrvanDcbIoControl* made = nullptr;
    if (SUCCEEDED(result))
        result = CoCreateInstance(id, nullptr, CLSCTX_LOCAL_SERVER, __uuidof(IOrvanDcbIoControl),
                                  reinterpret_cast<void**>(&made));
    object.reset(made);
    return result;
}

template <class State> void Take(Reply& reply, HRESULT result, const State& state) {
    reply.status = static_cast<std::uint32_t>(result);
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&state);
    reply.data.assign(bytes, bytes + sizeof state);
}

} // namespace

void AskDcb(Session& session, const std::string& adapter) {
    const reading::Apartment apartment;
    std::unique_ptr<IOrvanDcbIoControl, Release> service;
    session.Ask({.function = "CreateInstance"},
                [&](Reply& reply) { reply.status = static_cast<std::uint32_t>(Connect(service)); });
    if (!service)
        return;
    const std::wstring wide = reading::FromUtf8(adapter);
    const std::unique_ptr<OLECHAR, decltype(&SysFreeString)> name(
        SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size())), SysFreeString);
    session.Ask({.function = "get_dcb_config", .adapter = adapter}, [&](Reply& reply) {
        DCB_CONFIG state{};
        Take(reply, service->get_dcb_config(name.get(), &state), state);
    });
    session.Ask({.function = "get_app_oper_state", .adapter = adapter}, [&](Reply& reply) {
        DCB_APP_STATE state{};
        Take(reply, service->get_app_oper_state(name.get(), APPLICATION_FCOE, &state), state);
    });
    session.Ask({.function = "get_pfc_oper_state", .adapter = adapter}, [&](Reply& reply) {
        DCB_PFC_STATE state{};
        Take(reply, service->get_pfc_oper_state(name.get(), &state), state);
    });
}

} // namespace recording
