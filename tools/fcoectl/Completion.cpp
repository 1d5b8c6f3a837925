#include "tools/fcoectl/Completion.h"

#include <algorithm>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "tools/fcoectl/OptionTable.h"

namespace fcoectl {
namespace {

using Words = std::vector<std::string>;

constexpr char BASH[] = R"(# bash completion of fcoectl: source <(fcoectl completion bash)
_fcoectl() {{
    local current=${{COMP_WORDS[COMP_CWORD]}} previous=${{COMP_WORDS[COMP_CWORD-1]}} command="" head="" i
    local next="{first}" options="" columns="" files=""
    COMPREPLY=()
    for ((i = 1; i < COMP_CWORD; ++i)); do
        case ${{COMP_WORDS[i]}} in
            {values}) ((++i)) ;;
            -*) ;;
            *) [[ " $next " == *" ${{COMP_WORDS[i]}} "* ]] || continue
               command+="${{command:+ }}${{COMP_WORDS[i]}}"
               next=""
               case $command in
{groups}               esac ;;
        esac
    done
    case $command in
{commands}    esac
    case $previous in
{choices}        --columns | --sort)
            [[ $current == *,* ]] && head=${{current%,*}},
            COMPREPLY=($(compgen -P "$head" -W "$columns" -- "${{current##*,}}"))
            compopt -o nospace 2>/dev/null
            return ;;
        --where)
            COMPREPLY=($(compgen -S = -W "$columns" -- "$current"))
            compopt -o nospace 2>/dev/null
            return ;;
        --agent | --file | --output) COMPREPLY=($(compgen -f -- "$current")); return ;;
        --library-dir) COMPREPLY=($(compgen -d -- "$current")); return ;;
        {values}) return ;;
    esac
    case $current in
        -*) COMPREPLY=($(compgen -W "$options --help" -- "$current")) ;;
        *) COMPREPLY=($(compgen $files -W "$next" -- "$current")) ;;
    esac
}}
complete -F _fcoectl fcoectl fcoectl.exe
)";

constexpr char POWERSHELL[] =
    R"(# PowerShell completion of fcoectl: fcoectl completion powershell | Out-String | Invoke-Expression
Register-ArgumentCompleter -Native -CommandName fcoectl, fcoectl.exe -ScriptBlock {{
    param($wordToComplete, $commandAst, $cursorPosition)
    $next = @{{
{groups}    }}
    $options = @{{
{commands}    }}
    $columns = @{{
{columns}    }}
    $choices = @{{
{choices}    }}
    $takesValue = @({values})
    $command = ''
    $previous = ''
    $elements = @($commandAst.CommandElements | Select-Object -Skip 1 |
        Where-Object {{ $_.Extent.EndOffset -lt $cursorPosition }} | ForEach-Object {{ $_.Extent.Text }})
    foreach ($element in $elements) {{
        if (-not ($takesValue -ccontains $previous) -and $next[$command] -ccontains $element) {{
            $command = ("$command $element").Trim()
        }}
        $previous = $element
    }}
    $words = if ($choices.ContainsKey($previous)) {{ $choices[$previous] }}
        elseif ('--columns', '--sort' -ccontains $previous) {{ $columns[$command] }}
        elseif ('--where' -ceq $previous) {{ $columns[$command] | ForEach-Object {{ "$_=" }} }}
        elseif ($takesValue -ccontains $previous) {{ @() }}
        elseif ($wordToComplete.StartsWith('-')) {{ @($options[$command]) + '--help' }}
        else {{ $next[$command] }}
    $words | Where-Object {{ $_ -and $_.StartsWith($wordToComplete) }} | ForEach-Object {{
        [System.Management.Automation.CompletionResult]::new($_, $_, 'ParameterValue', $_)
    }}
}}
)";

// Every name of the options that fulfil the condition.
template <class Condition> Words NamesOf(Condition condition) {
    Words names;
    for (const Option& option : OptionTable()) {
        if (!condition(option))
            continue;
        const std::string_view all = option.names;
        const auto comma = all.find(',');
        for (const std::string_view name : {all.substr(0, comma), all.substr(comma + 1)})
            if (std::ranges::find(names, name) == names.end())
                names.emplace_back(name);
    }
    return names;
}

Words OptionsOf(const Command& command) {
    return NamesOf([&](const Option& option) { return Has(command, option); });
}

Words KeysOf(const Command& command) {
    Words keys;
    if (command.columns)
        for (const SheetColumn& column : command.columns({}))
            keys.push_back(column.key);
    return keys;
}

// What may follow nothing, "vport" and so on: the next words of the commands.
std::vector<std::pair<std::string, Words>> NextWords(std::span<const Command> commands) {
    std::vector<std::pair<std::string, Words>> next{{"", {}}};
    const auto add = [&](const std::string& group, const std::string& word) {
        auto found = std::ranges::find(next, group, &std::pair<std::string, Words>::first);
        if (found == next.end())
            found = next.insert(next.end(), {group, {}});
        if (std::ranges::find(found->second, word) == found->second.end())
            found->second.push_back(word);
    };
    for (const Command& command : commands) {
        const std::string name = command.name;
        const auto blank = name.find(' ');
        add("", name.substr(0, blank));
        if (blank != std::string::npos)
            add(name.substr(0, blank), name.substr(blank + 1));
    }
    return next;
}

std::string Quoted(const Words& words) {
    Words quoted;
    for (const std::string& word : words)
        quoted.push_back("'" + word + "'");
    return fmt::format("{}", fmt::join(quoted, ", "));
}

Words WithValues() {
    return NamesOf([](const Option& option) { return option.value == ValueOf::Needed; });
}

} // namespace

std::string BashCompletion(std::span<const Command> commands) {
    const auto next = NextWords(commands);
    std::string groups;
    for (const auto& [group, words] : next)
        if (!group.empty())
            groups += fmt::format("                   \"{}\") next=\"{}\" ;;\n", group, fmt::join(words, " "));
    std::string options;
    for (const Command& command : commands)
        options += fmt::format("        \"{}\") options=\"{}\" columns=\"{}\" files={} ;;\n", command.name,
                               fmt::join(OptionsOf(command), " "), fmt::join(KeysOf(command), " "),
                               command.takes & TAKES_FILE ? "-f" : "");
    std::string choices;
    for (const Option& option : OptionTable())
        if (option.choices)
            choices += fmt::format("        {}) COMPREPLY=($(compgen -W \"{}\" -- \"$current\")); return ;;\n",
                                   fmt::join(NamesOf([&](const Option& other) { return &other == &option; }), " | "),
                                   option.choices);
    return fmt::format(BASH, fmt::arg("first", fmt::format("{}", fmt::join(next.front().second, " "))),
                       fmt::arg("values", fmt::format("{}", fmt::join(WithValues(), " | "))),
                       fmt::arg("groups", groups), fmt::arg("commands", options), fmt::arg("choices", choices));
}

std::string PowerShellCompletion(std::span<const Command> commands) {
    std::string groups;
    for (const auto& [group, words] : NextWords(commands))
        groups += fmt::format("        '{}' = @({})\n", group, Quoted(words));
    std::string options;
    std::string columns;
    for (const Command& command : commands) {
        options += fmt::format("        '{}' = @({})\n", command.name, Quoted(OptionsOf(command)));
        if (command.columns)
            columns += fmt::format("        '{}' = @({})\n", command.name, Quoted(KeysOf(command)));
    }
    std::string choices;
    for (const Option& option : OptionTable())
        if (option.choices)
            for (const std::string& name : NamesOf([&](const Option& other) { return &other == &option; }))
                choices += fmt::format("        '{}' = '{}' -split ' '\n", name, option.choices);
    return fmt::format(POWERSHELL, fmt::arg("groups", groups), fmt::arg("commands", options),
                       fmt::arg("columns", columns), fmt::arg("choices", choices),
                       fmt::arg("values", Quoted(WithValues())));
}

} // namespace fcoectl
