#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace KOVA::Tessara::Fundament {
class PropertyLookUp;
}

namespace KOVA::Tessara::Global {

/// Text-to-text map in which properties and metadata cross the border; names are compared byte for byte.
class NameValueMap {
public:
    /// The container of the entries, in the order of the names.
    using Entries = std::map<std::string, std::string>;

    /// The value of a name, for reading or writing; a missing name is inserted with an empty value.
    std::string& operator[](const std::string& name) { return entries[name]; }

    /// The value of a name, or null when it is missing. Valid until the entry is removed.
    [[nodiscard]] const std::string* Find(const std::string& name) const;
    /// The number of entries.
    [[nodiscard]] std::uint32_t GetCount() const { return static_cast<std::uint32_t>(entries.size()); }

    /// The first entry, in the order of the names.
    [[nodiscard]] Entries::const_iterator begin() const { return entries.begin(); }
    /// Past the last entry.
    [[nodiscard]] Entries::const_iterator end() const { return entries.end(); }

private:
    Entries entries;
};

} // namespace KOVA::Tessara::Global

namespace KOVA::Tessara::Pixmere {

/// Adds every entry of the map to the lookup, in the map's order. Of names that differ only in ASCII case,
/// the first wins, as for every reader of the lookup. A name that the lookup already holds keeps its value.
/// Returns 1.
int NameValueMapToPropertyLookUp(const Global::NameValueMap& map, Fundament::PropertyLookUp& properties);

} // namespace KOVA::Tessara::Pixmere
