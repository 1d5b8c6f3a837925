// Records of the suite's network configuration. The agent carries them for its siblings and does not use them.
#pragma once

#include "FcoeAgent/QelExport.h"
#include "FcoeAgent/QelString.h"

// One component of the network configuration: an adapter, protocol, service or client.
class CQelNetCfgComponent {
  public:
    FCOEAGNT_API CQelNetCfgComponent();
    FCOEAGNT_API CQelNetCfgComponent(const CQelNetCfgComponent& other);
    FCOEAGNT_API CQelNetCfgComponent& operator=(const CQelNetCfgComponent& other);

    CQelString m_strComponentId; // hardware or component identifier
    CQelString m_strInstanceId;  // braced GUID of the instance
    CQelString m_strDisplayName;
};

// One binding between two components.
class CQelNetCfgInterface {
  public:
    FCOEAGNT_API CQelNetCfgInterface();
    FCOEAGNT_API CQelNetCfgInterface(const CQelNetCfgInterface& other);
    FCOEAGNT_API CQelNetCfgInterface& operator=(const CQelNetCfgInterface& other);

    CQelString m_strName;
    CQelNetCfgComponent m_upper;
    CQelNetCfgComponent m_lower;
};
