#include "host/NameValueMap.h"

#include "fundament/PropertyLookUp.h"

namespace KOVA::Tessara::Global {

const std::string* NameValueMap::Find(const std::string& name) const {
    const auto entry = entries.find(name);
    return entry == entries.end() ? nullptr : &entry->second;
}

} // namespace KOVA::Tessara::Global

namespace KOVA::Tessara::Pixmere {

int NameValueMapToPropertyLookUp(const Global::NameValueMap& map, Fundament::PropertyLookUp& properties) {
    for (const auto& [name, value] : map)
        if (!properties.HasProperty(name)) properties[name] = value;
    return 1;
}

} // namespace KOVA::Tessara::Pixmere
