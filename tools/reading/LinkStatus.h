// What the FCoE link status of an adapter means to an administrator.
#pragma once

#include <string>
#include <vector>

#include "FcoeAgent/QelString.h"

namespace reading {

struct LinkStatus {
    const char* state;   // for JSON
    const char* meaning; // a sentence
};

// Of a link that carries FCoE.
inline constexpr LinkStatus USABLE_LINK{"usable", "FCoE can be used: its priority has flow control."};
// Of an adapter that was not read: what it shows of its link means nothing.
inline constexpr LinkStatus UNREAD_LINK{"unread", "The adapter could not be read; the problems tell why."};

// The agent tells the status as a text of the common library; the text is looked up there. An empty text has the state
// "unread", one that is not among them "unrecognized".
LinkStatus ExplainLinkStatus(const CQelString& status);

// Each state once, with "unread" and "unrecognized".
std::vector<LinkStatus> LinkStatuses();

} // namespace reading
