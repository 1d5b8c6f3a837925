#include "model/FcoeBase.h"

#include <utility>

CQelFcoeBase::CQelFcoeBase(CHBAAPIInt* pLibrary, std::shared_ptr<const AdapterNames> pNames, HBA_HANDLE hAdapter)
    : m_ulOpened(0), m_pLibrary(pLibrary), m_pNames(std::move(pNames)), m_hAdapter(hAdapter),
      m_cache(this, std::shared_ptr<const CQelString>(m_pNames, &m_pNames->strName)) {}

CQelFcoeBase::~CQelFcoeBase() {
    {
        // A thread that is still inside the object finishes first.
        const CQelLockGuard guard(m_csLock);
    }
    m_ulOpened = 0;
}

HBA_HANDLE CQelFcoeBase::GetHandle() const {
    const CQelLockGuard guard(m_csLock);
    return m_hAdapter;
}
