// The log as a file for the viewers of traces.
#include <fmt/format.h>

#include "tools/fcoectl/LogCommands.h"
#include "tools/fcoectl/LogSource.h"
#include "tools/fcoectl/Text.h"
#include "tools/log/Timeline.h"

namespace fcoectl {
namespace {

// A file that takes the place of another once it is whole.
class OutputFile {
  public:
    explicit OutputFile(const std::string& name) : m_path(FullPath(FromUtf8(name))), m_unfinished(m_path + L".part") {
        m_file = CreateFileW(m_unfinished.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                             FILE_ATTRIBUTE_NORMAL, nullptr);
        if (m_file == INVALID_HANDLE_VALUE)
            Fail(GetLastError());
    }
    ~OutputFile() {
        if (m_file == INVALID_HANDLE_VALUE)
            return;
        CloseHandle(m_file);
        DeleteFileW(m_unfinished.c_str());
    }
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void Write(std::string_view text) {
        DWORD written = 0;
        if (!WriteFile(m_file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) ||
            written != text.size())
            Fail(GetLastError());
    }
    void Finish() {
        const bool closed = CloseHandle(m_file);
        m_file = INVALID_HANDLE_VALUE;
        if (closed && MoveFileExW(m_unfinished.c_str(), m_path.c_str(), MOVEFILE_REPLACE_EXISTING))
            return;
        const DWORD error = GetLastError();
        DeleteFileW(m_unfinished.c_str());
        Fail(error);
    }
    std::string Name() const { return ToUtf8(m_path); }

  private:
    [[noreturn]] void Fail(DWORD error) const {
        throw Failure(Exit::OutputFailed,
                      fmt::format("\"{}\" cannot be written: {}", ToUtf8(m_path), SystemMessage(error)));
    }

    std::wstring m_path;
    std::wstring m_unfinished;
    HANDLE m_file;
};

void Write(Context& context, const std::wstring& log, const agentlog::Timeline::Sink& sink) {
    agentlog::Timeline timeline(agentlog::MeasureCounterRate(log), sink);
    static_cast<void>(ReadChosenLog(context, log, timeline));
    timeline.Finish();
    context.report.body["events"] = timeline.Events();
}

} // namespace

void WriteLogTimeline(Context& context) {
    const LogOptions& options = context.options.log;
    const std::wstring log = ChosenLog(options);
    if (options.output.empty()) {
        if (context.options.json)
            throw Failure(Exit::Usage, "--json needs --output: the timeline is a document of its own.");
        return Write(context, log, [&](std::string_view text) { context.output.Write(text); });
    }
    OutputFile file(options.output);
    Write(context, log, [&](std::string_view text) { file.Write(text); });
    file.Finish();
    context.report.body["output"] = file.Name();
    if (!context.options.json)
        context.output.Write(Printable(fmt::format("Wrote {} events to {}.",
                                                   context.report.body["events"].get<std::uint64_t>(), file.Name())) +
                             "\n");
}

} // namespace fcoectl
