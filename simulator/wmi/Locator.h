// The simulated WMI locator.
#pragma once

#include <windows.h>

#include <wbemcli.h>

#include "simulator/com/ComObject.h"

// Connects to the simulated namespace root\standardcimv2; every other one is the system's own WMI's.
class Locator final : public ComObject<IWbemLocator, IWbemLocator> {
  public:
    HRESULT STDMETHODCALLTYPE ConnectServer(const BSTR resource, const BSTR user, const BSTR password,
                                            const BSTR locale, LONG flags, const BSTR authority, IWbemContext* context,
                                            IWbemServices** services) override;
};
