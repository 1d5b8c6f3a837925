#include "model/FcoeBase.h"

CQelFcoeBase::CQelFcoeBase(CHBAAPIInt* pLibrary, const CQelSharedText& strName, const CQelSharedText& strSecondName,
                           HBA_HANDLE hAdapter)
    : m_ulOpened(0), m_pLibrary(pLibrary), m_strSecondName(strSecondName), m_cache(this, strName),
      m_strName(m_cache.GetName()), m_hAdapter(hAdapter), m_bLockInitialised(false) {
    InitializeCriticalSection(&m_csLock);
    m_bLockInitialised = true;
}

CQelFcoeBase::~CQelFcoeBase() {
    if (m_bLockInitialised) {
        // A thread that is still inside the object finishes first.
        EnterCriticalSection(&m_csLock);
        LeaveCriticalSection(&m_csLock);
        DeleteCriticalSection(&m_csLock);
        m_bLockInitialised = false;
    }
    m_ulOpened = 0;
}
