#include "tools/fcoectl/Examples.h"

#include <algorithm>

namespace fcoectl {
namespace {

constexpr Example EXAMPLES[] = {
    {"", "fcoectl tree",
     R"(ORVAN CNA Port 1  {0B6C7E1A-5D24-4F8B-9C11-000000000001}  Link up
├─ Fabric 1  Physical
│  └─ Physical port  20:00:00:1B:21:00:00:01
│     └─ Target  50:06:01:60:00:00:00:01  ACME  SN-0001
│        ├─ LUN 0  \\.\PHYSICALDRIVE1  100 GB
│        └─ LUN 1  \\.\PHYSICALDRIVE2  512 MB
└─ Virtual Fabric 2  Virtual
   └─ Virtual port  20:01:00:1B:21:00:00:01
      └─ Target  50:06:01:60:00:00:00:01  ACME  SN-0001
         └─ LUN 0  \\.\PHYSICALDRIVE1  100 GB
)"},
    {"hbas", "fcoectl hbas",
     R"(NAME              STATE   SPEED    PORT WWN
----------------  ------  -------  -----------------------
ORVAN CNA Port 1  usable  10 Gbps  20:00:00:1B:21:00:00:01
)"},
    {"fabrics", "fcoectl fabrics",
     R"(NAME              KIND      WWN 1                    ADAPTER
----------------  --------  -----------------------  ----------------
Fabric 1          Physical  20:00:00:1B:21:00:00:01  ORVAN CNA Port 1
Virtual Fabric 2  Virtual   20:00:00:1B:21:00:00:01  ORVAN CNA Port 1
)"},
    {"ports", "fcoectl ports",
     R"(PORT WWN                 KIND           FABRIC            ADAPTER
-----------------------  -------------  ----------------  ----------------
20:00:00:1B:21:00:00:01  Physical port  Fabric 1          ORVAN CNA Port 1
20:01:00:1B:21:00:00:01  Virtual port   Virtual Fabric 2  ORVAN CNA Port 1
)"},
    {"targets", "fcoectl targets",
     R"(PORT WWN                    FC ID  VENDOR    SERIAL   INITIATOR
-----------------------  --------  --------  -------  -----------------------
50:06:01:60:00:00:00:01  0x010500  ACME      SN-0001  20:00:00:1B:21:00:00:01
50:06:01:60:00:00:00:01  0x010500  ACME      SN-0001  20:01:00:1B:21:00:00:01
)"},
    {"luns", "fcoectl luns --where os_lun=0 --columns os_device_name,capacity,initiator",
     R"(DEVICE NAME         CAPACITY  INITIATOR
------------------  --------  -----------------------
\\.\PHYSICALDRIVE1  100 GB    20:00:00:1B:21:00:00:01
\\.\PHYSICALDRIVE1  100 GB    20:01:00:1B:21:00:00:01
)"},
    {"disks", "fcoectl disks --columns os_device_name,bytes,path_count,serial",
     R"(DISK                       BYTES  PATHS  SERIAL
------------------  ------------  -----  -------
\\.\PHYSICALDRIVE1  107374182400      2  SN-0001
\\.\PHYSICALDRIVE2     536870912      1  SN-0001
)"},
    {"vlans", "fcoectl vlans",
     R"(NAME       VLAN ID  STATE     ADAPTER
---------  -------  --------  ----------------
VLAN 1002     1002  Active    ORVAN CNA Port 1
VLAN 20         20  Inactive  ORVAN CNA Port 1
)"},
    {"stats", "fcoectl stats --where label=*frames --sort -value",
     R"(ADAPTER           COUNTER             VALUE
----------------  ------------------  -----
ORVAN CNA Port 1  Dumped frames       10000
ORVAN CNA Port 1  Error frames         9000
ORVAN CNA Port 1  Received frames      5000
ORVAN CNA Port 1  Transmitted frames   1000
)"},
    {"tree", "fcoectl tree --ascii",
     R"(ORVAN CNA Port 1  {0B6C7E1A-5D24-4F8B-9C11-000000000001}  Link up
|- Fabric 1  Physical
|  `- Physical port  20:00:00:1B:21:00:00:01
|     `- Target  50:06:01:60:00:00:00:01  ACME  SN-0001
|        |- LUN 0  \\.\PHYSICALDRIVE1  100 GB
|        `- LUN 1  \\.\PHYSICALDRIVE2  512 MB
`- Virtual Fabric 2  Virtual
   `- Virtual port  20:01:00:1B:21:00:00:01
      `- Target  50:06:01:60:00:00:00:01  ACME  SN-0001
         `- LUN 0  \\.\PHYSICALDRIVE1  100 GB
)"},
    {"dcb", "fcoectl dcb",
     R"(NAME              MEANING
----------------  ------------------------------------------------
ORVAN CNA Port 1  FCoE can be used: its priority has flow control.
)"},
    {"vport list", "fcoectl vport list",
     R"(PORT WWN                 KIND          FABRIC            ADAPTER
-----------------------  ------------  ----------------  ----------------
20:01:00:1B:21:00:00:01  Virtual port  Virtual Fabric 2  ORVAN CNA Port 1
)"},
    {"vport create", "fcoectl vport create auto",
     R"(Created virtual port 20:02:00:1B:21:00:00:01 on ORVAN CNA Port 1 ({0B6C7E1A-5D24-4F8B-9C11-000000000001})
)"},
    {"vport delete", "fcoectl vport delete 20:01:00:1B:21:00:00:01 --dry-run",
     R"(Would delete virtual port 20:01:00:1B:21:00:00:01 on ORVAN CNA Port 1 ({0B6C7E1A-5D24-4F8B-9C11-000000000001}); nothing was done
)"},
    {"wwpn", "fcoectl wwpn",
     R"(20:03:00:1B:21:00:00:01
)"},
    {"rescan", "fcoectl rescan --all",
     R"(Rescanned the targets on ORVAN CNA Port 1 ({0B6C7E1A-5D24-4F8B-9C11-000000000001})
)"},
    {"log requests", "fcoectl log requests --file FcoeAgnt.txt",
     R"(NO  TIME          PROCESS  REQUEST         ADAPTERS      MS  RESULT  PROBLEMS
--  ------------  -------  --------------  --------  ------  ------  --------
 1  17:32:07.121      552  Initialize             0   6.176  true           0
 2  17:32:07.127      552  EnumerateVLANs         1  40.634  true           1
 3  17:32:07.168      552  Uninstall              0   0.332  true           0
)"},
    {"log request", "fcoectl log request 2 --file FcoeAgnt.txt",
     R"(          MS    CALLS  CALL
------------  -------  ----
      40.634        1  CQelFcoeAgentWin::EnumerateVLANs  true
       0.055        1    CQelNetAgentPvt::WaitForApplyDone  asks WaitForApplyDone
       0.084        1    CQelFcoeAgentWin::GetAdaptersThatSupportFCOE  asks EnumerateAdapters  true
       0.013        1      CQelNetAgentPvt::WaitForApplyDone  asks WaitForApplyDone
       0.041        1      CHelper::IsFcoeInstalled  true
      40.474        1    adapter 1
       0.149        1      CQelFcoeAgentWin::GetHBAObject  asks GetAdapterInfo
       0.128        1        CQelFcoeHBA::Open
       0.067        1          CHBAAPIInt::InitHBAAPIMod  asks ORVAN_GetFCoEControllerInfo  true
       0.048        1          CHBAAPIInt::GetAdapterHandle  asks ORVAN_GetFCoEControllerHandle  true
                    1            - Succeeded getting Adapter Handle - 1
       0.004        1        CQelFcoeHBA::SetupCache
      40.324        1      CQelFcoeHBA::GetVLANs  true
      40.316        1        CQelFcoeHBA::GetVLANs_HBA
       0.104        1          CQelFcoeHBA::Open
       0.006        1            CHBAAPIInt::CloseAdapHandle  asks CloseAdapter  true
                    1              - CHBAAPIInt::CloseAdapHandle closing adapter handle - 1
       0.045        1            CHBAAPIInt::InitHBAAPIMod  asks ORVAN_GetFCoEControllerInfo  true
       0.043        1            CHBAAPIInt::GetAdapterHandle  asks ORVAN_GetFCoEControllerHandle  true
                    1              - Succeeded getting Adapter Handle - 1
      40.193        1          CQelFcoeVLAN::GetVlansList_HBA  0
                    1            - GetVLANList() failed Input No of vlans = 1, dwNoOfVlans = 0
      40.183        1            CHBAAPIInt::GetVLANList  asks ORVAN_GetVlanIdList  false
                    1              ! CHBAAPIInt::GetVlanIdList failed with error - 10  [busy (status 10)]
)"},
    {"log problems", "fcoectl log problems --file FcoeAgnt.txt",
     R"(PROBLEM  The vendor library refused the list of VLANs.
DO       Look at the adapter, its driver and the maker's own tool; the status tells the reason.
ASKED    ORVAN_GetVlanIdList
ANSWER   busy (status 10)
WHERE    EnumerateVLANs (request 2), adapter 1
WHEN     17:32:07.168
LINE     55  CHBAAPIInt::GetVlanIdList failed with error - 10
)"},
    {"log slow", "fcoectl log slow -n 5 --file FcoeAgnt.txt",
     R"(OWN MS  CALLS  AVERAGE MS  LONGEST MS  AT            REQUEST  OPERATION                        ASKS
------  -----  ----------  ----------  ------------  -------  -------------------------------  ---------------------------
40.183      1      40.183      40.183  17:32:07.168        2  CHBAAPIInt::GetVLANList          ORVAN_GetVlanIdList
 5.849      2       2.925       3.000  17:32:07.127        1  CHelper::PwLoadLibrary           -
 0.304      1       0.304       0.304  17:32:07.168        3  CHBAAPIInt::DeInitHBAAPIMod      -
 0.224      3       0.075       3.009  17:32:07.124        1  CHBAAPIInt::InitHBAAPIMod        ORVAN_GetFCoEControllerInfo
 0.092      2       0.046       0.053  17:32:07.121        1  CHelper::GetAgentModuleLocation  -
)"},
    {"explain", "fcoectl explain 205",
     R"(CODE       0x370000CD
KIND       agent_error
NAME       wwpn_in_use
MEANING    The WWPN is already in use.
ADVICE     Choose another WWPN, or 'auto'.
EXIT CODE  11
)"},
};

} // namespace

const Example* FindExample(std::string_view name) {
    const auto* found = std::ranges::find(EXAMPLES, name, &Example::name);
    return found == std::end(EXAMPLES) ? nullptr : found;
}

} // namespace fcoectl
