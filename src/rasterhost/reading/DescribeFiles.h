#pragma once

#include "rasterhost/reading/ImageDescription.h"
#include "rasterhost/requests/HostStatus.h"
#include "rasterhost/requests/Requests.h"

#include <vector>

class GDALDataset;

namespace rasterhost {

/// Adds the bands of an input to the description of an image that has its options already: all of the file
/// but transparency, or the one named. False with an item when they cannot be served or differ from those
/// before in size or depth.
[[nodiscard]] bool AddBands(const InputBand& input, GDALDataset& dataset, const char* role,
                            ImageDescription& image, Status& status);

/// Describes the whole, of which all bands were added: its samples, and its place by the first of its files,
/// which are those that it names. False with an item when there is no band or the files lie at several
/// places.
[[nodiscard]] bool DescribeAll(const std::vector<GDALDataset*>& files, const char* role,
                               ImageDescription& image, Status& status);

} // namespace rasterhost
