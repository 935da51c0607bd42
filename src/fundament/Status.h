#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace KOVA::Tessara::Fundament {

/// One condition:
/// - an id: 0 for a plain message, UnknownId, or an error code, printed as six hexadecimal digits;
/// - a message for people;
/// - the dotted name of the component that reports it;
/// - details, often empty.
struct StatusItem {
    static constexpr std::uint32_t UnknownId = 0xFFFFFFFFu;

    std::uint32_t id = 0;
    std::string message;
    std::string source;
    std::string details;

    friend bool operator==(const StatusItem&, const StatusItem&) = default;

    /// One line: "[tag]: [source : 003905] Error: message", then a line feed and the details if there are
    /// any. An item without a source has no part before its message. `tag` may be null.
    [[nodiscard]] std::string FormatLine(const char* tag = nullptr) const;

    /// The source without the prefix "KOVA.Tessara.".
    [[nodiscard]] std::string CleanedSource() const;
};

/// How a layer records what went wrong and passes it upward: an ordered list of items, and a default source
/// for new items. Images insert their newest failure at the front. The process adds its own item at the end,
/// followed by the items of the object that failed. Only Reset and Keep remove items.
///
/// The host receives it by reference, so the order of the members is part of the contract.
class Status {
public:
    /// Removes all items and sets the default source. The other arguments are ignored. Always true.
    bool Reset(std::uint32_t id, const std::string& message, const std::string& source,
               const std::string& details);

    /// Inserts a new item at the front; its details stay empty unless given. Always true.
    bool Insert(std::uint32_t id, const std::string& message, const std::string& source = {},
                const std::string& details = {});

    /// Appends a new item. Always true.
    bool Add(std::uint32_t id, const std::string& message, const std::string& source,
             const std::string& details = {});
    bool Add(const StatusItem& item);

    /// Appends copies of all items of another status. Appending a status to itself doubles its items.
    bool Append(const Status& other);
    bool AppendStatus(const Status& other) { return Append(other); }

    /// Keeps only `count` items from position `first` on. This bounds the record of repeated failures.
    void Keep(std::uint32_t first, std::uint32_t count);

    [[nodiscard]] std::uint32_t GetCount() const { return static_cast<std::uint32_t>(items.size()); }

    /// `position` must be below GetCount().
    [[nodiscard]] const StatusItem& GetItem(std::uint32_t position) const { return items[position]; }
    [[nodiscard]] StatusItem& GetItem(std::uint32_t position) { return items[position]; }

    /// True when it holds an item whose four members all equal those of this one.
    [[nodiscard]] bool Contains(const StatusItem& item) const;

    /// All items as lines, separated by line feeds, without one at the end. Empty without items.
    [[nodiscard]] std::string ToText(const char* tag = nullptr) const;

    // The members below are in the target fundament_xml.

    /// An XML report: a Status element with one Item element per item, with the local time of the report if
    /// asked for. Empty without items. XML cannot hold control bytes: a text with such bytes puts its item in
    /// unescaped, and that report is then only for reading by eye. Bytes that are not UTF-8 are preserved
    /// (XmlText.h).
    [[nodiscard]] std::string ToXml(bool withTime) const;

    /// Only the Item elements.
    [[nodiscard]] std::string ItemsToXml(bool withTime) const;

    /// Appends the items of a report, given as text or as the name of a file. False when it is empty or
    /// cannot be loaded. A document without a Status element has no items.
    bool FromXml(const std::string& fileOrText);

    /// Like FromXml, but inserts each item at the front: they end up in reverse order before the existing
    /// ones.
    bool InsertFromXml(const std::string& fileOrText);

private:
    std::vector<StatusItem> items;
    std::string defaultSource;
};

} // namespace KOVA::Tessara::Fundament
