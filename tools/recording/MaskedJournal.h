// Stand-ins for what identifies a machine and its fabric, in texts and in bytes.
#pragma once

#include "tools/reading/Mask.h"
#include "tools/recording/Journal.h"

namespace recording {

// Names, serial numbers, World Wide Names, MAC addresses and GUIDs of the whole journal: the same stand-in for the same
// text, or bytes, wherever it stands, and in what fcoectl prints.
void MaskJournal(Journal& journal, reading::Mask& mask);

} // namespace recording
