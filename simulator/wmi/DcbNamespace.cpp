#include "simulator/wmi/DcbNamespace.h"

#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "simulator/control/Call.h"
#include "simulator/topology/Text.h"

namespace {

// The instances of a class that has none.
class NoInstances final : public ComObject<IEnumWbemClassObject, IEnumWbemClassObject> {
  public:
    HRESULT STDMETHODCALLTYPE Reset() override { return WBEM_S_NO_ERROR; }
    HRESULT STDMETHODCALLTYPE Next(LONG, ULONG, IWbemClassObject** objects, ULONG* returned) override {
        if (!objects || !returned)
            return WBEM_E_INVALID_PARAMETER;
        *returned = 0;
        return WBEM_S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE NextAsync(ULONG, IWbemObjectSink*) override { return WBEM_E_NOT_SUPPORTED; }
    HRESULT STDMETHODCALLTYPE Clone(IEnumWbemClassObject** copy) override {
        if (!copy)
            return WBEM_E_INVALID_PARAMETER;
        *copy = new (std::nothrow) NoInstances;
        return *copy ? WBEM_S_NO_ERROR : WBEM_E_OUT_OF_MEMORY;
    }
    HRESULT STDMETHODCALLTYPE Skip(LONG, ULONG) override { return WBEM_S_FALSE; }
};

std::vector<std::wstring> Words(const wchar_t* text) {
    std::wistringstream stream(text);
    std::vector<std::wstring> words;
    for (std::wstring word; stream >> word;)
        words.push_back(word);
    return words;
}

// What the system's own WMI would say to the query, given whether it has the class.
HRESULT Judge(const wchar_t* language, const wchar_t* query, bool osDcb) {
    if (!sim::EqualNoCase(language, L"WQL"))
        return WBEM_E_INVALID_QUERY_TYPE;
    const auto words = Words(query);
    if (words.size() < 4 || !sim::EqualNoCase(words[0], L"SELECT") || !sim::EqualNoCase(words[2], L"FROM"))
        return WBEM_E_INVALID_QUERY;
    return osDcb && sim::EqualNoCase(words[3], L"MSFT_NetQosDcbxSettingData") ? WBEM_S_NO_ERROR : WBEM_E_INVALID_CLASS;
}

} // namespace

HRESULT DcbNamespace::ExecQuery(const BSTR language, const BSTR query, LONG, IWbemContext*,
                                IEnumWbemClassObject** enumerator) {
    if (!language || !query || !enumerator)
        return WBEM_E_INVALID_PARAMETER;
    *enumerator = nullptr;
    try {
        sim::Call call("ExecQuery");
        const auto status = call.Status();
        const HRESULT result = status                        ? static_cast<HRESULT>(*status)
                               : !call.Scene().error.empty() ? static_cast<HRESULT>(WBEM_E_PROVIDER_FAILURE)
                                                             : Judge(language, query, call.Scene().topology.osDcb);
        call.Done(static_cast<std::uint32_t>(result));
        if (FAILED(result))
            return result;
        *enumerator = new (std::nothrow) NoInstances;
        return *enumerator ? result : static_cast<HRESULT>(WBEM_E_OUT_OF_MEMORY);
    } catch (const std::runtime_error&) {
        return WBEM_E_PROVIDER_FAILURE; // no exception leaves a COM object
    }
}
