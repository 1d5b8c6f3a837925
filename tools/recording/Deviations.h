// What was answered otherwise than the adapters' descriptions say: a topology's faults and answers.
#pragma once

#include <vector>

#include "tools/recording/AdapterModel.h"

namespace recording {

// models: of the journal's adapters, in their order.

// Functions that fail, are missing or hang.
Json FaultsOf(const Journal& journal, const std::vector<AdapterModel>& models);
// Answers that are no plain failures.
Json AnswersOf(const Journal& journal, const std::vector<AdapterModel>& models);

} // namespace recording
