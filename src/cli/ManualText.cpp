#include "cli/ManualText.h"

#include "cli/OptionTable.h"

namespace cli {

namespace {

constexpr const char* manualOrigin = "Made from the table of options by the target 'manual'; edits go there.";

std::string Upper(std::string_view text) {
    std::string upper(text);
    for (char& c : upper)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return upper;
}

/// Escapes a text for roff: hyphens can be copied, and no line is a request by accident.
std::string Roff(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        const bool startsLine = escaped.empty() || escaped.back() == '\n';
        if (startsLine && (c == '.' || c == '\'')) escaped += "\\&";
        if (c == '\\')
            escaped += "\\e";
        else if (c == '-')
            escaped += "\\-";
        else
            escaped += c;
    }
    return escaped;
}

/// Escapes a text for a cell of a Markdown table.
std::string Cell(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        if (c == '|' || c == '<' || c == '*') escaped += '\\';
        escaped += c;
    }
    return escaped;
}

std::string RoffOption(const OptionEntry& option) {
    std::string names = "\\fB" + Roff(option.names) + "\\fR";
    if (const auto comma = names.find(','); comma != std::string::npos) names.replace(comma, 1, "\\fR, \\fB");
    if (!option.IsFlag()) names += " \\fI" + Roff(option.value) + "\\fR";
    return ".TP\n" + names + "\n" + Roff(HelpOf(option)) + "\n";
}

std::string RoffCommand(const CommandEntry& command) {
    std::string text = Roff(command.summary) + "\n.PP\n.nf\n" + Roff(command.synopsis) + "\n.fi\n";
    for (const PositionalEntry& positional : command.positionals)
        text += ".TP\n\\fI" + Roff(positional.name) + "\\fR\n" + Roff(positional.help) + "\n";
    std::string_view heading;
    for (const OptionEntry& option : command.options) {
        if (option.heading != heading) text += ".SS " + Roff(heading = option.heading) + "\n";
        text += RoffOption(option);
    }
    return text + ".PP\n.nf\n" + Roff(command.closing) + ".fi\n";
}

/// Options are set as code, in which a table still needs a backslash before a vertical bar.
std::string MarkdownOption(const OptionEntry& option) {
    std::string names(option.names);
    if (const auto comma = names.find(','); comma != std::string::npos) names.insert(comma + 1, " ");
    if (!option.IsFlag()) names += " " + std::string(option.value);
    for (auto bar = names.find('|'); bar != std::string::npos; bar = names.find('|', bar + 2))
        names.insert(bar, "\\");
    return "| `" + names + "` | " + Cell(HelpOf(option)) + " |\n";
}

std::string MarkdownHead(const std::string& title) {
    return "<!-- " + std::string(manualOrigin) + " -->\n# " + title + "\n\n";
}

std::string MarkdownCommand(const CommandEntry& command) {
    std::string text =
        "```\n" + std::string(command.synopsis) + "\n```\n\n" + std::string(command.summary) + "\n";
    if (!command.positionals.empty()) text += "\n| input | |\n|---|---|\n";
    for (const PositionalEntry& positional : command.positionals)
        text += "| `" + std::string(positional.name) + "` | " + Cell(positional.help) + " |\n";
    std::string_view heading;
    for (const OptionEntry& option : command.options) {
        if (option.heading != heading)
            text += "\n| " + std::string(heading = option.heading) + " | |\n|---|---|\n";
        text += MarkdownOption(option);
    }
    return text + "\n```\n" + std::string(command.closing) + "```\n";
}

} // namespace

std::string ManualPage() {
    std::string text = ".\\\" " + std::string(manualOrigin) +
                       "\n.TH PANSHARP 1 \"\" \"Pansharp " PANSHARP_VERSION
                       "\" \"User Commands\"\n.SH NAME\npansharp \\- fuses a panchromatic raster with a "
                       "multispectral one\n.SH DESCRIPTION\n" +
                       RoffCommand(Program());
    for (const CommandEntry& command : Commands())
        text += ".SH " + Upper(Roff(command.name)) + "\n" + RoffCommand(command);
    return text;
}

std::string ManualMarkdown() {
    std::string text =
        MarkdownHead("The command `pansharp`") + MarkdownCommand(Program()) + "\n| command | |\n|---|---|\n";
    for (const CommandEntry& command : Commands()) {
        const std::string name(command.name);
        text += "| [`" + name + "`](commands/" + name + ".md) | " + Cell(command.summary) + " |\n";
    }
    return text;
}

std::string ManualMarkdown(const CommandEntry& command) {
    return MarkdownHead("`pansharp " + std::string(command.name) + "`") + MarkdownCommand(command);
}

} // namespace cli
