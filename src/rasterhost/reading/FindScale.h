#pragma once

#include "rasterhost/reading/SampleScale.h"
#include "rasterhost/requests/HostStatus.h"
#include "rasterhost/requests/Requests.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace rasterhost {

/// A range for samples, given the lowest and highest seen in a part of a file. It begins at 0 or `least` and
/// ends a quarter above `greatest`, since a part seldom shows the highest. Rounded to six digits, so that
/// typed numbers give the same result.
[[nodiscard]] SampleScale ProposeScale(double least, double greatest);

/// The range for all inputs of a pair, from 64 positions of each band. `noData`, declared values and numbers
/// that are not finite are ignored. Warns when a few samples far from the others make the range. Empty, with
/// an item, when a file cannot be read or has no number.
[[nodiscard]] std::optional<SampleScale>
FindScale(const PairRequest& request, const std::function<void(const std::string&)>& warn, Status& status);

} // namespace rasterhost
