#include "model/FcoeBase.h"

CQelFcoeBase::CQelFcoeBase(CHBAAPIInt* pLibrary, const CQelSharedText& strName, const CQelSharedText& strSecondName,
                           HBA_HANDLE hAdapter)
    : m_ulOpened(0), m_pLibrary(pLibrary), m_strSecondName(strSecondName), m_cache(this, strName),
      m_strName(m_cache.GetName()), m_hAdapter(hAdapter) {}

CQelFcoeBase::~CQelFcoeBase() {
    {
        // A thread that is still inside the object finishes first.
        const CQelLockGuard guard(m_csLock);
    }
    m_ulOpened = 0;
}
