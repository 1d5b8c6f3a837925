// The adapter port's counters.
#include "FcoeAgent/QelDebug.h"
#include "FcoeAgent/QelResource.h"
#include "model/FcoeHBA.h"

namespace {

struct ShownCounter {
    UINT uLabel;
    LONG64 (*pfnValue)(const HBA_PORTSTATISTICS&);
};

template <HBA_INT64 HBA_PORTSTATISTICS::*pField> LONG64 Counter(const HBA_PORTSTATISTICS& statistics) {
    return statistics.*pField;
}

// A word is four bytes. Multiplied without a sign, so that no count overflows; divided with it, truncating toward zero.
template <HBA_INT64 HBA_PORTSTATISTICS::*pField> LONG64 Kilobytes(const HBA_PORTSTATISTICS& statistics) {
    return static_cast<LONG64>(static_cast<ULONG64>(statistics.*pField) * 4) / 1024;
}

// No counter belongs to the label.
LONG64 Nothing(const HBA_PORTSTATISTICS&) {
    return 0;
}

using S = HBA_PORTSTATISTICS;

// The order is the one that hosts show; the last five do not follow the library's record.
constexpr ShownCounter COUNTERS[] = {
    {IDS_QEL_STAT_TX_FRAMES, Counter<&S::TxFrames>},
    {IDS_QEL_STAT_TX_WORDS, Counter<&S::TxWords>},
    {IDS_QEL_STAT_TX_KILOBYTES, Kilobytes<&S::TxWords>},
    {IDS_QEL_STAT_TX_RESERVED, Nothing},
    {IDS_QEL_STAT_RX_FRAMES, Counter<&S::RxFrames>},
    {IDS_QEL_STAT_RX_WORDS, Counter<&S::RxWords>},
    {IDS_QEL_STAT_RX_KILOBYTES, Kilobytes<&S::RxWords>},
    {IDS_QEL_STAT_RX_RESERVED, Nothing},
    {IDS_QEL_STAT_ERROR_FRAMES, Counter<&S::ErrorFrames>},
    {IDS_QEL_STAT_DUMPED_FRAMES, Counter<&S::DumpedFrames>},
    {IDS_QEL_STAT_LOSS_OF_SYNC, Counter<&S::LossOfSyncCount>},
    {IDS_QEL_STAT_INVALID_CRC, Counter<&S::InvalidCRCCount>},
    {IDS_QEL_STAT_INVALID_TX_WORD, Counter<&S::InvalidTxWordCount>},
    {IDS_QEL_STAT_LOSS_OF_SIGNAL, Counter<&S::LossOfSignalCount>},
    {IDS_QEL_STAT_LINK_FAILURE, Counter<&S::LinkFailureCount>},
};

} // namespace

BOOL CQelFcoeHBA::GetStatistics(std::vector<QEL_FCOE_STATISTIC>& vecStatistics) {
    // TRUE also when the counters cannot be read: hosts rely on it.
    CQelTracedResult traced(L"CQelFcoeHBA::GetStatistics", TRUE);
    const HBA_HANDLE hAdapter = Open();
    HBA_PORTSTATISTICS statistics{};
    if (!m_pLibrary->GetPortStatistics(hAdapter, statistics))
        return traced(TRUE);
    for (const ShownCounter& counter : COUNTERS) {
        QEL_FCOE_STATISTIC entry;
        entry.strDeviceId = m_pNames->strName;
        entry.strSecondId = m_pNames->strSecondName;
        entry.strLabel.LoadCommonResString(counter.uLabel);
        entry.llValue = counter.pfnValue(statistics);
        vecStatistics.push_back(std::move(entry));
    }
    return traced(TRUE);
}
