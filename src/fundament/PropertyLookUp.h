#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <utility>

namespace KOVA::Tessara::Fundament {

class Status;

/// An ordered list of (name, value) texts, through which everything here receives its settings. Names match
/// without regard to ASCII case, byte for byte otherwise; the first match wins. Values are converted when
/// read, each read with its own default, and nothing throws on a missing or malformed value.
///
/// A value type without a lock: `operator[]` writes even when it is used to read.
class PropertyLookUp {
public:
    using Pair = std::pair<std::string, std::string>;

    PropertyLookUp() = default;
    /// Takes pairs as they are, in order.
    explicit PropertyLookUp(std::deque<Pair> taken) : pairs(std::move(taken)) {}

    /// Trims the stored value in place and returns it; a missing name is appended with an empty value. The
    /// reference is good until a pair is removed: adding one leaves it, so one name may be set from another.
    std::string& operator[](const std::string& name);

    /// The trimmed value, or the trimmed default when the name is missing or its value blank. Adds nothing.
    [[nodiscard]] std::string GetString(const std::string& name, std::string defaultValue = {}) const;

    /// GetString converted by the function of Numbers.h of that type.
    [[nodiscard]] std::uint32_t GetUnsignedLong(const std::string& name, std::uint32_t defaultValue) const;
    [[nodiscard]] std::int32_t GetLong(const std::string& name, std::int32_t defaultValue) const;
    [[nodiscard]] bool GetBool(const std::string& name, bool defaultValue) const;

    /// A number, or a percentage: the text before the first "%", divided by 100. A percentage that is not a
    /// number gives `percentDefault` / 100.
    [[nodiscard]] double GetDouble(const std::string& name, double defaultValue, double percentDefault) const;

    [[nodiscard]] bool HasProperty(const std::string& name) const;
    [[nodiscard]] std::uint32_t GetCount() const;

    /// A copy of the pair at a position counted from 0; past the end it is the last pair, and of an empty
    /// lookup a pair of empty texts.
    [[nodiscard]] Pair GetAt(std::uint32_t position) const;

    /// Removes the first match; false when there is none.
    bool Remove(const std::string& name);
    void Clear();

    /// Sets prefix + name + suffix to the value as stored, for each pair of `other` in order, skipping pairs
    /// whose value is empty when asked. Always true. `other` may be this lookup. Takes time by the number of
    /// pairs, where the same by `operator[]` takes it by the square.
    bool Merge(const PropertyLookUp& other, bool skipEmpty, const std::string& prefix,
               const std::string& suffix);

    /// `<name>value</name>` and a line feed for each pair, within `<rootName>` unless that is empty. Nothing
    /// is escaped: the text is well-formed XML only when names and values are.
    [[nodiscard]] std::string ToXml(std::string rootName) const;

    /// Replaces all pairs by the elements within the root element of an XML document, at all depths, given as
    /// text or as the name of a file: name and text of each. False when it cannot be loaded or is
    /// beyond the bounds of XmlTree.h or holds more than 16 MiB of text, that of nested elements counted in
    /// each; the lookup is then as before, and the reason is added to `status`. Within these bounds it reads
    /// what ToXml wrote of names and values that are XML. In the target fundament_xml.
    bool FromXml(const std::string& fileOrText);
    bool FromXml(const std::string& fileOrText, Status& status);

private:
    [[nodiscard]] std::deque<Pair>::const_iterator Find(const std::string& name) const;

    std::deque<Pair> pairs;
};

} // namespace KOVA::Tessara::Fundament
