#pragma once

#include "fundament/Status.h"
#include "host/Describe.h"
#include "host/NameValueMap.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace hostkit {

/// The weight of each band in the simulated pan: what a band is multiplied by in the weighted sum, whatever
/// the method makes of its properties.
struct EffectiveWeights {
    std::vector<double> bands;      ///< of the multispectral bands, in order; empty when not given
    std::optional<double> infrared; ///< of the infrared band
};

/// The bands of a run.
struct WeightedBands {
    std::uint32_t multispectral = 0; ///< how many
    bool infrared = false;           ///< whether an infrared band takes part
    bool lowPass = false;            ///< whether the host offers pan's low-pass as the additional band
};

/// Sets the properties by which a process arrives at these weights, and turns `weights` into those that it
/// arrives at: the same except for a last bit where a method scales what it is given. Weights that are not
/// given are equal, 1 / n with the infrared band counted. A method that weighs no bands may have a weight of
/// the infrared one alone; it keeps its default unless given, and the bands' weights are left empty. Where
/// pan's low-pass is the additional band, its share is 1 and there are no weights to give.
///
/// False, with an item, when the method has no use for a weight or for the infrared band, or the weights are
/// too many, too few or not finite.
[[nodiscard]] bool SetWeights(const PansharpMethod& method, const WeightedBands& bands,
                              EffectiveWeights& weights, KOVA::Tessara::Global::NameValueMap& properties,
                              KOVA::Tessara::Fundament::Status& status);

/// The parameter of a method that weighs no bands which has a weight of the infrared band. Null when there
/// is none.
[[nodiscard]] const PansharpBandParameter* FindInfraredWeight(const PansharpMethod& method);

} // namespace hostkit
