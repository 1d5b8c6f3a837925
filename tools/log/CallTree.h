// The calls of one request. Those of one kind in one place of the tree are one node, so that the tree of a request that
// reads ten thousand LUNs is as large as that of one.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tools/log/Tracker.h"

namespace agentlog {

class CallTree : public Listener {
  public:
    struct Answer {
        std::uint64_t count = 0;
        Weight weight = Weight::Progress;
        Argument kind = Argument::Other;
        std::optional<std::uint32_t> number;
    };
    struct Node {
        std::string operation; // with its class; "adapter 1" for what is done for the first adapter
        const LogOperation* known = nullptr;
        std::size_t parent = 0;
        std::vector<std::size_t> children;
        std::uint64_t calls = 0;
        double milliseconds = 0; // of all calls
        double longest = 0;
        std::uint64_t unfinished = 0;                 // calls whose end is not in the log
        std::map<std::string, std::uint64_t> results; // how often each; an operation without a result has none
        std::map<std::string, Answer> answers;        // what the log says of the neighbour's answers, and of failures
    };

    // wanted: the request's number.
    explicit CallTree(std::uint64_t wanted) : m_wanted(wanted) {}

    // The first is the request itself; empty when there is no such request.
    const std::vector<Node>& Nodes() const { return m_nodes; }
    const std::optional<Request>& Found() const { return m_request; }

    void OnEntry(const OpenCalls& open, const LogLine& line) override;
    void OnMessage(const OpenCalls& open, const LogLine& line, const FoundMessage* found) override;
    void OnExit(const OpenCalls& open, const LogLine* exit, double milliseconds) override;
    void OnFinished(const Request& request) override;

  private:
    std::size_t Child(std::size_t parent, const std::string& operation);
    void AddAnswer(std::size_t node, const std::string& text, const Answer& answer);
    bool IsWanted(const OpenCalls& open) const { return open.request && open.request->number == m_wanted; }

    const std::uint64_t m_wanted;
    std::optional<Request> m_request;
    std::vector<Node> m_nodes;
    std::vector<std::size_t> m_path; // the nodes of the calls that are open
    std::size_t m_adapter = 0;       // the node below which the request works; 0: the request itself
};

} // namespace agentlog
