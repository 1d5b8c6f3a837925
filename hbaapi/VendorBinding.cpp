#include "hbaapi/VendorBinding.h"

#include <cstring>
#include <utility>

#include "FcoeAgent/QelString.h"

void CVendorBinding::SetModule(std::shared_ptr<const CQelModule> pModule) {
    if (!m_pModule || !pModule || m_pModule->Get() != pModule->Get())
        m_entryPoints = {};
    m_pModule = std::move(pModule);
}

void CVendorBinding::SetEntryPoints(const std::shared_ptr<const CQelModule>& pModule,
                                    const HBA_ENTRYPOINTSV2& entryPoints) {
    if (m_pModule != pModule)
        return;
    m_entryPoints = entryPoints;
    m_bEntryPtsInited = TRUE;
}

void CVendorBinding::ClearVersion1() {
    std::memset(&m_entryPoints, 0, offsetof(HBA_ENTRYPOINTSV2, OpenAdapterByWWNHandler));
}

FunctionState CVendorBinding::FindFunction(const wchar_t* pszName, void*& pFunction) const {
    char szName[ORVAN_NAME_SIZE];
    if (!ConvertTCHARToChar(pszName, szName))
        return FunctionState::NotConverted;
    if (IsLoaded())
        pFunction = reinterpret_cast<void*>(GetProcAddress(m_pModule->Get(), szName));
    return pFunction ? FunctionState::There : FunctionState::Missing;
}

bool ConvertTCHARToChar(const wchar_t* pszName, char (&szName)[ORVAN_NAME_SIZE]) {
    std::memset(szName, 0, sizeof szName);
    return CQelString::QelWideCharToMultiByte(CP_ACP, 0, pszName, -1, szName, static_cast<int>(sizeof szName), nullptr,
                                              nullptr) >= 1;
}
