#pragma once

#include "Image.h"

namespace demo {

/// The first `bandCount` bands of the upper left `rows` by `columns` pixels. Throws std::runtime_error if the
/// image is smaller.
[[nodiscard]] Image Crop(const Image& image, int rows, int columns, std::size_t bandCount);

/// A simulated panchromatic band: the mean of all bands, rounded half up.
[[nodiscard]] Image MeanOfBands(const Image& image);

/// The image `factor` times coarser: each sample the mean of factor * factor samples, rounded half up. Rows
/// and columns that fill no whole coarse pixel are left out.
[[nodiscard]] Image AverageDown(const Image& image, int factor);

/// The image `factor` times finer: bilinear between pixel centres, edges replicated, rounded half up.
[[nodiscard]] Image BilinearUp(const Image& image, int factor);

} // namespace demo
