// A module of the suite with the common code in it. Tests load copies of it under names of their own.
#include "Common/Src/QelSecure.h"

#include <cstdlib>

#include "tests/system/sibling/Sibling.h"

namespace {

// Copies a text that is too long while the module goes.
struct AtTheEnd {
    EndReport* report = nullptr;
    ~AtTheEnd() {
        if (!report)
            return;
        wchar_t text[2];
        report->handler = _get_invalid_parameter_handler();
        report->result = QelSafeCopy(L"Sibling", __LINE__, text, 2, L"too long");
        if (report->tell)
            report->tell(*report);
    }
};

// Made before every other static object, and so destroyed after them.
#ifdef _MSC_VER
#pragma warning(disable : 4073)
#pragma init_seg(lib)
AtTheEnd g_atTheEnd;
#else
__attribute__((init_priority(101))) AtTheEnd g_atTheEnd;
#endif

} // namespace

int SiblingCopy(std::size_t capacity, const wchar_t* source) {
    wchar_t text[32];
    return QelSafeCopy(L"Sibling", __LINE__, text, capacity, source);
}

void SiblingCopyAtTheEnd(EndReport* report) {
    g_atTheEnd.report = report;
}
