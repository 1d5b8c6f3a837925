// The seven enumerations: one walk over the adapters, and what each asks of an adapter.
#include <algorithm>
#include <utility>

#include "Common/Src/Containment.h"
#include "FcoeAgent/QelDebug.h"
#include "agent/FcoeAgentWin.h"
#include "model/FcoeFabric.h"
#include "model/FcoeLUN.h"
#include "model/FcoePort.h"
#include "model/FcoeTarget.h"
#include "model/FcoeVLAN.h"

namespace {

constexpr wchar_t SOURCE_FILE[] = L"agent\\Enumerate";

// So that records are not moved again and again while the host's vector grows; at least doubled, so that one adapter
// after the other does not move them again either.
template <class Record> void MakeRoom(std::vector<Record>& vecRecords, std::size_t nMore) {
    const std::size_t nNeeded = vecRecords.size() + nMore;
    if (nNeeded > vecRecords.capacity())
        vecRecords.reserve(vecRecords.empty() ? nNeeded : std::max(nNeeded, 2 * vecRecords.capacity()));
}

} // namespace

// work(HBA) for the adapter, or for all that support FCoE when there is no identifier. FALSE when it failed for one of
// them, which is logged; the others are asked all the same.
template <class Work>
BOOL CQelFcoeAgentWin::ForEachHBA(const wchar_t* pszOperation, const wchar_t* pszFailure, const CQelString& strAdapter,
                                  ULONG64 ullContext, Work work) {
    CQelTracedResult traced(pszOperation, TRUE);
    BOOL bReturn = TRUE;
    WaitForApplyDone(ullContext);
    std::vector<CQelString> vecAdapters;
    if (!strAdapter.IsEmpty()) {
        vecAdapters.push_back(strAdapter);
    } else if (!GetAdaptersThatSupportFCOE(vecAdapters, ullContext)) {
        QEL_PRINT(L"Unable to retrieve adapter list!");
        bReturn = traced(FALSE);
    }
    for (const CQelString& strId : vecAdapters) {
        // The log has this line for each of the enumerations; their names tell them apart.
        BOOL bDone = FALSE;
        Contain(SOURCE_FILE, __LINE__, pszOperation, MemoryExhaustion::Passes, [&] {
            const auto pHBA = GetHBAObject(strId);
            bDone = !pHBA || work(*pHBA);
        });
        if (!bDone) {
            QEL_PRINT(pszFailure, strId.c_str());
            bReturn = traced(FALSE);
        }
    }
    return traced(bReturn);
}

// The records of the objects that the adapters yield. An object without a record is left out.
template <class Record, class Object>
BOOL CQelFcoeAgentWin::EnumerateList(const wchar_t* pszOperation, const wchar_t* pszFailure,
                                     BOOL (CQelFcoeHBA::*pfnGetObjects)(std::vector<std::shared_ptr<Object>>&),
                                     const CQelString& strAdapter, std::vector<Record>& vecRecords,
                                     ULONG64 ullContext) {
    return ForEachHBA(pszOperation, pszFailure, strAdapter, ullContext, [&](CQelFcoeHBA& hba) {
        std::vector<std::shared_ptr<Object>> vecObjects;
        if (!(hba.*pfnGetObjects)(vecObjects))
            return FALSE;
        MakeRoom(vecRecords, vecObjects.size());
        for (const auto& pObject : vecObjects) {
            Record record;
            if (pObject->Get(record))
                vecRecords.push_back(std::move(record));
        }
        return TRUE;
    });
}

BOOL CQelFcoeAgentWin::EnumerateHBAs(const CQelString& strAdapter, std::vector<QEL_FCOE_HBA>& vecHBAs,
                                     ULONG64 ullContext) {
    return ForEachHBA(L"CQelFcoeAgentWin::EnumerateHBAs", L"Unable to get the HBA for %s", strAdapter, ullContext,
                      [&](CQelFcoeHBA& hba) {
                          QEL_FCOE_HBA record;
                          if (!hba.Get(record))
                              return FALSE;
                          vecHBAs.push_back(std::move(record));
                          return TRUE;
                      });
}

// Most of these speak of fabrics when they fail, whatever they enumerate: hosts search for those lines.

BOOL CQelFcoeAgentWin::EnumerateFabrics(CQelString& strAdapter, std::vector<QEL_FCOE_FABRIC>& vecFabrics,
                                        ULONG64 ullContext) {
    return EnumerateList(L"CQelFcoeAgentWin::EnumerateFabrics", L"Unable to get the fabrics for %s",
                         &CQelFcoeHBA::GetFabrics, strAdapter, vecFabrics, ullContext);
}

BOOL CQelFcoeAgentWin::EnumeratePorts(CQelString& strAdapter, std::vector<QEL_FCOE_PORT>& vecPorts,
                                      ULONG64 ullContext) {
    return EnumerateList(L"CQelFcoeAgentWin::EnumeratePorts", L"Unable to get the ports for %s", &CQelFcoeHBA::GetPorts,
                         strAdapter, vecPorts, ullContext);
}

BOOL CQelFcoeAgentWin::EnumerateTargets(CQelString& strAdapter, std::vector<QEL_FCOE_TARGET>& vecTargets,
                                        ULONG64 ullContext) {
    return EnumerateList(L"CQelFcoeAgentWin::EnumerateTargets", L"Unable to get the fabrics for %s",
                         &CQelFcoeHBA::GetTargets, strAdapter, vecTargets, ullContext);
}

BOOL CQelFcoeAgentWin::EnumerateVLANs(CQelString& strAdapter, std::vector<QEL_FCOE_VLAN>& vecVLANs,
                                      ULONG64 ullContext) {
    return EnumerateList(L"CQelFcoeAgentWin::EnumerateVLANs", L"Unable to get the fabrics for %s",
                         &CQelFcoeHBA::GetVLANs, strAdapter, vecVLANs, ullContext);
}

BOOL CQelFcoeAgentWin::EnumerateLUNs(CQelString& strAdapter, std::vector<QEL_FCOE_LUN>& vecLUNs, ULONG64 ullContext) {
    return EnumerateList(L"CQelFcoeAgentWin::EnumerateLUNs", L"Unable to get the fabrics for %s", &CQelFcoeHBA::GetLUNs,
                         strAdapter, vecLUNs, ullContext);
}

BOOL CQelFcoeAgentWin::EnumerateStatistics(CQelString& strAdapter, std::vector<QEL_FCOE_STATISTIC>& vecStatistics,
                                           ULONG64 ullContext) {
    return ForEachHBA(L"CQelFcoeAgentWin::EnumerateStatistics", L"Unable to get the fabrics for %s", strAdapter,
                      ullContext, [&](CQelFcoeHBA& hba) { return hba.GetStatistics(vecStatistics); });
}
