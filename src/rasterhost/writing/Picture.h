#pragma once

#include <array>
#include <functional>
#include <string>
#include <vector>

#include <gdal_priv.h>

namespace rasterhost {

/// The 2nd and the 98th percentile of the samples with data of every band that is not transparency; 0 and 1
/// where there are none. Samples are of 8 or 16 bits. Throws nothing; empty when the image cannot be read, or
/// `progress`, which takes the share that is done, cancels with false.
[[nodiscard]] std::vector<std::array<double, 2>>
FindStretches(GDALDataset& image, const std::function<bool(double)>& progress = {});

/// The image in 8 bits as something to copy, made as it is read: each band stretched from its own 2nd to its
/// 98th percentile, 0 where there is no data. Its metadata say so. It has no scale and offset, as those
/// of the image are not true of stretched samples. `stretches` are those that were found. Null when that
/// cannot be made; the image outlives it.
[[nodiscard]] GDALDatasetUniquePtr MakePicture(GDALDataset& image,
                                               std::vector<std::array<double, 2>>& stretches,
                                               const std::function<bool(double)>& progress = {});

} // namespace rasterhost
