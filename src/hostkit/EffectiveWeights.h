#pragma once

#include "fundament/Status.h"
#include "host/Describe.h"
#include "host/NameValueMap.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace hostkit {

/// The weight of each band in the simulated pan: the factor of the band in the weighted sum, after the method
/// has applied its own scaling to the properties.
struct EffectiveWeights {
    std::vector<double> bands;      ///< of the multispectral bands, in order; empty when not given
    std::optional<double> infrared; ///< of the infrared band
};

/// The bands of a run.
struct WeightedBands {
    std::uint32_t multispectral = 0; ///< their number
    bool infrared = false;           ///< whether an infrared band takes part
    bool lowPass = false;            ///< whether the host offers pan's low-pass as the additional band
};

/// Sets the properties that make a process use these weights, and replaces `weights` by those that it uses.
/// They are the same except for the last bit where a method scales what it is given. Weights that are not
/// given are equal: 1 / n, with the infrared band counted.
///
/// A method that weighs no bands may still have a weight for the infrared band. That weight keeps its default
/// unless it is given, and the weights of the bands are left empty. Where pan's low-pass is the additional
/// band, its share is 1 and no weights may be given.
///
/// False, with an item, when the method does not use a weight or the infrared band that is given, or when the
/// weights are too many, too few or not finite.
[[nodiscard]] bool SetWeights(const PansharpMethod& method, const WeightedBands& bands,
                              EffectiveWeights& weights, KOVA::Tessara::Global::NameValueMap& properties,
                              KOVA::Tessara::Fundament::Status& status);

/// Why a process cannot make a simulated pan from the weights that it uses: their sum is 0 or below. Empty
/// when it can, or when the method makes none.
[[nodiscard]] std::string FindFault(const PansharpMethod& method, const EffectiveWeights& weights);

/// The parameter for the weight of the infrared band, of a method that weighs no bands. Null when it has
/// none.
[[nodiscard]] const PansharpBandParameter* FindInfraredWeight(const PansharpMethod& method);

} // namespace hostkit
