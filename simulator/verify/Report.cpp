#include <cinttypes>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "simulator/verify/Child.h"
#include "simulator/verify/GuardedBuffer.h"

namespace verify {
namespace {

using json = nlohmann::ordered_json;

HANDLE s_pipe;

void Write(const char* line, std::size_t size) {
    DWORD written = 0;
    WriteFile(s_pipe, line, static_cast<DWORD>(size), &written, nullptr);
}

void Write(const json& object) {
    constexpr bool ASCII = true;
    const std::string line = object.dump(-1, ' ', ASCII, json::error_handler_t::replace) + "\n";
    Write(line.data(), line.size());
}

class PipeListener final : public Listener {
  public:
    void Asking(std::string_view function) override { Write({{"asking", function}}); }
    void Found(const Deviation& deviation) override {
        Write({{"code", deviation.code},
               {"function", deviation.function},
               {"adapter", deviation.adapter},
               {"found", deviation.found}});
    }
    void Waiting(unsigned milliseconds) override { Write({{"waiting", milliseconds}}); }
};

const char* NameOf(DWORD code) {
    switch (code) {
    case EXCEPTION_ACCESS_VIOLATION:
        return "access violation";
    case EXCEPTION_STACK_OVERFLOW:
        return "stack overflow";
    case EXCEPTION_INT_DIVIDE_BY_ZERO:
        return "division by zero";
    case EXCEPTION_ILLEGAL_INSTRUCTION:
        return "illegal instruction";
    case 0xE06D7363:
        return "C++ exception of another compiler";
    default:
        return "exception";
    }
}

// The heap may be broken: nothing is allocated.
LONG WINAPI ReportFault(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    const DWORD code = record.ExceptionCode;
    static char line[256];
    int size = 0;
    if (code == EXCEPTION_ACCESS_VIOLATION && record.NumberParameters >= 2) {
        const ULONG_PTR address = record.ExceptionInformation[1];
        const bool writes = record.ExceptionInformation[0] == 1;
        const bool overrun = writes && GuardedBuffer::IsBehindOne(reinterpret_cast<const void*>(address));
        if (overrun)
            size = std::snprintf(line, sizeof line, "{\"fault\": \"overrun\", \"found\": \"behind the buffer\"}\n");
        else
            size = std::snprintf(line, sizeof line,
                                 "{\"fault\": \"crash\", \"found\": \"access violation, %s %016" PRIX64 "\"}\n",
                                 writes ? "writing" : "reading", static_cast<std::uint64_t>(address));
    } else {
        size =
            std::snprintf(line, sizeof line, "{\"fault\": \"crash\", \"found\": \"%s %08lX\"}\n", NameOf(code), code);
    }
    Write(line, static_cast<std::size_t>(size));
    TerminateProcess(GetCurrentProcess(), code);
    return EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

void ReportTo(HANDLE pipe, Neighbour neighbour, const Request& request) {
    s_pipe = pipe;
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    SetUnhandledExceptionFilter(ReportFault);
    PipeListener listener;
    try {
        const Outcome outcome =
            neighbour == Neighbour::Library ? AskLibrary(request, listener) : AskCoreAgent(request, listener);
        Write({{"adapters", outcome.adapters}, {"calls", outcome.calls}});
    } catch (const std::exception& error) {
        Write({{"error", error.what()}});
    }
}

} // namespace verify
