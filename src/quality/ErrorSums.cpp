#include "quality/ErrorSums.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace quality {

void ErrorSums::AddPixel(const double* image, const double* reference) {
    ++count;
    for (std::size_t band = 0; band < sums.size(); ++band) {
        const double difference = image[band] - reference[band];
        sums[band].difference += difference;
        sums[band].squares += difference * difference;
        sums[band].reference += reference[band];
        sums[band].largest = std::max(sums[band].largest, reference[band]);
    }
}

void ErrorSums::Append(const ErrorSums& below) {
    count += below.count;
    for (std::size_t band = 0; band < sums.size(); ++band) {
        sums[band].difference += below.sums[band].difference;
        sums[band].squares += below.sums[band].squares;
        sums[band].reference += below.sums[band].reference;
        sums[band].largest = std::max(sums[band].largest, below.sums[band].largest);
    }
}

std::vector<BandErrors> ErrorSums::Find() const {
    std::vector<BandErrors> bands;
    const auto n = static_cast<double>(count);
    for (const Sums& band : sums) {
        const double rmse = std::sqrt(band.squares / n);
        bands.push_back(
            {band.difference / n, rmse, 20.0 * std::log10(band.largest / rmse), band.reference / n});
    }
    return bands;
}

double Ergas(const std::vector<BandErrors>& bands, double ratio) {
    double sum = 0.0;
    for (const BandErrors& band : bands)
        sum += band.mean == 0.0 ? std::numeric_limits<double>::quiet_NaN()
                                : (band.rmse / band.mean) * (band.rmse / band.mean);
    return 100.0 / ratio * std::sqrt(sum / static_cast<double>(bands.size()));
}

} // namespace quality
