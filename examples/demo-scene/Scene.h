#pragma once

#include "Image.h"

namespace demo {

/// The first `bandCount` bands of the upper left `rows` x `columns` pixels. Throws std::runtime_error if the
/// image is smaller.
[[nodiscard]] Image Crop(const Image& image, int rows, int columns, std::size_t bandCount);

/// A simulated panchromatic band: the mean of all bands, rounded half up.
[[nodiscard]] Image MeanOfBands(const Image& image);

/// The image made `factor` times coarser: each sample is the mean of factor x factor samples, rounded half
/// up. Rows and columns that do not fill a whole coarse pixel are dropped.
[[nodiscard]] Image AverageDown(const Image& image, int factor);

/// The image made `factor` times finer: bilinear between pixel centres, edges replicated, rounded half up.
[[nodiscard]] Image BilinearUp(const Image& image, int factor);

} // namespace demo
