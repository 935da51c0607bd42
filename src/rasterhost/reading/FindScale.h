#pragma once

#include "rasterhost/reading/SampleScale.h"
#include "rasterhost/requests/HostStatus.h"
#include "rasterhost/requests/Requests.h"

#include <optional>
#include <vector>

namespace rasterhost {

/// A range for samples from `least` to `greatest` that were seen in a part of a file: from 0 or the least,
/// with a quarter more above, since a part seldom shows the greatest. In six digits, so that typed numbers
/// give the same.
[[nodiscard]] SampleScale ProposeScale(double least, double greatest);

/// The range for all inputs of a pair, from 64 places of each band. `noData`, and what the files declare, is
/// left out, as is what is not a finite number. None, with an item, when a file cannot be read or holds no
/// number.
[[nodiscard]] std::optional<SampleScale> FindScale(const PairRequest& request, Status& status);

} // namespace rasterhost
