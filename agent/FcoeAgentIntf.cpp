// Out of line, so that they are exported.
#include "FcoeAgent/FcoeAgentIntf.h"

CQelFcoeAgentIntf::CQelFcoeAgentIntf() = default;
CQelFcoeAgentIntf::CQelFcoeAgentIntf(const CQelFcoeAgentIntf&) = default;
CQelFcoeAgentIntf& CQelFcoeAgentIntf::operator=(const CQelFcoeAgentIntf&) = default;
CQelFcoeAgentIntf::~CQelFcoeAgentIntf() = default;
