#pragma once

#include "rasterhost/reading/ImageDescription.h"
#include "rasterhost/requests/HostStatus.h"
#include "rasterhost/requests/Requests.h"

#include <vector>

class GDALDataset;

namespace rasterhost {

/// Adds the bands of an input to the description of an image, which already has its options: the named band,
/// or all bands of the file except transparency. False, with an item, when they cannot be served or differ in
/// size or depth from the bands before.
[[nodiscard]] bool AddBands(const InputBand& input, GDALDataset& dataset, const char* role,
                            ImageDescription& image, Status& status);

/// Completes a description to which all bands were added: its samples, and its position from the first of its
/// files. `files` are those that it names. False, with an item, when there is no band or the files have
/// different positions.
[[nodiscard]] bool DescribeAll(const std::vector<GDALDataset*>& files, const char* role,
                               ImageDescription& image, Status& status);

} // namespace rasterhost
