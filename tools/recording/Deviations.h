// What was answered otherwise than the adapters' descriptions say: a topology's faults and answers.
#pragma once

#include <vector>

#include "tools/recording/AdapterModel.h"

namespace recording {

// Functions that fail, are missing or hang.
Json FaultsOf(const Journal& journal);
// Answers that are no plain failures. models: of the journal's adapters, in their order.
Json AnswersOf(const Journal& journal, const std::vector<AdapterModel>& models);

} // namespace recording
