#pragma once

#include "imagery/ZeroCollar.h"
#include "rasterhost/requests/RecordPart.h"

#include <memory>

namespace rasterhost {

/// Bytes that the packed runs of all collars of a description may take before they are compressed. In memory
/// they take several times as much.
inline constexpr std::size_t mostPackedInAll = std::size_t{16} << 20;

/// A collar as an object of a description: its runs packed, deflated and in base64. Null when they take more
/// than 256 KB deflated, or more than `left` bytes packed. Reduces `left` by the packed size.
[[nodiscard]] Json CollarToJson(const imagery::ZeroCollar& collar, std::size_t& left);

/// The reverse, with the same use of `left`. Throws RecordFault.
[[nodiscard]] std::shared_ptr<const imagery::ZeroCollar> CollarFromJson(const RecordPart& part,
                                                                        std::size_t& left);

} // namespace rasterhost
