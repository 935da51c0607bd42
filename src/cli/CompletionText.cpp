#include "cli/CompletionText.h"

#include "cli/OptionTable.h"
#include "cli/OptionValues.h"

#include <vector>

namespace cli {

namespace {

constexpr const char* completionOrigin =
    "# Completion of the command pansharp. Made from its table of options.\n";

std::string Join(const std::vector<std::string>& words, const char* separator) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : separator) + word;
    return text;
}

std::string OptionWords(const CommandEntry& command) {
    std::vector<std::string> words;
    for (const OptionEntry& option : command.options)
        for (const std::string& name : SplitText(option.names, ','))
            words.push_back(name);
    return Join(words, " ");
}

std::string CommandWords() {
    std::vector<std::string> words;
    for (const CommandEntry& command : Commands())
        words.emplace_back(command.name);
    return Join(words, " ");
}

/// The lines of a bash "case" for the values of a command's options.
std::string BashValues(const CommandEntry& command, const std::string& methods) {
    std::string lines;
    for (const OptionEntry& option : command.options) {
        if (option.IsFlag()) continue;
        std::vector<std::string> patterns;
        for (const std::string& name : SplitText(option.names, ','))
            patterns.push_back("'" + std::string(command.name) + " " + name + "'");
        const std::string choices = Join(ChoicesOf(option, methods), " ");
        const ValueKind kind = KindOf(option);
        lines += "        " + Join(patterns, " | ") + ") " +
                 (!choices.empty()            ? "words='" + choices + "'"
                  : kind == ValueKind::File   ? "action=file"
                  : kind == ValueKind::Folder ? "action=directory"
                                              : "action=none") +
                 " ;;\n";
    }
    return lines;
}

/// Escapes a description within quotes and brackets, except colons.
std::string ZshText(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        if (c == '\'')
            escaped += "'\\'";
        else if (c == '[' || c == ']' || c == ':' || c == '\\')
            escaped += '\\';
        escaped += c;
    }
    return escaped;
}

/// The first sentence of the help.
std::string Brief(std::string_view help) {
    std::string_view brief = help.substr(0, help.find(';'));
    if (const auto stop = brief.find(". "); stop != std::string_view::npos) brief = brief.substr(0, stop);
    return std::string(brief.ends_with('.') ? brief.substr(0, brief.size() - 1) : brief);
}

/// One argument of _arguments.
std::string ZshOption(const OptionEntry& option, const std::string& methods) {
    const std::vector<std::string> names = SplitText(option.names, ',');
    const bool one = option.CountValues() == 1;
    std::vector<std::string> forms;
    forms.reserve(names.size());
    for (const std::string& name : names)
        forms.push_back(name + (!one ? "" : name.starts_with("--") ? "=" : "+"));
    std::string text = option.repeatable ? "'*'" : "'(" + Join(names, " ") + ")'";
    text += forms.size() > 1 ? "{" + Join(forms, ",") + "}" : forms.front();
    text += "'[" + ZshText(Brief(option.help)) + "]";
    if (!option.IsFlag()) {
        const std::string choices = Join(ChoicesOf(option, methods), " ");
        const ValueKind kind = KindOf(option);
        const std::string action = !choices.empty()            ? "(" + ZshText(choices) + ")"
                                   : kind == ValueKind::File   ? "_files"
                                   : kind == ValueKind::Folder ? "_files -/"
                                                               : " ";
        for (const std::string& value : SplitText(option.value, ' '))
            text += ":" + ZshText(value) + ":" + action;
    }
    return text + "'";
}

std::string ZshArguments(const CommandEntry& command, const std::string& methods, const char* indent) {
    std::string text;
    for (const OptionEntry& option : command.options)
        text += " \\\n" + std::string(indent) + ZshOption(option, methods);
    return text;
}

} // namespace

std::string BashCompletion(const std::string& methods) {
    std::string commands, values;
    for (const CommandEntry& command : Commands()) {
        commands += "        " + std::string(command.name) + ") options='" + OptionWords(command) + "'" +
                    (command.positionals.empty() ? "" : " action=file") + " ;;\n";
        values += BashValues(command, methods);
    }
    return std::string(completionOrigin) + R"(
_pansharp() {
    local current previous command= options words= action=none i
    COMPREPLY=()
    # Readline treats "=" as a separate word: --extent=pan, COMPRESS=DEFLATE.
    local -a line=()
    for ((i = 1; i <= COMP_CWORD; ++i)); do
        if ((i > 1)) && [[ ${COMP_WORDS[i]} == =* || ${COMP_WORDS[i - 1]} == = ]]; then
            line[-1]+=${COMP_WORDS[i]}
        else
            line+=("${COMP_WORDS[i]}")
        fi
    done
    current=${line[-1]} previous=
    ((${#line[@]} > 1)) && previous=${line[-2]}
    for i in "${line[@]:0:${#line[@]}-1}"; do
        [[ $i == -* ]] || { command=$i; break; }
    done
    [[ $current != --*=* ]] || { previous=${current%%=*} current=${current#*=}; }

    case $command in
)" + commands +
           "        '') words='" + CommandWords() + "' options='" + OptionWords(Program()) + R"(' ;;
        *) return ;;
    esac
    case "$command $previous" in
)" + values +
           R"(        *) [[ $current != -* ]] || words=$options ;;
    esac

    if [[ -n $words ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
        # The part before "=" is already on the line.
        [[ $current != *=* || $COMP_WORDBREAKS != *=* ]] || COMPREPLY=("${COMPREPLY[@]#"${current%=*}="}")
    elif [[ $action != none ]]; then
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -A "$action" -- "$current")
    fi
}
complete -F _pansharp pansharp
)";
}

std::string ZshCompletion(const std::string& methods) {
    std::string described, cases;
    for (const CommandEntry& command : Commands()) {
        described +=
            "                '" + std::string(command.name) + ":" + ZshText(Brief(command.summary)) + "'\n";
        cases += "                " + std::string(command.name) + ") _arguments -s" +
                 ZshArguments(command, methods, "                    ");
        if (!command.positionals.empty()) cases += " \\\n                    '*:raster:_files'";
        cases += " ;;\n";
    }
    return "#compdef pansharp\n" + std::string(completionOrigin) + R"(
_pansharp() {
    local context state state_descr line
    typeset -A opt_args
    _arguments -C)" +
           ZshArguments(Program(), methods, "        ") + R"( \
        '1:command:->command' '*::argument:->argument'
    case $state in
        command)
            local -a commands=(
)" + described +
           R"(            )
            _describe command commands ;;
        argument)
            case $words[1] in
)" + cases +
           R"(            esac ;;
    esac
}

_pansharp "$@"
)";
}

} // namespace cli
