#include "cli/StatusText.h"

#include "fundament/Text.h"

namespace cli {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::Status;
using KOVA::Tessara::Fundament::StatusItem;
using KOVA::Tessara::Fundament::Tokenize;
using KOVA::Tessara::Fundament::Trim;

namespace {

/// Indents every line of a text by a margin; lines after the first of a message by two columns more.
std::string Indent(const std::string& text, const std::string& margin) {
    std::string result;
    for (const std::string& line : Tokenize(text, "\r\n"))
        result += margin + (result.empty() ? "" : "  ") + line + "\n";
    return result;
}

} // namespace

std::vector<StatusItem> SayingItems(const Status& status) {
    std::vector<StatusItem> items;
    for (std::uint32_t i = 0; i < status.GetCount(); ++i) {
        const StatusItem& item = status.GetItem(i);
        if (!Trim(item.message).empty() || !Trim(item.details).empty()) items.push_back(item);
    }
    return items;
}

std::string FormatId(std::uint32_t id) { return FormatString("%06X", id); }

std::string FormatErrors(const Status& status) {
    const std::vector<StatusItem> items = SayingItems(status);
    if (items.empty()) return FormatError("the work failed, and no reason was given");
    std::string text;
    for (const StatusItem& item : items) {
        if (&item == &items.front())
            text += FormatError(Trim(item.message.empty() ? item.source : item.message)) +
                    Indent(item.details, "    ");
        else
            text += Indent("  " + item.FormatLine(), "");
    }
    return text;
}

std::string FormatError(const std::string& message) { return Indent("pansharp: error: " + message, ""); }

std::string FormatWarning(const std::string& message) { return "pansharp: warning: " + message + "\n"; }

} // namespace cli
