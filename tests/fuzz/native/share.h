// How a file may be opened beside this program.
#pragma once

#define _SH_DENYWR 0x20
