#include "model/FcoeBase.h"

CQelFcoeBase::CQelFcoeBase(CHBAAPIInt* pLibrary, const CQelString& strName, const CQelString& strSecondName,
                           HBA_HANDLE hAdapter)
    : m_ulOpened(0), m_pLibrary(pLibrary), m_strSecondName(strSecondName),
      m_pCache(std::make_shared<CacheCollection>(this, strName)), m_strName(m_pCache->GetName()), m_hAdapter(hAdapter),
      m_bLockInitialised(false) {
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
