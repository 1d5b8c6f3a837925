// Lists of records as hosts get them: the agent's records, and beside them those of C that point into these.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "FcoeAgent/FcoeRecords.h"
#include "FcoeAgent/QelTypes.h"
#include "FcoeAgent/fcoe_agent.h"
#include "capi/Handles.h"

namespace capi {

class List : public Handle {
  public:
    virtual std::uint32_t Count() const noexcept = 0;
    virtual const void* At(std::uint32_t index) const noexcept = 0; // null past the end
};

// Throw std::bad_alloc.
std::unique_ptr<List> MakeList(std::vector<QEL_FCOE_HBA> records);
std::unique_ptr<List> MakeList(std::vector<QEL_FCOE_FABRIC> records);
std::unique_ptr<List> MakeList(std::vector<QEL_FCOE_PORT> records);
std::unique_ptr<List> MakeList(std::vector<QEL_FCOE_TARGET> records);
std::unique_ptr<List> MakeList(std::vector<QEL_FCOE_LUN> records);
std::unique_ptr<List> MakeList(std::vector<QEL_FCOE_VLAN> records);
std::unique_ptr<List> MakeList(std::vector<QEL_FCOE_STATISTIC> records);
std::unique_ptr<List> MakeList(std::vector<QEL_ERROR_ENTRY> entries);

// Gives the list out.
fcoe_list* GiveOut(std::unique_ptr<List> list) noexcept;
// The list that was given out at that address; null: there is none.
const List* FindList(const fcoe_list* list) noexcept;
// Takes it back.
void DropList(fcoe_list* list) noexcept;

} // namespace capi
