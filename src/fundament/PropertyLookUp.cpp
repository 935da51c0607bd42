#include "fundament/PropertyLookUp.h"

#include "fundament/Numbers.h"
#include "fundament/Text.h"

#include <algorithm>
#include <unordered_map>

namespace KOVA::Tessara::Fundament {

namespace {

bool NamesMatch(const std::string& a, const std::string& b) {
    // Not StringsEqual: a name may contain zero bytes, and every byte counts.
    return a.size() == b.size() && StartsWith(a, b, true);
}

} // namespace

std::deque<PropertyLookUp::Pair>::const_iterator PropertyLookUp::Find(const std::string& name) const {
    return std::find_if(pairs.begin(), pairs.end(),
                        [&](const Pair& pair) { return NamesMatch(pair.first, name); });
}

std::string& PropertyLookUp::operator[](const std::string& name) {
    const auto found = Find(name);
    if (found == pairs.end()) return pairs.emplace_back(name, std::string()).second;
    std::string& value = pairs[static_cast<std::size_t>(found - pairs.begin())].second;
    value = Trim(value);
    return value;
}

std::string PropertyLookUp::GetString(const std::string& name, std::string defaultValue) const {
    const auto found = Find(name);
    std::string result = found == pairs.end() ? std::string() : Trim(found->second);
    return result.empty() ? Trim(defaultValue) : result;
}

std::uint32_t PropertyLookUp::GetUnsignedLong(const std::string& name, std::uint32_t defaultValue) const {
    return StringToUnsignedLong(GetString(name), defaultValue);
}

std::int32_t PropertyLookUp::GetLong(const std::string& name, std::int32_t defaultValue) const {
    return StringToLong(GetString(name), defaultValue);
}

bool PropertyLookUp::GetBool(const std::string& name, bool defaultValue) const {
    return StringToBool(GetString(name), defaultValue);
}

double PropertyLookUp::GetDouble(const std::string& name, double defaultValue, double percentDefault) const {
    const std::string text = GetString(name);
    const auto percent = text.find('%');
    if (percent == std::string::npos) return StringToDouble(text, defaultValue);
    return StringToDouble(text.substr(0, percent), percentDefault) / 100.0;
}

bool PropertyLookUp::HasProperty(const std::string& name) const { return Find(name) != pairs.end(); }

std::uint32_t PropertyLookUp::GetCount() const { return static_cast<std::uint32_t>(pairs.size()); }

PropertyLookUp::Pair PropertyLookUp::GetAt(std::uint32_t position) const {
    if (pairs.empty()) return {};
    return pairs[std::min<std::size_t>(position, pairs.size() - 1)];
}

bool PropertyLookUp::Remove(const std::string& name) {
    const auto found = Find(name);
    if (found == pairs.end()) return false;
    pairs.erase(found);
    return true;
}

void PropertyLookUp::Clear() { pairs.clear(); }

bool PropertyLookUp::Merge(const PropertyLookUp& other, bool skipEmpty, const std::string& prefix,
                           const std::string& suffix) {
    constexpr std::size_t few = 64;                // up to this many pairs, no index is made
    const std::deque<Pair> incoming = other.pairs; // a copy: `other` may be this lookup, which grows below
    const bool isIndexed = pairs.size() + incoming.size() > few;
    std::unordered_map<std::string, std::string*> values; // first match by name in the form it is compared
    if (isIndexed)
        for (auto& [name, value] : pairs)
            values.try_emplace(ToLower(name), &value);
    for (const auto& [name, value] : incoming) {
        if (skipEmpty && value.empty()) continue;
        const std::string own = prefix + name + suffix;
        if (!isIndexed) {
            (*this)[own] = value;
            continue;
        }
        std::string*& place = values[ToLower(own)];
        if (!place) place = &pairs.emplace_back(own, std::string()).second;
        *place = value;
    }
    return true;
}

std::string PropertyLookUp::ToXml(std::string rootName) const {
    std::string xml;
    if (!rootName.empty()) xml += "<" + rootName + ">";
    for (const auto& [name, value] : pairs)
        xml += "<" + name + ">" + value + "</" + name + ">\n";
    if (!rootName.empty()) xml += "</" + rootName + ">";
    return xml;
}

} // namespace KOVA::Tessara::Fundament
