#include "fundament/Status.h"

#include "fundament/Text.h"

#include <algorithm>

namespace KOVA::Tessara::Fundament {

std::string StatusItem::CleanedSource() const {
    std::string cleaned = source;
    ReplaceAll(cleaned, "KOVA.Tessara.", "", true, 0xFFFFFFFFu);
    return cleaned;
}

std::string StatusItem::FormatLine(const char* tag) const {
    std::string line;
    if (!source.empty()) {
        const std::string tagText = tag ? FormatString("[%s]: ", tag) : std::string();
        const std::string idText = id == UnknownId ? " : Unknown ID"
                                   : id != 0       ? FormatString(" : %06X", id)
                                                   : std::string();
        line = FormatString("%s[%s%s] %s", tagText.c_str(), CleanedSource().c_str(), idText.c_str(),
                            id != 0 ? "Error: " : "");
    }
    line += message;
    if (!details.empty()) line += "\n" + details;
    return line;
}

bool Status::Reset(std::uint32_t, const std::string&, const std::string& source, const std::string&) {
    defaultSource = source; // before clear: `source` may belong to an item
    items.clear();
    return true;
}

bool Status::Insert(std::uint32_t id, const std::string& message, const std::string& source,
                    const std::string& details) {
    items.insert(items.begin(), StatusItem{id, message, source.empty() ? defaultSource : source, details});
    return true;
}

bool Status::Add(std::uint32_t id, const std::string& message, const std::string& source,
                 const std::string& details) {
    return Add(StatusItem{id, message, source.empty() ? defaultSource : source, details});
}

bool Status::Add(const StatusItem& item) {
    items.push_back(item);
    return true;
}

bool Status::Append(const Status& other) {
    std::vector<StatusItem> combined = items; // if an allocation fails, the status stays unchanged
    combined.insert(combined.end(), other.items.begin(), other.items.end());
    items = std::move(combined);
    return true;
}

void Status::Keep(std::uint32_t first, std::uint32_t count) {
    const auto from = std::min<std::size_t>(first, items.size());
    const auto end = from + std::min<std::size_t>(count, items.size() - from);
    items.erase(items.begin() + static_cast<std::ptrdiff_t>(end), items.end());
    items.erase(items.begin(), items.begin() + static_cast<std::ptrdiff_t>(from));
}

bool Status::Contains(const StatusItem& item) const {
    return std::find(items.begin(), items.end(), item) != items.end();
}

std::string Status::ToText(const char* tag) const {
    std::string text;
    for (const StatusItem& item : items) {
        if (&item != &items.front()) text += '\n';
        text += item.FormatLine(tag);
    }
    return text;
}

} // namespace KOVA::Tessara::Fundament
