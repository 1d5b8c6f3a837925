// Client of the DCB service: whether DCB has made an adapter's FCoE link lossless.
#pragma once

#include <windows.h>

#include "Common/Src/ComOwner.h"
#include "FcoeAgent/QelString.h"
#include "FcoeAgent/QelTypes.h"

struct IOrvanDcbIoControl;

// The FCoE link status of an adapter; model/LinkStatus.cpp has the texts. 1, 2, 5 and 6 are other sources' codes.
enum DCB_FCOE_LINK_STATUS : ULONG {
    DCB_LINK_USABLE = 0,           // flow control of the FCoE priority matches
    DCB_LINK_PFC_OFF_LOCALLY = 3,  // flow control is off here
    DCB_LINK_NO_PRIORITY = 4,      // FCoE has no user priority
    DCB_LINK_APP_OFF_LOCALLY = 7,  // the application feature is disabled here
    DCB_LINK_PFC_MISMATCH = 8,     // flow control of the FCoE priority does not match
    DCB_LINK_APP_OFF_REMOTELY = 9, // the application feature is disabled on the remote side
    DCB_LINK_UNKNOWN = 10,         // not known, or the peer's flow control is not
};

// Speaks for one adapter; made, asked once and destroyed on one thread, which has COM initialized in between if the
// service runs, and is left as it was. Failures are logged and reported through the outputs. The constructor and
// Initialize throw when memory runs out.
class CDCX_ServiceInterface {
  public:
    // Initializes itself; ask IsInitialized for the outcome. bFcoeCheck: whether the FCoE feature is looked for, too.
    CDCX_ServiceInterface(const CQelString& strAdapter, BOOL bFcoeCheck);
    CDCX_ServiceInterface(const CDCX_ServiceInterface&) = delete;
    CDCX_ServiceInterface& operator=(const CDCX_ServiceInterface&) = delete;
    ~CDCX_ServiceInterface();

    // Connects to the service, if it runs, and looks for the installed features. FALSE when there is no connection.
    BOOL Initialize(BOOL bFcoeCheck);
    // Whether there is a connection: GetDCB_FcoeLinkStatus may only be called when there is.
    BOOL IsInitialized() const { return m_byServiceCreated; }
    // result: code 0, or 0xFFFFFFFF when a state query failed; detail 0xFFFFFFFF always. byDcbEnabled: 1 when DCB is
    // on. ulLinkStatus: a DCB_FCOE_LINK_STATUS. All three are always written.
    void GetDCB_FcoeLinkStatus(QEL_RESULT& result, BYTE& byDcbEnabled, ULONG& ulLinkStatus);
    // Drops the connection; TRUE always. The destructor does the same.
    BOOL UnInitialize();

    // How many of FCoE (if it was looked for) and iSCSI are installed, and which; whether Windows has a DCB of its own.
    ULONG GetFeatureCount() const { return m_ulFeatureCount; }
    BOOL IsFcoeInstalled() const { return m_byFcoeInstalled; }
    BOOL IsIscsiInstalled() const { return m_byIscsiInstalled; }
    BOOL IsOsDcbInstalled() const { return m_byOsDcbInstalled; }

  private:
    // The thread's part in COM: whatever ends the client, the thread leaves as often as it joined.
    class CMembership {
      public:
        CMembership() = default;
        CMembership(const CMembership&) = delete;
        CMembership& operator=(const CMembership&) = delete;
        ~CMembership();

        HRESULT Join();
        void Leave();

      private:
        ULONG m_ulJoined = 0;
    };

    HRESULT Connect();
    void FindFeatures(BOOL bFcoeCheck);

    CMembership m_com; // outlives the object that came through it
    BYTE m_byComInitialized = 0;
    BYTE m_byServiceCreated = 0;
    CQelComPointer<IOrvanDcbIoControl> m_pService;
    ULONG m_ulFeatureCount = 0;
    BYTE m_byFcoeInstalled = 0;
    BYTE m_byIscsiInstalled = 0;
    BYTE m_byOsDcbInstalled = 0;
    CQelString m_strAdapter;
};
