#include "tools/reading/CallReplay.h"

#include <algorithm>
#include <utility>

namespace reading {
namespace {

using agentlog::Argument;
using agentlog::FoundMessage;
using agentlog::LogLine;
using agentlog::Step;
using agentlog::Weight;

constexpr char LIBRARY[] = "orvanhapi.dll";
constexpr char MUTEX[] = "Global\\CHBAAPINTMUT";
constexpr char SERVICE[] = "OrvanDCB";

bool Has(std::string_view text, std::string_view part) {
    return text.find(part) != text.npos;
}

bool SameLoss(const Loss& a, const Loss& b) {
    return a.what == b.what && a.how == b.how && a.function == b.function && a.status == b.status &&
           a.place == b.place && a.adapter == b.adapter;
}

} // namespace

void CallReplay::Take(const LogLine& line) {
    if (line.step == Step::Entry && FindLoggedOperation(line.operation).operation == Operation::Destructor)
        ++m_destroying;
    else if (m_destroying > 0)
        m_destroying += line.step == Step::Entry;
    if (m_destroying > 0) {
        m_destroying -= line.step == Step::Exit;
        return;
    }
    if (line.step == Step::Exit)
        return Leave(line);
    if (line.step == Step::Message && line.text.ends_with("Exception caught"))
        return HearException(m_frames.empty() ? Operation::Other : m_frames.back().operation.operation);
    Settle();
    if (line.step == Step::Entry)
        Enter(line);
    else
        Hear(line);
}

void CallReplay::Finish() {
    Settle();
    EndAdapter();
    Settle();
}

void CallReplay::Enter(const LogLine& line) {
    Frame frame;
    frame.operation = FindLoggedOperation(line.operation);
    switch (frame.operation.operation) {
    case Operation::Request:
        m_sawRequest = true;
        break;
    case Operation::AdapterList:
        m_list = AdapterList::Read;
        break;
    case Operation::AdapterObject:
        EndAdapter();
        BeginAdapter();
        break;
    case Operation::Open:
        m_open.reset();
        break;
    case Operation::PortObject:
        ++m_ports.made;
        break;
    case Operation::TargetObject:
        ++m_targets.made;
        break;
    case Operation::LunObject:
        ++m_luns.made;
        break;
    case Operation::VlanObject:
        ++m_vlans.made;
        break;
    case Operation::AdapterVlans:
        ++m_vlans.asked;
        break;
    case Operation::PortTargets:
        ++m_targets.asked;
        break;
    case Operation::TargetLuns:
        ++m_luns.asked;
        break;
    default:
        break;
    }
    m_frames.push_back(std::move(frame));
}

void CallReplay::Leave(const LogLine& line) {
    // Lines that were lost leave operations open that have ended.
    const LoggedOperation left = FindLoggedOperation(line.operation);
    while (!m_frames.empty() && m_frames.back().operation.operation != left.operation)
        m_frames.pop_back();
    if (m_frames.empty())
        return;
    const Frame frame = std::move(m_frames.back());
    m_frames.pop_back();
    if (!m_left)
        m_left = frame.succeeded || frame.failure || frame.more ? "" : frame.operation.function;
    LeaveCall(frame, line);
}

void CallReplay::LeaveCall(const Frame& frame, const LogLine& line) {
    const LoggedOperation& operation = frame.operation;
    const Cause refused = frame.failure.value_or(Cause{How::Refused, operation.function, {}, false});
    const Cause missing = {How::Missing, operation.function, {}, false};
    switch (operation.operation) {
    case Operation::Bind:
    case Operation::GetHandle:
        if (line.result == 0)
            m_open = refused;
        break;
    case Operation::Query:
        if (frame.failure)
            Lose(operation.refused, Root(refused));
        else if (!frame.succeeded)
            Lose(operation.missing, Root(missing));
        break;
    case Operation::Inquiry: {
        if (m_frames.empty())
            break;
        const What what = m_frames.back().inquiries++ == 0 ? What::SerialNumber : What::Vendor;
        if (!frame.succeeded)
            Lose(what, Root(frame.failure ? refused : missing));
        break;
    }
    case Operation::DcbConnection:
        if (line.result == 0)
            Lose(What::LinkState, refused);
        break;
    case Operation::DcbState:
        if (frame.failure || !frame.succeeded)
            Lose(What::LinkState, refused);
        break;
    case Operation::PortCount:
        m_ports.listed = line.result;
        if (line.result < 1)
            Lose(PortsPart(), Root(refused));
        break;
    case Operation::PortList:
        if (!frame.succeeded)
            Lose(PortsPart(), Root(frame.failure ? refused : missing));
        break;
    case Operation::PortReading:
        ++m_ports.reads;
        ++m_ports.asked;
        break;
    case Operation::ListCall:
        LeaveListCall(frame);
        break;
    case Operation::ListReading:
        LeaveList(frame);
        break;
    default:
        break;
    }
}

void CallReplay::LeaveListCall(const Frame& frame) {
    if (m_frames.empty() || m_frames.back().operation.operation != Operation::ListReading)
        return;
    Frame& list = m_frames.back();
    ++list.calls;
    list.succeeded = frame.succeeded;
    list.failure = frame.failure;
    if (frame.more)
        list.failure = Cause{How::Refused, frame.operation.function, 7, true}; // unless it is read once more
    else if (!frame.succeeded && !frame.failure)
        list.failure = Cause{How::Missing, frame.operation.function, {}, false};
}

void CallReplay::LeaveList(const Frame& frame) {
    const LoggedOperation& operation = frame.operation;
    // A first call has room for one entry only.
    const bool senseless = frame.succeeded && frame.calls == 1 && frame.count > 1;
    if (frame.failure)
        return Lose(operation.refused, Root(*frame.failure));
    if (senseless)
        return Lose(operation.refused, {How::Senseless, operation.function, {}, false});
    Level& level = operation.refused == What::Targets ? m_targets : operation.refused == What::Luns ? m_luns : m_vlans;
    ++level.reads;
    level.listed = std::max(level.listed, frame.count);
}

void CallReplay::Hear(const LogLine& line) {
    if (m_frames.empty())
        return;
    Frame& frame = m_frames.back();
    const Operation operation = frame.operation.operation;
    const bool counts = operation != Operation::Other || *frame.operation.function != '\0';
    const auto found = counts ? agentlog::FindMessage(line.text) : std::nullopt;
    if (!found)
        return;
    const std::string_view pattern = found->message->pattern;
    if (operation == Operation::AdapterList) {
        if (Has(pattern, "FCOE is not installed"))
            m_list = AdapterList::NotInstalled;
        else if (Has(pattern, "EnumerateAdapters failed"))
            m_list = m_supportThrew ? AdapterList::Threw : AdapterList::Failed;
        if (m_list == AdapterList::Threw)
            m_supportThrew = false; // it was the list itself
        return;
    }
    if (operation == Operation::Request) {
        if (found->message->argument == Argument::Adapter && !m_losses.empty() && m_losses.back().how == How::Threw)
            m_losses.back().adapter = found->argument;
        return;
    }
    if (operation == Operation::ListReading) {
        if (Has(pattern, "dwNoOf"))
            frame.count = std::max<std::int64_t>(frame.count, found->Number().value_or(0));
        else if (Has(pattern, "Memory Allocation failed"))
            frame.failure = Cause{How::Refused, frame.operation.function, {}, false};
        return;
    }
    if (operation == Operation::PciSlot) {
        if (found->message->weight == Weight::Problem && !m_open)
            Lose(What::PciLocation, {How::Refused, "SetupAPI", {}, false});
        return;
    }
    if (operation == Operation::DcbState)
        frame.succeeded = true; // it tells what the service said, or what failed
    if (found->message->weight == Weight::Problem || found->message->weight == Weight::Retried) {
        frame.failure = CauseOf(*found, frame.operation.function);
        frame.succeeded = false;
    } else if (Has(pattern, "ucceeded") && operation != Operation::Bind) { // there, only the module's loading
        frame.failure.reset();
        frame.succeeded = true;
    } else if (Has(pattern, "more data")) {
        frame.more = true;
    }
}

void CallReplay::HearException(Operation operation) {
    const std::string thrower = m_left.value_or("");
    m_left.reset();
    if (operation == Operation::AdapterList) {
        m_unsettled.clear();
        m_supportThrew = true;
        return;
    }
    if (operation != Operation::Request)
        return Settle();
    m_unsettled.clear();
    if (m_asked > 0)
        Lose(WholeOf(m_answer), {How::Threw, thrower, {}, false});
    m_ports = m_targets = m_luns = m_vlans = {};
    Settle();
}

CallReplay::Cause CallReplay::CauseOf(const FoundMessage& found, const char* function) {
    const agentlog::LogMessage& message = *found.message;
    Cause cause;
    cause.function = message.function && *message.function != '\0' ? message.function : function;
    if (message.argument == Argument::LibraryStatus || message.argument == Argument::HResult) {
        cause.status = found.Number();
        cause.isLibraryStatus = message.argument == Argument::LibraryStatus;
    }
    if (Has(message.pattern, "LoadLibrary")) {
        cause = {How::Unloaded, LIBRARY, found.Number(), false};
    } else if (Has(message.pattern, "utex")) {
        cause = {How::Withheld, MUTEX, {}, false};
    } else if (Has(message.pattern, "service is not running")) {
        cause = {How::Stopped, SERVICE, {}, false};
    } else if (Has(message.pattern, "GetProcAddress") || Has(message.pattern, "== NULL") ||
               Has(message.pattern, "m_bEntryPtsInited")) {
        cause.how = How::Missing;
    }
    // Of the three that bind an adapter only this one says so.
    if (cause.function.find(',') != cause.function.npos &&
        (Has(message.pattern, "Error Getting Handle") || Has(message.pattern, "GetControllerHandle")))
        cause.function = "ORVAN_GetFCoEControllerInfo";
    return cause;
}

void CallReplay::BeginAdapter() {
    ++m_asked;
    m_open.reset();
    m_ports = m_targets = m_luns = m_vlans = {};
}

void CallReplay::EndAdapter() {
    Compare(m_ports, PortsPart(), "ORVAN_GetFCPortList");
    Compare(m_targets, What::Targets, "ORVAN_GetTargetList");
    Compare(m_luns, What::Luns, "GetFcpTargetMapping");
    Compare(m_vlans, What::Vlans, "ORVAN_GetVlanIdList");
    m_ports = m_targets = m_luns = m_vlans = {};
}

// A list of which nothing came out: its entries belong to none of the objects above, or were never filled. Only where
// every one of them has read the list, rather than told what it knew. One that gives less than it announced may have
// become shorter meanwhile.
void CallReplay::Compare(const Level& level, What what, const char* function) {
    const bool told = std::ranges::any_of(m_losses, [&](const Loss& loss) {
        return loss.place + 1 == m_asked && (loss.what == what || loss.what == PortsPart());
    });
    if (!told && level.reads > 0 && level.reads == level.asked && level.listed > 0 && level.made == 0)
        Lose(what, {How::Senseless, function, {}, false});
}

void CallReplay::Lose(What what, Cause cause) {
    if (!Shows(m_answer, what))
        return;
    Loss loss;
    loss.what = what;
    loss.how = cause.how;
    loss.function = std::move(cause.function);
    loss.status = cause.status;
    loss.isLibraryStatus = cause.isLibraryStatus;
    if (m_asked > 0)
        loss.place = m_asked - 1;
    m_unsettled.push_back(std::move(loss));
}

void CallReplay::Settle() {
    for (Loss& loss : m_unsettled) {
        const auto known = std::ranges::find_if(m_losses, [&](const Loss& other) { return SameLoss(other, loss); });
        if (known != m_losses.end())
            ++known->times;
        else
            m_losses.push_back(std::move(loss));
    }
    m_unsettled.clear();
    m_left.reset();
}

} // namespace reading
