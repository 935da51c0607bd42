#include "quality/SpectralAngle.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quality {

void SpectralAngle::AddPixel(const double* image, const double* reference) {
    double product = 0.0, imageSquares = 0.0, referenceSquares = 0.0;
    for (std::size_t band = 0; band < bands; ++band) {
        product += image[band] * reference[band];
        imageSquares += image[band] * image[band];
        referenceSquares += reference[band] * reference[band];
    }
    if (imageSquares == 0.0 || referenceSquares == 0.0) return;
    // One root of the product: spectra that are multiples of each other have the cosine 1 exactly.
    const double cosine = product / std::sqrt(imageSquares * referenceSquares);
    sum += std::acos(std::clamp(cosine, -1.0, 1.0));
    ++count;
}

double SpectralAngle::Find() const { return sum / static_cast<double>(count) * 180.0 / std::numbers::pi; }

} // namespace quality
