#include "quality/SpectralAngle.h"

#include "quality/KnownBands.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quality {

template <class Image, class Reference>
void SpectralAngle::AddRow(const Image* image, const Reference* reference, const unsigned char* valid,
                           std::size_t columns) {
    WithKnownBands(bands, [&](auto known) {
        const std::size_t length = known != 0 ? known : bands;
        for (std::size_t column = 0; column < columns; ++column, image += length, reference += length) {
            if (!valid[column]) continue;
            double product = 0.0, imageSquares = 0.0, referenceSquares = 0.0;
            for (std::size_t band = 0; band < length; ++band) {
                const auto x = static_cast<double>(image[band]), y = static_cast<double>(reference[band]);
                product += x * y;
                imageSquares += x * x;
                referenceSquares += y * y;
            }
            if (imageSquares == 0.0 || referenceSquares == 0.0) continue;
            // One root of the product, so that the cosine of proportional spectra is exactly 1.
            const double cosine = product / std::sqrt(imageSquares * referenceSquares);
            sum += std::acos(std::clamp(cosine, -1.0, 1.0));
            ++count;
        }
    });
}
template void SpectralAngle::AddRow(const double*, const double*, const unsigned char*, std::size_t);
template void SpectralAngle::AddRow(const double*, const unsigned short*, const unsigned char*, std::size_t);
template void SpectralAngle::AddRow(const unsigned short*, const unsigned short*, const unsigned char*,
                                    std::size_t);

double SpectralAngle::Find() const { return sum / static_cast<double>(count) * 180.0 / std::numbers::pi; }

} // namespace quality
