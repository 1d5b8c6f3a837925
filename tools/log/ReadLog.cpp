#include "tools/log/ReadLog.h"

#include <optional>

namespace agentlog {

ReadResult ReadLog(const std::wstring& path, Listener& listener, const std::function<bool()>& wait) {
    ReadResult result;
    LogFile file;
    std::optional<Tracker> tracker;
    tracker.emplace(MeasureCounterRate(path), listener);
    if (!file.Open(path)) {
        result.error = file.Error();
        return result;
    }
    const auto Count = [&] {
        result.bytes += file.Offset();
        result.lines += tracker->Lines();
        result.unreadable += tracker->Unreadable();
    };
    for (;;) {
        while (const auto line = file.Next())
            tracker->Take(*line);
        if (!wait || !wait())
            break;
        if (!file.WasRewritten())
            continue;
        Count();
        tracker->End();
        tracker.emplace(MeasureCounterRate(path), listener);
        file.GoTo(0);
    }
    result.cut = !file.Unfinished().empty();
    if (result.cut) // as far as it goes: a process that ended in the middle of a line, or a copy of a part
        tracker->Take(file.Unfinished());
    result.error = file.Error();
    Count();
    result.bytes += file.Unfinished().size();
    tracker->End();
    return result;
}

} // namespace agentlog
