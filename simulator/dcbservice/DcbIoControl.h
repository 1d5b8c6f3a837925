// The DCB service's COM class: answers from the topology.
#pragma once

#include "simulator/com/ComObject.h"
#include "simulator/dcbservice/DcbReservedSlots.h"

// The answers are one client's at a time. A topology that cannot be read answers E_UNEXPECTED, an adapter that it does
// not have ERROR_NOT_FOUND as an HRESULT. A fault that throws ends the process at once, as a crash would.
class DcbIoControl final : public ComObject<DcbReservedSlots, IOrvanDcbIoControl, IDispatch> {
  public:
    HRESULT STDMETHODCALLTYPE get_pfc_oper_state(BSTR adapter, DCB_PFC_STATE* state) override;
    HRESULT STDMETHODCALLTYPE get_app_oper_state(BSTR adapter, LONG application, DCB_APP_STATE* state) override;
    HRESULT STDMETHODCALLTYPE get_dcb_config(BSTR adapter, DCB_CONFIG* config) override;
};

// Takes up a topology file that has changed before it makes an object. The faults of CreateInstance refuse the class.
class DcbClassFactory final : public ComClassFactory<DcbIoControl> {
  public:
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override;
};
