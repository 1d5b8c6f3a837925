// The simulated namespace root\standardcimv2.
#pragma once

#include "simulator/com/ComObject.h"
#include "simulator/wmi/UnsupportedServices.h"

// Has one class, MSFT_NetQosDcbxSettingData, when the topology says that the operating system has a DCB of its own, and
// no instance of it; without it the query ends in WBEM_E_INVALID_CLASS. The faults of ExecQuery decide the result.
class DcbNamespace final : public ComObject<UnsupportedServices, IWbemServices> {
  public:
    HRESULT STDMETHODCALLTYPE ExecQuery(const BSTR language, const BSTR query, LONG flags, IWbemContext* context,
                                        IEnumWbemClassObject** enumerator) override;
};
