#include "tools/fcoectl/diagnose/Diagnose.h"

#include <memory>
#include <new>

#include <fmt/format.h>

#include "tools/fcoectl/OutputFile.h"
#include "tools/fcoectl/Perform.h"
#include "tools/fcoectl/RecordCommand.h"
#include "tools/fcoectl/Text.h"
#include "tools/fcoectl/diagnose/RegistryDump.h"
#include "tools/fcoectl/diagnose/ZipArchive.h"
#include "tools/fcoectl/report/ReportCommand.h"
#include "tools/reading/LogPlace.h"

namespace fcoectl {
namespace {

constexpr wchar_t SUITE_KEY[] = L"SOFTWARE\\ORVAN";
constexpr std::size_t COPY_PIECE = 1 << 20;

struct CloseFile {
    using pointer = HANDLE;
    void operator()(HANDLE file) const { CloseHandle(file); }
};

// A log as it is; masked it is taken in whole lines, since a name may lie across two pieces.
class LogEntry {
  public:
    LogEntry(ZipArchive& zip, const reading::Mask* mask) : m_zip(zip), m_mask(mask) {}

    void Take(std::string_view piece) {
        if (!m_mask)
            return m_zip.Write(piece);
        m_rest += piece;
        const std::size_t end = m_rest.rfind('\n') + 1; // 0 when there is none
        m_zip.Write(m_mask->Apply(std::string_view(m_rest).substr(0, end)));
        m_rest.erase(0, end);
    }
    void Finish() {
        if (m_mask)
            m_zip.Write(m_mask->Apply(m_rest));
    }

  private:
    ZipArchive& m_zip;
    const reading::Mask* m_mask;
    std::string m_rest;
};

// A log that is not there is left out.
void AddLog(Context& context, ZipArchive& zip, const std::string& name, const std::wstring& path) {
    const HANDLE opened =
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (opened == INVALID_HANDLE_VALUE) {
        if (const DWORD error = GetLastError(); error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND)
            context.report.notes.push_back(
                fmt::format("\"{}\" cannot be read: {}", ToUtf8(path), SystemMessage(error)));
        return;
    }
    const std::unique_ptr<HANDLE, CloseFile> file(opened);
    zip.Begin(name);
    LogEntry log(zip, context.mask);
    std::string piece(COPY_PIECE, '\0');
    DWORD read = 0;
    bool isRead = false;
    while ((isRead = ReadFile(file.get(), piece.data(), COPY_PIECE, &read, nullptr) != FALSE) && read > 0)
        log.Take(std::string_view(piece).substr(0, read));
    if (!isRead)
        context.report.notes.push_back(
            fmt::format("\"{}\" could not be read to its end: {}", ToUtf8(path), SystemMessage(GetLastError())));
    log.Finish();
    zip.End();
    context.report.body["entries"].push_back(name);
}

// The logs that the agent has written, at the place that is registered and in the folder for temporary files.
void AddLogs(Context& context, ZipArchive& zip, const std::string& folder) {
    AddLog(context, zip, folder + "/FcoeAgnt.txt", reading::RegisteredLogFile());
    AddLog(context, zip, folder + "/temp/FcoeAgnt.txt", reading::TemporaryLogFile());
}

void Add(Context& context, ZipArchive& zip, const std::string& name, const std::string& text) {
    zip.Add(name, text);
    context.report.body["entries"].push_back(name);
}

std::string Masked(const Context& context, std::string text) {
    return context.mask ? context.mask->Apply(text) : std::move(text);
}

// What of it cannot be had spoils nothing else.
std::optional<Failure> AddRecording(Context& context, ZipArchive& zip) {
    try {
        const recording::Recording recorded = RecordNeighbours(context);
        Add(context, zip, "recording.json", recorded.topology);
        return HangOf(recorded, context);
    } catch (const Failure& failure) {
        context.report.notes.push_back(fmt::format("Nothing was recorded: {}", failure.what()));
    } catch (const std::bad_alloc&) {
        context.report.notes.emplace_back("Nothing was recorded: memory is exhausted.");
    }
    return std::nullopt;
}

} // namespace

void Diagnose(Context& context) {
    ZipArchive zip;
    context.report.body["entries"] = nlohmann::ordered_json::array();
    std::optional<Failure> failure;
    AddLogs(context, zip, "log-before"); // the agent begins its log anew when it is loaded
    Add(context, zip, "report.html", MakePage(context, failure));
    AddLogs(context, zip, "log");
    Add(context, zip, "registry.txt", Masked(context, DumpRegistry(SUITE_KEY)));
    Add(context, zip, "version.json", Masked(context, TextOf(PartOf(context, "version").document)));
    if (const auto hang = AddRecording(context, zip))
        failure = hang;
    const std::uint16_t entries = zip.Entries();
    OutputFile file(context.options.file);
    file.Write(zip.Finish());
    file.Finish();
    context.report.body["output"] = file.Name();
    if (!context.options.json)
        context.output.Write(Printable(fmt::format("Wrote {} files to {}.", entries, file.Name())) + "\n");
    if (failure)
        throw *failure;
}

} // namespace fcoectl
