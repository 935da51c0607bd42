#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace KOVA::Tessara::Fundament {

/// One condition: an id (0 a plain message, UnknownId unknown, else an error code, printed as six hexadecimal
/// digits), a message for people, the dotted name of the component that reports it, and often empty details.
struct StatusItem {
    static constexpr std::uint32_t UnknownId = 0xFFFFFFFFu;

    std::uint32_t id = 0;
    std::string message;
    std::string source;
    std::string details;

    friend bool operator==(const StatusItem&, const StatusItem&) = default;

    /// One line: "[tag]: [source : 003905] Error: message", then a line feed and the details when there are
    /// any. An item without a source prints no head at all. `tag` may be null.
    [[nodiscard]] std::string FormatLine(const char* tag = nullptr) const;

    /// The source without the "KOVA.Tessara." that every component here could begin with.
    [[nodiscard]] std::string CleanedSource() const;
};

/// How a layer records what went wrong and hands it upward: an ordered list of items and the source that new
/// items get when they name none. Images insert their newest failure at the front; the process adds its own
/// item at the end and appends the items of the object that failed after it. Only Reset and Keep remove
/// anything.
///
/// The host receives it by reference: the order of the members is part of the contract.
class Status {
public:
    /// Removes all items and sets the default source. The other arguments are accepted and not used. Always
    /// true.
    bool Reset(std::uint32_t id, const std::string& message, const std::string& source,
               const std::string& details);

    /// Places a new item first; its details stay empty unless given. Always true.
    bool Insert(std::uint32_t id, const std::string& message, const std::string& source = {},
                const std::string& details = {});

    /// Places a new item last. Always true.
    bool Add(std::uint32_t id, const std::string& message, const std::string& source,
             const std::string& details = {});
    bool Add(const StatusItem& item);

    /// Appends copies of all items of another status, unchanged; appending a status to itself doubles its
    /// items.
    bool Append(const Status& other);
    bool AppendStatus(const Status& other) { return Append(other); }

    /// Removes all items but `count` from position `first` on: what bounds the record of failing calls.
    void Keep(std::uint32_t first, std::uint32_t count);

    [[nodiscard]] std::uint32_t GetCount() const { return static_cast<std::uint32_t>(items.size()); }

    /// The caller keeps `position` below GetCount().
    [[nodiscard]] const StatusItem& GetItem(std::uint32_t position) const { return items[position]; }
    [[nodiscard]] StatusItem& GetItem(std::uint32_t position) { return items[position]; }

    /// True when an item equal to this one, all four members, is held.
    [[nodiscard]] bool Contains(const StatusItem& item) const;

    /// All items as lines, a line feed between them and none at the end; empty without items.
    [[nodiscard]] std::string ToText(const char* tag = nullptr) const;

    // The members below are in the target fundament_xml.

    /// An XML report: a Status element with an Item for each item, with the local time of the report in each
    /// when asked for. Empty without items. A text with control bytes, which XML cannot hold, puts its item
    /// in unescaped: that report is for reading by eye only. Bytes that are not UTF-8 are carried
    /// (XmlText.h).
    [[nodiscard]] std::string ToXml(bool withTime) const;

    /// The Item elements alone.
    [[nodiscard]] std::string ItemsToXml(bool withTime) const;

    /// Appends the items of a report, given as text or as the name of a file. False when it is empty or
    /// cannot be loaded; a document without a Status element has no items.
    bool FromXml(const std::string& fileOrText);

    /// As FromXml, each item placed first: they end up in reverse order before those that are there.
    bool InsertFromXml(const std::string& fileOrText);

private:
    std::vector<StatusItem> items;
    std::string defaultSource;
};

} // namespace KOVA::Tessara::Fundament
