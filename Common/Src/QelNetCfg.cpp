#include "FcoeAgent/QelNetCfg.h"

CQelNetCfgComponent::CQelNetCfgComponent() = default;
CQelNetCfgComponent::CQelNetCfgComponent(const CQelNetCfgComponent& other) = default;
CQelNetCfgComponent& CQelNetCfgComponent::operator=(const CQelNetCfgComponent& other) = default;

CQelNetCfgInterface::CQelNetCfgInterface() = default;
CQelNetCfgInterface::CQelNetCfgInterface(const CQelNetCfgInterface& other) = default;
CQelNetCfgInterface& CQelNetCfgInterface::operator=(const CQelNetCfgInterface& other) = default;
