// What a native build leaves out of the product - COM, the suite's registry keys, the run time's handler for invalid
// parameters - and what answers in its place.
struct IOrvanDcbIoControl {
    void Release() {}
};

#include "Common/Src/DCXServiceInterface.h"
#include "Common/Src/Helper.h"
#include "Common/Src/InvalidParameterHandler.h"
#include "tests/fuzz/DrawnLibrary.h"
#include "tests/fuzz/native/Neighbours.h"

// --- The handler: the copies of a native build answer without one

CQelInvalidParameterHandler::CQelInvalidParameterHandler() = default;

CQelInvalidParameterHandler::~CQelInvalidParameterHandler() = default;

// --- CHelper: loads the vendor library; no support setting is there

BOOL CHelper::IsDcbInstalled() {
    return FALSE;
}

BOOL CHelper::IsFcoeInstalled() {
    return FALSE;
}

BOOL CHelper::IsIscsiInstalled() {
    return FALSE;
}

HMODULE CHelper::PwLoadLibrary(const CQelString&) {
    return native::LoadVendorLibrary();
}

BOOL CHelper::IsSettingDebugable(const CQelString&, ULONG&) {
    return FALSE;
}

// --- The client of the DCB service: any state

CDCX_ServiceInterface::CMembership::~CMembership() = default;

CDCX_ServiceInterface::CDCX_ServiceInterface(const CQelString& strAdapter, BOOL bFcoeCheck) : m_strAdapter(strAdapter) {
    Initialize(bFcoeCheck);
}

CDCX_ServiceInterface::~CDCX_ServiceInterface() = default;

BOOL CDCX_ServiceInterface::Initialize(BOOL) {
    m_byServiceCreated = DrawnLibrary::Current().DrawByte() & 1;
    return m_byServiceCreated;
}

void CDCX_ServiceInterface::GetDCB_FcoeLinkStatus(QEL_RESULT& result, BYTE& byDcbEnabled, ULONG& ulLinkStatus) {
    result = {DrawnLibrary::Current().DrawNumber(), 0xFFFFFFFF};
    byDcbEnabled = DrawnLibrary::Current().DrawByte() & 1;
    ulLinkStatus = DrawnLibrary::Current().DrawNumber() * 2 + DrawnLibrary::Current().DrawByte() % 2;
}
