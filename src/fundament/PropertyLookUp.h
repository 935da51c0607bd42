#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <utility>

namespace KOVA::Tessara::Fundament {

class Status;

/// An ordered list of (name, value) texts, through which everything here receives its settings. Names match
/// without regard to ASCII case, otherwise byte for byte; the first match wins. Values are converted when
/// they are read, each with a default of its own. A missing or malformed value does not throw.
///
/// A value type without a lock: `operator[]` writes even when it is used for reading.
class PropertyLookUp {
public:
    using Pair = std::pair<std::string, std::string>;

    PropertyLookUp() = default;
    /// Takes pairs as they are, in order.
    explicit PropertyLookUp(std::deque<Pair> taken) : pairs(std::move(taken)) {}

    /// Trims the stored value in place and returns it; a missing name is appended with an empty value. The
    /// reference is valid until a pair is removed. Adding pairs keeps it valid, so one name may be set from
    /// another.
    std::string& operator[](const std::string& name);

    /// The trimmed value, or the trimmed default when the name is missing or its value is blank. Adds
    /// nothing.
    [[nodiscard]] std::string GetString(const std::string& name, std::string defaultValue = {}) const;

    /// GetString, converted by the function of Numbers.h for that type.
    [[nodiscard]] std::uint32_t GetUnsignedLong(const std::string& name, std::uint32_t defaultValue) const;
    [[nodiscard]] std::int32_t GetLong(const std::string& name, std::int32_t defaultValue) const;
    [[nodiscard]] bool GetBool(const std::string& name, bool defaultValue) const;

    /// A number, or a percentage: the text before the first "%", divided by 100. A percentage that is not a
    /// number gives `percentDefault` / 100.
    [[nodiscard]] double GetDouble(const std::string& name, double defaultValue, double percentDefault) const;

    [[nodiscard]] bool HasProperty(const std::string& name) const;
    [[nodiscard]] std::uint32_t GetCount() const;

    /// A copy of the pair at a position counted from 0. Past the end it is the last pair; from an empty
    /// lookup it is a pair of empty texts.
    [[nodiscard]] Pair GetAt(std::uint32_t position) const;

    /// Removes the first match; false when there is none.
    bool Remove(const std::string& name);
    void Clear();

    /// Sets prefix + name + suffix to the stored value, for each pair of `other` in order; pairs with an
    /// empty value are skipped when `skipEmpty` is set. Always true. `other` may be this lookup. Takes linear
    /// time, where `operator[]` in a loop takes quadratic time.
    bool Merge(const PropertyLookUp& other, bool skipEmpty, const std::string& prefix,
               const std::string& suffix);

    /// `<name>value</name>` and a line feed for each pair, within `<rootName>` unless that is empty. Nothing
    /// is escaped: the text is well-formed XML only if names and values are.
    [[nodiscard]] std::string ToXml(std::string rootName) const;

    /// Replaces all pairs by the elements below the root of an XML document, at all depths: one pair of name
    /// and text per element. The argument is the text of the document or the name of a file. False when the
    /// document cannot be loaded, exceeds the bounds of XmlTree.h, or holds more than 16 MiB of text, where
    /// the text of nested elements counts for each level. The lookup is then unchanged and `status` gets the
    /// reason. Within these bounds it reads what ToXml wrote, if names and values are
    /// well-formed XML. In the target fundament_xml.
    bool FromXml(const std::string& fileOrText);
    bool FromXml(const std::string& fileOrText, Status& status);

private:
    [[nodiscard]] std::deque<Pair>::const_iterator Find(const std::string& name) const;

    std::deque<Pair> pairs;
};

} // namespace KOVA::Tessara::Fundament
