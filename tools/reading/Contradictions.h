// What the records of an answer tell of themselves: values that no adapter has, and that stand for something unread.
#pragma once

#include <string>
#include <vector>

#include "FcoeAgent/FcoeRecords.h"
#include "tools/reading/Loss.h"

namespace reading {

// What is needed of an answer's records, whatever their kind.
struct RecordView {
    struct Adapter {
        std::string id; // empty: the record is
        std::string name;
    };
    std::size_t records = 0;
    std::vector<Adapter> adapters; // one for each in the records, in their order; of empty records one each
    std::vector<Loss> losses;      // place: of an empty record, its own
};

[[nodiscard]] RecordView View(const std::vector<QEL_FCOE_HBA>& records);
[[nodiscard]] RecordView View(const std::vector<QEL_FCOE_FABRIC>& records);
[[nodiscard]] RecordView View(const std::vector<QEL_FCOE_PORT>& records);
[[nodiscard]] RecordView View(const std::vector<QEL_FCOE_TARGET>& records);
[[nodiscard]] RecordView View(const std::vector<QEL_FCOE_LUN>& records);
[[nodiscard]] RecordView View(const std::vector<QEL_FCOE_VLAN>& records);
[[nodiscard]] RecordView View(const std::vector<QEL_FCOE_STATISTIC>& records);

} // namespace reading
