#pragma once

#include "host/PropertyNames.h"

#include <map>
#include <string>
#include <vector>

namespace support {

using Settings = std::map<std::string, std::string>;

/// The default values of a method's first per-band parameter, by the plug-in's own rule.
inline std::vector<double> MethodValues(const PansharpMethod& method, std::size_t bands,
                                        const Settings& settings) {
    const PansharpBandParameter& parameter = method.bandParameters[0];
    const auto find = [&](const std::string& name) {
        const auto found = settings.find(name);
        return found == settings.end() ? nullptr : found->second.c_str();
    };
    std::vector<const char*> texts(parameter.band.name ? bands : 1);
    for (std::size_t b = 0; b < texts.size() && parameter.band.name; ++b)
        texts[b] = find(KOVA::Tessara::PropertyNames::OfBand(parameter.band, b));
    std::vector<double> values(texts.size());
    parameter.fromProperties(texts.data(), find(parameter.additional.name),
                             static_cast<std::uint32_t>(values.size()), values.data());
    return values;
}

} // namespace support
