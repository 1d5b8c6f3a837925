#include "hbaapi/VendorBinding.h"

#include <cstring>
#include <utility>

#include "Common/Src/ModuleFunction.h"
#include "FcoeAgent/QelString.h"

std::shared_ptr<const VendorLibrary> VendorLibrary::Reloaded(std::shared_ptr<const CQelModule> pNewModule) const {
    const bool bSame = pModule && pModule->Get() == pNewModule->Get();
    return std::make_shared<const VendorLibrary>(
        VendorLibrary{std::move(pNewModule), bSame ? entryPoints : HBA_ENTRYPOINTSV2{}});
}

FunctionState VendorBinding::LookUp(const wchar_t* pszName, void*& pFunction) const {
    char szName[ORVAN_NAME_SIZE];
    if (!ConvertTCHARToChar(pszName, szName))
        return FunctionState::NotConverted;
    if (!IsLoaded())
        return FunctionState::Missing;
    pFunction = FindFunction<void*>(pLibrary->pModule->Get(), szName);
    return pFunction ? FunctionState::There : FunctionState::Missing;
}

bool ConvertTCHARToChar(const wchar_t* pszName, char (&szName)[ORVAN_NAME_SIZE]) {
    std::memset(szName, 0, sizeof szName);
    return CQelString::QelWideCharToMultiByte(CP_ACP, 0, pszName, -1, szName, static_cast<int>(sizeof szName), nullptr,
                                              nullptr) >= 1;
}
