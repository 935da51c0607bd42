#include "fundament/Status.h"
#include "fundament/Text.h"
#include "fundament/Time.h"
#include "fundament/XmlDocument.h"
#include "fundament/XmlTree.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace KOVA::Tessara::Fundament {

namespace {

constexpr const char* unknownId = "Unknown ID";

struct ItemTexts {
    std::string time, id, source, message, details;
};

ItemTexts TextsOf(const StatusItem& item) {
    std::string source = item.CleanedSource();
    ReplaceAll(source, "::", ".", false, 0xFFFFFFFFu);
    const std::string id = item.id == StatusItem::UnknownId ? unknownId : FormatString("%06X", item.id);
    return {GetTimeStamp(), id, source, item.message, item.details};
}

// Empty when XML cannot hold one of the texts.
std::string EscapedItem(const ItemTexts& texts, bool withTime) {
    XmlDocument document;
    const std::string time = withTime ? "\n\t\t<Time></Time>" : "";
    bool good = document.Load("\n\t<Item>" + time +
                                  "\n\t\t<ID></ID>\n\t\t<Source></Source>\n\t\t<Message></Message>"
                                  "\n\t\t<Details></Details>\n\t</Item>",
                              XmlDocument::Blanks::Keep);
    const auto set = [&](const char* path, const std::string& text) {
        good = good && document.SelectNode(path) && document.SetText(text);
    };
    if (withTime) set("/Item/Time", texts.time);
    set("/Item/ID", texts.id);
    set("/Item/Source", texts.source);
    set("/Item/Message", texts.message);
    set("/Item/Details", texts.details);
    return good && document.SelectNode("/") ? "\n\t" + document.GetXml() : std::string();
}

std::string DirectItem(const ItemTexts& texts, bool withTime) {
    const std::string time =
        withTime ? FormatString("\n\t\t<Time>%s</Time>", texts.time.c_str()) : std::string();
    return FormatString("\n\t<Item>%s\n\t\t<ID>%s</ID>\n\t\t<Source>%s</Source>\n\t\t<Message>%s</Message>"
                        "\n\t\t<Details>%s</Details>\n\t</Item>",
                        time.c_str(), texts.id.c_str(), texts.source.c_str(), texts.message.c_str(),
                        texts.details.c_str());
}

// A hexadecimal number of 32 bits. One that does not fit, or has all bits set, gives 0.
std::uint32_t ToId(const std::string& text) {
    if (StringsEqual(text, unknownId, true)) return StatusItem::UnknownId;
    errno = 0;
    const unsigned long long value = std::strtoull(text.c_str(), nullptr, 16);
    const bool negative = StartsWith(TrimLeft(text), "-", false);
    const unsigned long long magnitude = negative ? 0 - value : value;
    if (errno == ERANGE || magnitude > 0xFFFFFFFFu) return 0;
    const auto id = static_cast<std::uint32_t>(value);
    return id == StatusItem::UnknownId ? 0 : id;
}

std::vector<const XmlTree::Node*> ChildElements(const XmlTree::Node* node) {
    std::vector<const XmlTree::Node*> elements;
    for (const XmlTree::Node* child : XmlTree::Children(node))
        if (XmlTree::IsElement(child)) elements.push_back(child);
    return elements;
}

// The items of the first report. What an item lacks is taken from the item at the same position in a further
// report, if there is one.
std::vector<StatusItem> ReadItems(const XmlTree& tree) {
    std::vector<std::vector<const XmlTree::Node*>> reports;
    for (const XmlTree::Node* report : tree.Select("//Status").value_or(std::vector<XmlTree::Node*>()))
        reports.push_back(ChildElements(report));
    const std::size_t count = reports.empty() ? 0 : reports.front().size();
    std::vector<StatusItem> items;
    for (std::size_t i = 0; i < count; ++i) {
        std::erase_if(reports, [i](const auto& report) { return report.size() <= i; });
        const auto text = [&](const char* name) {
            for (const auto& report : reports)
                for (const XmlTree::Node* child : ChildElements(report[i]))
                    if (XmlTree::Name(child) == name) return XmlTree::Text(child);
            return std::string();
        };
        items.push_back({ToId(text("ID")), text("Message"), text("Source"), text("Details")});
    }
    return items;
}

} // namespace

std::string Status::ItemsToXml(bool withTime) const {
    std::string xml;
    for (const StatusItem& item : items) {
        const ItemTexts texts = TextsOf(item);
        const std::string escaped = EscapedItem(texts, withTime);
        xml += escaped.empty() ? DirectItem(texts, withTime) : escaped;
    }
    return xml;
}

std::string Status::ToXml(bool withTime) const {
    return items.empty() ? std::string() : "<Status>" + ItemsToXml(withTime) + "\n</Status>";
}

bool Status::FromXml(const std::string& fileOrText) {
    XmlDocument document;
    if (!document.Load(fileOrText)) return false;
    const auto read = ReadItems(*document.tree);
    items.insert(items.end(), read.begin(), read.end());
    return true;
}

bool Status::InsertFromXml(const std::string& fileOrText) {
    XmlDocument document;
    if (!document.Load(fileOrText)) return false;
    const auto read = ReadItems(*document.tree);
    items.insert(items.begin(), read.rbegin(), read.rend());
    return true;
}

} // namespace KOVA::Tessara::Fundament
