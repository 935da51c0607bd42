#pragma once

#include <array>
#include <functional>
#include <string>
#include <vector>

#include <gdal_priv.h>

namespace rasterhost {

/// The 2nd and 98th percentile of the samples with data, per band except transparency; 0 and 1 for a band
/// without data. Samples have 8 or 16 bits. Does not throw. Empty when the image cannot be read, or when
/// `progress`, called with the fraction done, returns false.
[[nodiscard]] std::vector<std::array<double, 2>>
FindStretches(GDALDataset& image, const std::function<bool(double)>& progress = {});

/// The image in 8 bits as a dataset to copy from, computed when it is read. Each band is stretched from its
/// 2nd to its 98th percentile; pixels without data are 0. Its metadata say so. It has no scale and offset,
/// since the image's own do not apply to stretched samples. `stretches` gets the ranges. Null when it cannot
/// be made. The image must outlive it.
[[nodiscard]] GDALDatasetUniquePtr MakePicture(GDALDataset& image,
                                               std::vector<std::array<double, 2>>& stretches,
                                               const std::function<bool(double)>& progress = {});

} // namespace rasterhost
