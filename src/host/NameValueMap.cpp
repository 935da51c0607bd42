#include "host/NameValueMap.h"

#include "fundament/PropertyLookUp.h"
#include "fundament/Text.h"

#include <deque>
#include <unordered_set>
#include <utility>

namespace KOVA::Tessara::Global {

const std::string* NameValueMap::Find(const std::string& name) const {
    const auto entry = entries.find(name);
    return entry == entries.end() ? nullptr : &entry->second;
}

} // namespace KOVA::Tessara::Global

namespace KOVA::Tessara::Pixmere {

int NameValueMapToPropertyLookUp(const Global::NameValueMap& map, Fundament::PropertyLookUp& properties) {
    std::unordered_set<std::string> known; // by name in the form it is compared: a lookup searches linearly
    for (std::uint32_t i = 0; i < properties.GetCount(); ++i)
        known.insert(Fundament::ToLower(properties.GetAt(i).first));
    std::deque<Fundament::PropertyLookUp::Pair> added;
    for (const auto& [name, value] : map)
        if (known.insert(Fundament::ToLower(name)).second) added.emplace_back(name, value);
    properties.Merge(Fundament::PropertyLookUp(std::move(added)), false, {}, {});
    return 1;
}

} // namespace KOVA::Tessara::Pixmere
