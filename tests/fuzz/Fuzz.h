// What a fuzz program is: the families of answers that it draws, and what it does with an adapter of that library.
#pragma once

#include "hbaapi/HBAAPIInt.h"
#include "model/FcoeHBA.h"
#include "tests/fuzz/Check.h"
#include "tests/fuzz/DrawnLibrary.h"

extern const FuzzedFamilies FUZZED_FAMILIES;

// Called once for every input. access: what the adapter asks the library through.
void Fuzz(DrawnLibrary& library, CHBAAPIInt& access, CQelFcoeHBA& hba);

// The entries that make one port, target or unit of a well-behaved library.
ORVAN_FC_PORT UsualPort(unsigned uNumber, HBA_UINT8 byType = 0);
ORVAN_TARGET_ENTRY UsualTarget(unsigned uNumber, const ORVAN_FC_PORT& port);
HBA_FCPSCSIENTRY UsualUnit(HBA_UINT64 ullLun, const ORVAN_TARGET_ENTRY& target);

// The records of the objects of one level of the tree. Every object has one.
template <class Record, class Object> std::vector<Record> Records(const std::vector<std::shared_ptr<Object>>& vec) {
    std::vector<Record> vecRecords;
    for (const auto& pObject : vec)
        FUZZ_CHECK(pObject && pObject->Get(vecRecords.emplace_back()));
    return vecRecords;
}
