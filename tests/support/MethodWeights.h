#pragma once

#include "fundament/Numbers.h"

#include <string>
#include <vector>

namespace support {

/// The weights that a method has in its tables after it has read its properties: of every band, or of the
/// infrared band alone for IHS. `find` gives the address of a property's text, null where it is missing.
template <class Find>
std::vector<double> MethodWeights(const std::string& method, std::size_t bands, const Find& find) {
    const auto number = [&](const std::string& name, double missing, double malformed) {
        const std::string* text = find(name);
        return text ? KOVA::Tessara::Fundament::StringToDouble(*text, malformed) : missing;
    };
    if (method == "IHS") return {number("AdditionalBandWeight", 0.0, 0.0)};
    const bool brovey = method == "Brovey";
    std::vector<double> weights;
    for (std::size_t b = 1; b <= bands; ++b)
        weights.push_back(number("BandWeight-" + std::to_string(b),
                                 brovey ? 1.0 : 1.0 / static_cast<double>(bands), brovey ? 1.0 : 0.0));
    if (brovey && bands > 3 && weights[0] > 0 && weights[1] > 0 && weights[2] > 0) {
        const double k = weights[3] > 0 ? 4 : 3;
        for (std::size_t b = 0; b < 4; ++b)
            weights[b] *= k;
    }
    weights.back() = number("AdditionalBandWeight", weights.back(), 0.0);
    return weights;
}

} // namespace support
