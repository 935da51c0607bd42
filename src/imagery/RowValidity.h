#pragma once

#include "hostkit/PlacedWindow.h"
#include "hostkit/SampleBlock.h"

#include <span>
#include <vector>

namespace imagery {

/// Finds which pixels of a row of a window of pan have data: pan's own, and of each image beneath that was
/// opened on the window at least one of those that the pixel is interpolated from. `row` counts from the top
/// of pan, `pan` covers the window, `reach` has room for a row, `valid` gets a byte per pixel of it.
void FindRowValidity(const hostkit::SampleBlock& pan, const hostkit::PixelRect& window, std::uint32_t row,
                     std::span<hostkit::PlacedWindow* const> beneath, hostkit::Reach* reach,
                     unsigned char* valid);

} // namespace imagery
