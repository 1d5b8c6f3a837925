// The SNIA handlers that the simulated library implements; the other handlers of the table answer "not supported".
#pragma once

#include "FcoeAgent/HbaApi.h"

namespace orvanhapi {

extern "C" {
HBA_UINT32 GetVersionHandler(void);
HBA_STATUS LoadLibraryHandler(void);
HBA_STATUS FreeLibraryHandler(void);
HBA_UINT32 GetNumberOfAdapters(void);
HBA_STATUS GetAdapterName(HBA_UINT32 index, char* name); // name: 256 bytes
HBA_HANDLE OpenAdapter(char* name);
void CloseAdapter(HBA_HANDLE handle);
HBA_STATUS GetAdapterAttributes(HBA_HANDLE handle, HBA_ADAPTERATTRIBUTES* attributes);
HBA_STATUS GetAdapterPortAttributes(HBA_HANDLE handle, HBA_UINT32 port, HBA_PORTATTRIBUTES* attributes);
HBA_STATUS GetPortStatistics(HBA_HANDLE handle, HBA_UINT32 port, HBA_PORTSTATISTICS* statistics);
HBA_STATUS GetFcpTargetMapping(HBA_HANDLE handle, HBA_FCPTARGETMAPPING* mapping);
HBA_STATUS ScsiInquiry(HBA_HANDLE handle, HBA_WWN port, HBA_UINT64 lun, HBA_UINT8 evpd, HBA_UINT32 page, void* rsp,
                       HBA_UINT32 rspSize, void* sense, HBA_UINT32 senseSize);
HBA_STATUS ScsiReadCapacityV2(HBA_HANDLE handle, HBA_WWN hbaPort, HBA_WWN target, HBA_UINT64 lun, void* rsp,
                              HBA_UINT32* rspSize, HBA_UINT8* scsiStatus, void* sense, HBA_UINT32* senseSize);
}

} // namespace orvanhapi
