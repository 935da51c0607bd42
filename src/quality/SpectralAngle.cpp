#include "quality/SpectralAngle.h"

#include "quality/KnownBands.h"

#include <cmath>
#include <numbers>

namespace quality {

template <class Reference>
void SpectralAngle::AddRow(const double* image, const Reference* reference, const unsigned char* valid,
                           std::size_t columns) {
    WithKnownBands(bands, [&](auto known) {
        const std::size_t length = known != 0 ? known : bands;
        for (std::size_t column = 0; column < columns; ++column, image += length, reference += length) {
            if (!valid[column]) continue;
            double product = 0.0, imageSquares = 0.0, referenceSquares = 0.0;
            for (std::size_t band = 0; band < length; ++band) {
                const double x = image[band], y = static_cast<double>(reference[band]);
                product += x * y;
                imageSquares += x * x;
                referenceSquares += y * y;
            }
            if (imageSquares == 0.0 || referenceSquares == 0.0) continue;
            // One root, as for whole numbers.
            sum.radians += kernels::FindAngle(product / std::sqrt(imageSquares * referenceSquares));
            ++sum.count;
        }
    });
}
template void SpectralAngle::AddRow(const double*, const double*, const unsigned char*, std::size_t);
template void SpectralAngle::AddRow(const double*, const unsigned short*, const unsigned char*, std::size_t);

double SpectralAngle::Find() const {
    return sum.radians / static_cast<double>(sum.count) * 180.0 / std::numbers::pi;
}

} // namespace quality
