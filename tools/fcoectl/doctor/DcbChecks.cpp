// The DCB service, its class and what carries its calls.
#include <windows.h>

#include <fmt/format.h>

#include "FcoeAgent/OrvanDcb.h"
#include "tools/fcoectl/Text.h"
#include "tools/fcoectl/doctor/Checks.h"
#include "tools/reading/Apartment.h"

namespace fcoectl {
namespace {

constexpr wchar_t CLASS[] = L"OrvanDCB.IoControl.1";
constexpr char NO_LINK_STATE[] = "The link state of online ports cannot be read.";
constexpr char REINSTALL_SERVICE[] = "Install the suite's DCB service anew.";

} // namespace

// With the rights that the agent asks for.
void CheckDcbService(Examination& examination) {
    const SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, GENERIC_READ);
    if (!manager)
        return examination.Fail(fmt::format("This account may not ask the service manager: {} {}",
                                            SystemMessage(GetLastError()), NO_LINK_STATE),
                                "Run the agent's hosts under accounts that may.");
    const SC_HANDLE service = OpenServiceW(manager, DCB_SERVICE, GENERIC_READ);
    SERVICE_STATUS status{};
    const bool asked = service && QueryServiceStatus(service, &status);
    const DWORD error = GetLastError();
    if (service)
        CloseServiceHandle(service);
    CloseServiceHandle(manager);
    if (!service && error == ERROR_SERVICE_DOES_NOT_EXIST)
        examination.Fail(fmt::format("There is no service {}. {}", ToUtf8(DCB_SERVICE), NO_LINK_STATE),
                         REINSTALL_SERVICE);
    else if (!asked)
        examination.Fail(fmt::format("The service {} cannot be asked: {} {}", ToUtf8(DCB_SERVICE), SystemMessage(error),
                                     NO_LINK_STATE),
                         "Run the agent's hosts under accounts that may.");
    else if (status.dwCurrentState != SERVICE_RUNNING)
        examination.Fail(fmt::format("The service {} does not run. {}", ToUtf8(DCB_SERVICE), NO_LINK_STATE),
                         "Start it: 'sc start OrvanDCB'.");
    else
        examination.Ok(fmt::format("The service {} runs.", ToUtf8(DCB_SERVICE)));
}

void CheckDcbClass(Examination& examination) {
    const reading::Apartment apartment;
    CLSID id{};
    if (FAILED(CLSIDFromProgID(CLASS, &id)))
        return examination.Fail(fmt::format("The class {} is not registered. {}", ToUtf8(CLASS), NO_LINK_STATE),
                                REINSTALL_SERVICE);
    IOrvanDcbIoControl* service = nullptr;
    const HRESULT result = CoCreateInstance(id, nullptr, CLSCTX_LOCAL_SERVER, __uuidof(IOrvanDcbIoControl),
                                            reinterpret_cast<void**>(&service));
    if (SUCCEEDED(result)) {
        service->Release();
        return examination.Ok("The service's class and its proxy answer.");
    }
    const std::string text = fmt::format("The service's class {} does not answer: 0x{:08X}. {}", ToUtf8(CLASS),
                                         static_cast<unsigned long>(result), NO_LINK_STATE);
    if (result == E_ACCESSDENIED)
        examination.Fail(text, "The service does not admit this account; run the host under another one.");
    else if (result == E_NOINTERFACE || result == REGDB_E_IIDNOTREG)
        examination.Fail(text, "The interface's proxy is not registered; install the DCB service anew.");
    else
        examination.Fail(text, REINSTALL_SERVICE);
}

} // namespace fcoectl
