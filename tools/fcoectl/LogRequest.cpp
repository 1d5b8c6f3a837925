// The calls of one request as a tree.
#include <fmt/format.h>

#include "tools/fcoectl/LogCommands.h"
#include "tools/fcoectl/LogSource.h"
#include "tools/fcoectl/Table.h"
#include "tools/fcoectl/Text.h"
#include "tools/log/CallTree.h"

namespace fcoectl {
namespace {

using Json = nlohmann::ordered_json;
using agentlog::CallTree;

// "GetTargetList failed with error - 3  [invalid handle (status 3)]"
std::string AnswerText(const std::string& text, const CallTree::Answer& answer) {
    const std::string number = agentlog::NumberText(answer.kind, answer.number);
    return agentlog::Utf8(text) + (number.empty() ? "" : "  [" + number + "]");
}

bool IsProblem(agentlog::Weight weight) {
    return weight == agentlog::Weight::Problem || weight == agentlog::Weight::Retried;
}

std::string ResultsText(const CallTree::Node& node) {
    std::string text;
    for (const auto& [result, count] : node.results) {
        text += "  " + result;
        if (node.results.size() > 1)
            text += fmt::format(" x{}", count);
    }
    if (node.unfinished > 0)
        text += "  unfinished";
    return text;
}

class TreeText {
  public:
    explicit TreeText(const std::vector<CallTree::Node>& nodes) : m_nodes(nodes) {
        m_text = fmt::format("{:>12}  {:>7}  CALL\n{:->12}  {:->7}  {:->4}\n", "MS", "CALLS", "", "", "");
        Add(0, 0);
    }
    const std::string& Text() const { return m_text; }

  private:
    void Add(std::size_t index, std::size_t depth) {
        const CallTree::Node& node = m_nodes[index];
        const std::string indent(2 * depth, ' ');
        m_text += Printable(fmt::format(
                      "{:>12.3f}  {:>7}  {}{}{}{}", node.milliseconds, node.calls, indent, node.operation,
                      node.known ? fmt::format("  asks {}", node.known->function) : "", ResultsText(node))) +
                  '\n';
        for (const auto& [text, answer] : node.answers)
            m_text += Printable(fmt::format("{:>12}  {:>7}  {}  {} {}", "", answer.count, indent,
                                            IsProblem(answer.weight) ? "!" : "-", AnswerText(text, answer))) +
                      '\n';
        for (const std::size_t child : node.children)
            Add(child, depth + 1);
    }

    const std::vector<CallTree::Node>& m_nodes;
    std::string m_text;
};

Json NodeJson(const std::vector<CallTree::Node>& nodes, std::size_t index) {
    const CallTree::Node& node = nodes[index];
    Json object = {{"operation", node.operation},
                   {"neighbour", node.known ? agentlog::NameOf(node.known->neighbour) : ""},
                   {"function", node.known ? node.known->function : ""},
                   {"count", node.calls},
                   {"unfinished", node.unfinished},
                   {"milliseconds", node.milliseconds},
                   {"longest_milliseconds", node.longest},
                   {"results", Json::object()},
                   {"answers", Json::array()},
                   {"calls", Json::array()}};
    for (const auto& [result, count] : node.results)
        object["results"][result] = count;
    for (const auto& [text, answer] : node.answers)
        object["answers"].push_back({{"text", agentlog::Utf8(text)},
                                     {"status_text", agentlog::NumberText(answer.kind, answer.number)},
                                     {"problem", IsProblem(answer.weight)},
                                     {"count", answer.count}});
    for (const std::size_t child : node.children)
        object["calls"].push_back(NodeJson(nodes, child));
    return object;
}

} // namespace

void ShowLogRequest(Context& context) {
    const std::uint64_t number = context.options.log.request;
    const std::wstring file = ChosenLog(context.options.log);
    CallTree tree(number);
    static_cast<void>(ReadChosenLog(context, file, tree));
    if (!tree.Found() || tree.Nodes().empty())
        throw Failure(Exit::LogUnreadable, fmt::format("{} has no request {}.", ToUtf8(file), number),
                      {"'fcoectl log requests' lists those that it has."});
    context.report.body["request"] = number;
    context.report.body["time"] = TimeText(tree.Found()->time);
    context.report.body["problems"] = tree.Found()->problems;
    if (context.options.json)
        context.report.body["calls"].push_back(NodeJson(tree.Nodes(), 0));
    else
        context.output.Write(TreeText(tree.Nodes()).Text());
}

} // namespace fcoectl
