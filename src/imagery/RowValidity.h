#pragma once

#include "hostkit/PlacedWindow.h"
#include "hostkit/SampleBlock.h"

#include <span>

namespace imagery {

/// Finds which pixels of a row of a window of pan have data: pan must have data there, and so must at least
/// one pixel that each coarse image is interpolated from. `row` counts from the top of pan; `pan` covers the
/// window; `coarse` are the coarse images opened on the window. Returns one byte per pixel of the row, 0
/// without data; null when all have data. The bytes are pan's own, valid as long as pan's window, or, where a
/// coarse image has gaps, in `merged`, which has room for a row.
[[nodiscard]] const unsigned char* FindRowValidity(const hostkit::SampleBlock& pan,
                                                   const hostkit::PixelRect& window, std::uint32_t row,
                                                   std::span<hostkit::PlacedWindow* const> coarse,
                                                   unsigned char* merged);

} // namespace imagery
