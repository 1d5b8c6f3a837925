// In one program nothing is exported.
#pragma once

#define FCOEAGNT_API
#define QELCOLIB_API
