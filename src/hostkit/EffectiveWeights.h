#pragma once

#include "fundament/Status.h"
#include "host/Describe.h"
#include "host/NameValueMap.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace hostkit {

/// The share of each band in the simulated pan: what a band is multiplied with in the weighted sum, whatever
/// the method makes of its properties on the way there.
struct EffectiveWeights {
    std::vector<double> bands;      ///< of the multispectral bands, in order; empty when not given
    std::optional<double> infrared; ///< of the infrared band
};

/// The bands that a run brings together.
struct WeightedBands {
    std::uint32_t multispectral = 0; ///< how many
    bool infrared = false;           ///< whether an infrared band takes part
};

/// The method of a plug-in by its keyword, in any letter case; an empty keyword names the first. Null, with
/// an item that lists the methods, when there is none.
[[nodiscard]] const PansharpMethod* FindMethod(const PansharpDescription& plugin, const std::string& keyword,
                                               KOVA::Tessara::Fundament::Status& status);

/// Sets the properties by which a process arrives at these weights, and turns `weights` into those that it
/// arrives at. Weights that are not given are equal, 1 / n with the infrared band counted. They come out bit
/// for bit, but for this: Brovey with five bands or more, the first three weights above 0 and the fourth not,
/// multiplies the first four by 3, and a third of the numbers between 1.5 and 2 times a power of two are no
/// product of 3 in double; such a weight is off by its last bit. IHS weighs no multispectral bands: theirs
/// are left empty, and its infrared weight, that of the fourth band, is 0 unless given.
///
/// False, with an item, when the method is unknown here, has no use for a weight, or the weights are too
/// many, too few or no finite numbers.
[[nodiscard]] bool SetWeights(const std::string& method, const WeightedBands& bands,
                              EffectiveWeights& weights, KOVA::Tessara::Global::NameValueMap& properties,
                              KOVA::Tessara::Fundament::Status& status);

} // namespace hostkit
