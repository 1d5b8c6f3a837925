// Common resource strings that records show again and again.
#pragma once

#include <windows.h>

#include "Common/Src/ProcessExit.h"
#include "FcoeAgent/QelString.h"

// The text of the resource, loaded on first use and kept. Any thread.
template <UINT uId> const CQelString& ResourceText() {
    static CQelLeftAtProcessEnd<CQelString> text([] {
        CQelString strLoaded;
        strLoaded.LoadCommonResString(uId);
        return strLoaded;
    }());
    return text.Get();
}
