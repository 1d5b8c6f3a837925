#include "tools/log/CallTree.h"

#include <algorithm>

namespace agentlog {
namespace {

constexpr std::string_view ADAPTER_BEGINS = "CQelFcoeAgentWin::GetHBAObject";
constexpr std::size_t MOST_ANSWERS = 12; // of a node; others are counted together
constexpr std::size_t MOST_NODES = 20000;
constexpr char OTHERS[] = "(others)";

} // namespace

std::size_t CallTree::Child(std::size_t parent, const std::string& operation) {
    for (const std::size_t child : m_nodes[parent].children)
        if (m_nodes[child].operation == operation)
            return child;
    if (m_nodes.size() == MOST_NODES)
        return parent;
    Node node;
    node.operation = operation;
    node.known = FindOperation(operation);
    node.parent = parent;
    m_nodes.push_back(std::move(node));
    m_nodes[parent].children.push_back(m_nodes.size() - 1);
    return m_nodes.size() - 1;
}

void CallTree::OnEntry(const OpenCalls& open, const LogLine& line) {
    if (!IsWanted(open))
        return;
    const Call& call = open.calls[open.depth - 1];
    if (m_nodes.empty()) {
        m_nodes.emplace_back().operation = call.operation;
        m_path = {0};
        return;
    }
    std::size_t parent = m_path.back();
    if (parent == 0) {
        if (line.operation == ADAPTER_BEGINS)
            m_adapter = Child(0, "adapter " + std::to_string(open.request->adapters));
        parent = m_adapter;
    }
    m_path.push_back(Child(parent, call.operation));
}

void CallTree::AddAnswer(std::size_t node, const std::string& text, const Answer& answer) {
    auto& answers = m_nodes[node].answers;
    const bool room = answers.size() < MOST_ANSWERS || answers.contains(text);
    Answer& counted = answers.try_emplace(room ? text : OTHERS, answer).first->second;
    ++counted.count;
}

void CallTree::OnMessage(const OpenCalls& open, const LogLine& line, const FoundMessage* found) {
    if (!IsWanted(open) || m_path.empty())
        return;
    const std::size_t node = m_path.back();
    const Weight weight = found ? found->message->weight : Weight::Normal;
    const bool progress = weight == Weight::Progress;
    if (progress && (!m_nodes[node].known || line.text.find(" Before calling ") != std::string_view::npos))
        return;
    Answer answer{0, weight, Argument::Other, std::nullopt};
    if (found && found->message->argument != Argument::Other && found->message->argument != Argument::Adapter) {
        answer.kind = found->message->argument;
        answer.number = found->Number();
    }
    AddAnswer(node == 0 ? m_adapter : node, std::string(line.text), answer);
}

void CallTree::OnExit(const OpenCalls& open, const LogLine* exit, double milliseconds) {
    if (!IsWanted(open) || m_path.empty())
        return;
    const Call& call = open.calls[open.depth - 1];
    Node& node = m_nodes[m_path.back()];
    ++node.calls;
    node.milliseconds += milliseconds;
    node.longest = std::max(node.longest, milliseconds);
    if (!exit)
        ++node.unfinished;
    else if (!exit->resultText.empty())
        ++node.results[std::string(exit->resultText)];
    if (exit && call.known && call.known->answers && !call.answered)
        AddAnswer(m_path.back(), "(no answer)", {0, Weight::Problem, Argument::Other, std::nullopt});
    // What is done for an adapter takes as long as its parts.
    if (m_path.size() == 2 && node.parent != 0) {
        Node& adapter = m_nodes[node.parent];
        adapter.calls = 1;
        adapter.milliseconds += milliseconds;
        adapter.longest = adapter.milliseconds;
    }
    m_path.pop_back();
}

void CallTree::OnFinished(const Request& request) {
    if (request.number == m_wanted)
        m_request = request;
}

} // namespace agentlog
