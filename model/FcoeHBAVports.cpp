// Creating, deleting and naming NPIV virtual ports.
#include "FcoeAgent/QelDebug.h"
#include "FcoeAgent/QelResource.h"
#include "model/FcoeHBA.h"
#include "model/FcoePort.h"
#include "model/WwnText.h"

namespace {

// Numbers of the error codes.
constexpr ULONG ERROR_WWPN_NOT_GENERATED = 202;
constexpr ULONG ERROR_WWPN_INVALID = 203;
constexpr ULONG ERROR_MAXIMUM_PORTS = 204;
constexpr ULONG ERROR_WWPN_IN_USE = 205;
constexpr ULONG ERROR_NOT_CREATED = 206;
constexpr ULONG ERROR_NOT_DELETED = 207;
constexpr ULONG ERROR_PORT_IS_PHYSICAL = 214;

// Library statuses of a refused creation.
constexpr HBA_STATUS STATUS_WWPN_IN_USE = HBA_STATUS_ERROR_AMBIGUOUS_WWN;
constexpr HBA_STATUS STATUS_MAXIMUM_PORTS = HBA_STATUS_ERROR_LOCAL_BUS;

ORVAN_FC_PORT PortRequest(const HBA_WWN& wwpn) {
    ORVAN_FC_PORT request{};
    request.PortWWN = wwpn;
    return request;
}

} // namespace

BOOL CQelFcoeHBA::CreateVPort(CQelString& strWWPN, std::vector<QEL_ERROR_ENTRY>& vecErrors) {
    CQelTracedResult traced(L"CQelFcoeHBA::CreateVPort", FALSE);
    CQelString strAuto;
    strAuto.LoadCommonResString(IDS_QEL_AUTO);
    HBA_WWN wwpn{};
    if (strAuto.CompareI(strWWPN)) {
        if (!m_pLibrary->GenerateVportWwpn(GetHandle(), &wwpn)) {
            AddError(vecErrors, ERROR_WWPN_NOT_GENERATED);
            QEL_PRINT(L"Unable to generate the WWPN");
            return traced(FALSE);
        }
        strWWPN = WwnText(wwpn);
    } else if (const auto parsed = ParseWwn(strWWPN)) {
        wwpn = *parsed;
    } else {
        QEL_PRINT(L"Invalid WWPN!");
        AddError(vecErrors, ERROR_WWPN_INVALID, {strWWPN});
        return traced(FALSE);
    }

    ORVAN_FC_PORT request = PortRequest(wwpn);
    HBA_STATUS ulStatus = 0;
    const BOOL bCreated = m_pLibrary->CreateVport(GetHandle(), request, ulStatus);
    if (!bCreated) {
        switch (ulStatus) {
        case STATUS_WWPN_IN_USE:
            QEL_PRINT(L"The WWPN is already in use");
            AddError(vecErrors, ERROR_WWPN_IN_USE);
            break;
        case STATUS_MAXIMUM_PORTS:
            QEL_PRINT(L"The maximum ports has already been reached");
            AddError(vecErrors, ERROR_MAXIMUM_PORTS);
            break;
        default:
            QEL_PRINT(L"Unknonw error has occured in CreateVPort"); // misspelt: hosts search for it
            AddError(vecErrors, ERROR_NOT_CREATED, {strWWPN});
        }
    }
    InvalidateCache();
    return traced(bCreated);
}

BOOL CQelFcoeHBA::DeleteVPort(const CQelString& strWWPN, std::vector<QEL_ERROR_ENTRY>& vecErrors) {
    CQelTracedResult traced(L"CQelFcoeHBA::DeleteVPort", FALSE);
    const auto wwpn = ParseWwn(strWWPN);
    if (!wwpn) {
        AddError(vecErrors, ERROR_WWPN_INVALID, {strWWPN});
        return traced(FALSE);
    }
    ORVAN_FC_PORT request = PortRequest(*wwpn);
    const BOOL bDeleted = m_pLibrary->RemoveVport(GetHandle(), request);
    if (!bDeleted) {
        if (IsPortOfTypeZero(strWWPN))
            AddError(vecErrors, ERROR_PORT_IS_PHYSICAL);
        else
            AddError(vecErrors, ERROR_NOT_DELETED, {strWWPN});
    }
    InvalidateCache();
    return traced(bDeleted);
}

BOOL CQelFcoeHBA::GenerateVPortWWPN(CQelString& strWWPN) {
    CQelTracedResult traced(L"CQelFcoeHBA::GenerateVPortWWPN", FALSE);
    strWWPN.ClearString();
    HBA_WWN wwpn{};
    const BOOL bGenerated = traced(m_pLibrary->GenerateVportWwpn(GetHandle(), &wwpn));
    if (bGenerated)
        strWWPN = WwnText(wwpn);
    return traced(bGenerated);
}

bool CQelFcoeHBA::IsPortOfTypeZero(const CQelString& strWWPN) {
    std::vector<std::shared_ptr<CQelFcoePort>> vecPorts;
    GetPorts(vecPorts);
    for (const auto& pPort : vecPorts) {
        QEL_FCOE_PORT record;
        if (pPort->Get(record) && record.strPortWWN.CompareI(strWWPN))
            return record.ulPortType == CQelFcoePort::TYPE_PHYSICAL;
    }
    return false;
}

void CQelFcoeHBA::AddError(std::vector<QEL_ERROR_ENTRY>& vecErrors, ULONG ulNumber,
                           std::vector<CQelString> vecArguments) const {
    vecErrors.push_back({3u << 28 | 7u << 24 | ulNumber, 16, 1, std::move(vecArguments), m_pNames->strSecondName});
}
