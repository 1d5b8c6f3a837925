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
    {"hbas", "fcoectl hbas --long",
     R"(TYPE              FCoE HBA
DEVICE ID         {0B6C7E1A-5D24-4F8B-9C11-000000000001}
NAME              ORVAN CNA Port 1
PORT WWN          20:00:00:1B:21:00:00:01
NODE WWN          10:00:00:1B:21:00:00:01
FC ID             0x010200
PCI LOCATION      PCI bus 4, device 0, function 0
SPEED             10 Gbps
FCOE LINK STATUS  Link up
LIBRARY NAME      orvan-fcoe-0
MODEL             ON-2100
)"},
    {"fabrics", "fcoectl fabrics",
     R"(NAME              WWN 1                    WWN 2                    WWN 3                    ADAPTER           KIND      NUMBER
----------------  -----------------------  -----------------------  -----------------------  ----------------  --------  ------
Fabric 1          20:00:00:1B:21:00:00:01  10:00:00:05:1E:AA:00:01  20:01:00:05:1E:AA:00:01  ORVAN CNA Port 1  Physical       1
Virtual Fabric 2  20:00:00:1B:21:00:00:01  10:00:00:05:1E:AA:00:01  20:01:00:05:1E:AA:00:01  ORVAN CNA Port 1  Virtual        2
)"},
    {"ports", "fcoectl ports",
     R"(NODE WWN                 PORT WWN                 TYPE  KIND             WORD B  ADAPTER           FABRIC
-----------------------  -----------------------  ----  -------------  --------  ----------------  ----------------
10:00:00:1B:21:00:00:01  20:00:00:1B:21:00:00:01     0  Physical port  0x010200  ORVAN CNA Port 1  Fabric 1
10:00:00:1B:21:00:00:01  20:01:00:1B:21:00:00:01     2  Virtual port   0x010201  ORVAN CNA Port 1  Virtual Fabric 2
)"},
    {"targets", "fcoectl targets",
     R"(NODE WWN                 PORT WWN                 BUS  TARGET     FC ID  VENDOR    SERIAL   INITIATOR                FABRIC            ADAPTER
-----------------------  -----------------------  ---  ------  --------  --------  -------  -----------------------  ----------------  ----------------
50:06:01:60:00:00:00:00  50:06:01:60:00:00:00:01    1       0  0x010500  ACME      SN-0001  20:00:00:1B:21:00:00:01  Fabric 1          ORVAN CNA Port 1
50:06:01:60:00:00:00:00  50:06:01:60:00:00:00:01    1       0  0x010500  ACME      SN-0001  20:01:00:1B:21:00:00:01  Virtual Fabric 2  ORVAN CNA Port 1
)"},
    {"luns", "fcoectl luns",
     R"(LUN  BUS  TARGET  DEVICE NAME         CAPACITY  BLOCK SIZE  TARGET PORT              INITIATOR                FABRIC            ADAPTER
---  ---  ------  ------------------  --------  ----------  -----------------------  -----------------------  ----------------  ----------------
  0    1       0  \\.\PHYSICALDRIVE1  100 GB    512 bytes   50:06:01:60:00:00:00:01  20:00:00:1B:21:00:00:01  Fabric 1          ORVAN CNA Port 1
  1    1       0  \\.\PHYSICALDRIVE2  512 MB    512 bytes   50:06:01:60:00:00:00:01  20:00:00:1B:21:00:00:01  Fabric 1          ORVAN CNA Port 1
  0    1       0  \\.\PHYSICALDRIVE1  100 GB    512 bytes   50:06:01:60:00:00:00:01  20:01:00:1B:21:00:00:01  Virtual Fabric 2  ORVAN CNA Port 1
)"},
    {"vlans", "fcoectl vlans",
     R"(NAME       VLAN ID  STATE     ADAPTER
---------  -------  --------  ----------------
VLAN 1002     1002  Active    ORVAN CNA Port 1
VLAN 20         20  Inactive  ORVAN CNA Port 1
)"},
    {"stats", "fcoectl stats",
     R"(ADAPTER           COUNTER                      VALUE
----------------  ---------------------------  -----
ORVAN CNA Port 1  Transmitted frames            1000
ORVAN CNA Port 1  Transmitted words             2000
ORVAN CNA Port 1  Transmitted kilobytes         3000
ORVAN CNA Port 1  Transmit counter (reserved)   4000
ORVAN CNA Port 1  Received frames               5000
ORVAN CNA Port 1  Received words                6000
ORVAN CNA Port 1  Received kilobytes            7000
ORVAN CNA Port 1  Receive counter (reserved)    8000
ORVAN CNA Port 1  Error frames                  9000
ORVAN CNA Port 1  Dumped frames                10000
ORVAN CNA Port 1  Losses of synchronization    11000
ORVAN CNA Port 1  Invalid CRCs                 12000
ORVAN CNA Port 1  Invalid transmission words   13000
ORVAN CNA Port 1  Losses of signal             14000
ORVAN CNA Port 1  Link failures                15000
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
     R"(NAME              DEVICE ID                               FCOE LINK STATUS  MEANING
----------------  --------------------------------------  ----------------  ---------------------------------------------------------------
ORVAN CNA Port 1  {0B6C7E1A-5D24-4F8B-9C11-000000000001}  Link up           FCoE can be used: priority flow control is on for its priority.
)"},
    {"vport list", "fcoectl vport list",
     R"(NODE WWN                 PORT WWN                 TYPE  KIND            WORD B  ADAPTER           FABRIC
-----------------------  -----------------------  ----  ------------  --------  ----------------  ----------------
10:00:00:1B:21:00:00:01  20:01:00:1B:21:00:00:01     2  Virtual port  0x010201  ORVAN CNA Port 1  Virtual Fabric 2
)"},
    {"vport create", "fcoectl vport create auto",
     R"(Created virtual port 20:02:00:1B:21:00:00:01 on ORVAN CNA Port 1 ({0B6C7E1A-5D24-4F8B-9C11-000000000001})
)"},
    {"vport delete", "fcoectl vport delete 20:01:00:1B:21:00:00:01",
     R"(Deleted virtual port 20:01:00:1B:21:00:00:01 on ORVAN CNA Port 1 ({0B6C7E1A-5D24-4F8B-9C11-000000000001})
)"},
    {"wwpn", "fcoectl wwpn",
     R"(20:03:00:1B:21:00:00:01
)"},
    {"rescan", "fcoectl rescan",
     R"(Rescanned the targets on ORVAN CNA Port 1 ({0B6C7E1A-5D24-4F8B-9C11-000000000001})
)"},
    {"explain", "fcoectl explain 205",
     R"(CODE       0x370000CD
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
