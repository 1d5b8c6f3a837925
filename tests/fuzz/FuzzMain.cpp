// One input: an adapter of a vendor library that answers as the input says.
#include "tests/fuzz/Fuzz.h"

#include "FcoeAgent/QelDebug.h"
#include "tests/fuzz/native/Neighbours.h"

// A request that no machine could meet is refused instead of ending the program: what the product does then is part of
// what is tested.
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1:max_allocation_size_mb=64";
}

ORVAN_FC_PORT UsualPort(unsigned uNumber, HBA_UINT8 byType) {
    ORVAN_FC_PORT port{};
    port.PortWWN = UsualWwn(uNumber);
    port.PortType = byType;
    return port;
}

ORVAN_TARGET_ENTRY UsualTarget(unsigned uNumber, const ORVAN_FC_PORT& port) {
    ORVAN_TARGET_ENTRY target{};
    target.PortWWN = UsualWwn(uNumber);
    target.InitiatorPortWWN = port.PortWWN;
    target.InitiatorPortType = port.PortType;
    return target;
}

HBA_FCPSCSIENTRY UsualUnit(HBA_UINT64 ullLun, const ORVAN_TARGET_ENTRY& target) {
    HBA_FCPSCSIENTRY unit{};
    unit.ScsiId.ScsiOSLun = static_cast<HBA_UINT32>(ullLun);
    unit.FcpId.PortWWN = target.PortWWN;
    unit.FcpId.FcpLun = ullLun;
    return unit;
}

// Every message is formatted in some of the inputs; none is kept.
static void SwitchLog(bool bOn) {
    static bool bIsOn = false;
    if (bOn == bIsOn)
        return;
    CQelDebug::Instance().Configure(L"PwSetup", L"log", bOn ? 3 : 0, 0, 0);
    FUZZ_CHECK(CQelDebug::Instance().IsPrinting() == bOn);
    bIsOn = bOn;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pbyData, std::size_t nSize) {
    FuzzedDataProvider input(pbyData, nSize);
    SwitchLog(input.ConsumeIntegral<std::uint8_t>() >= 0xE0);
    native::SetCodePage(input.ConsumeBool() ? 65001 : 1252);
    native::SetTickCount(input.ConsumeIntegral<DWORD>());
    {
        DrawnLibrary library(input, FUZZED_FAMILIES);
        CHBAAPIInt access;
        CQelFcoeHBA hba(&access, L"{12345678-1234-1234-1234-123456789ABC}", L"second");
        Fuzz(library, access, hba);
    }
    FUZZ_CHECK(native::OpenHandles() == 0);
    return 0;
}
