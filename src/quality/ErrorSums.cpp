#include "quality/ErrorSums.h"

#include "quality/KnownBands.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace quality {

template <std::size_t known, class Reference>
void ErrorSums::AddPixels(const double* image, const Reference* reference, const unsigned char* valid,
                          std::size_t columns) {
    const std::size_t bands = known != 0 ? known : sums.size();
    std::array<Sums, std::max<std::size_t>(known, 1)> own; // which the compiler keeps in registers
    if (known != 0) std::copy_n(sums.begin(), known, own.begin());
    Sums* const all = known != 0 ? own.data() : sums.data();
    for (std::size_t column = 0; column < columns; ++column, image += bands, reference += bands) {
        if (!valid[column]) continue;
        ++count;
        for (std::size_t band = 0; band < bands; ++band) {
            const auto truth = static_cast<double>(reference[band]);
            const double difference = image[band] - truth;
            all[band].difference += difference;
            all[band].squares += difference * difference;
            all[band].reference += truth;
            all[band].largest = std::max(all[band].largest, truth);
        }
    }
    if (known != 0) std::copy_n(own.begin(), known, sums.begin());
}

template <class Reference>
void ErrorSums::AddRow(const double* image, const Reference* reference, const unsigned char* valid,
                       std::size_t columns) {
    WithKnownBands(sums.size(),
                   [&](auto known) { AddPixels<decltype(known)::value>(image, reference, valid, columns); });
}
template void ErrorSums::AddRow(const double*, const double*, const unsigned char*, std::size_t);
template void ErrorSums::AddRow(const double*, const unsigned short*, const unsigned char*, std::size_t);

void ErrorSums::AddRow(const WholeRow& row, std::size_t columns, std::size_t counted) {
    count += counted;
    std::array<std::int32_t, kernels::mostPairs> differences{}, truths{};
    for (std::size_t band = 0; band < sums.size(); ++band)
        for (std::size_t from = 0; from < columns; from += kernels::mostPairs) {
            const std::size_t part = std::min(kernels::mostPairs, columns - from);
            const unsigned short* image = row.image + band * row.stride + from;
            const unsigned short* reference = row.reference + band * row.stride + from;
            unsigned short largest = 0;
            for (std::size_t i = 0; i < part; ++i) {
                differences[i] = image[i] - reference[i];
                truths[i] = reference[i];
                largest = std::max(largest, reference[i]);
            }
            kernels::PairSums more;
            addPairs(differences.data(), truths.data(), part, more);
            sums[band].difference += static_cast<double>(more.a);
            sums[band].squares += static_cast<double>(more.aa);
            sums[band].reference += static_cast<double>(more.b);
            sums[band].largest = std::max(sums[band].largest, static_cast<double>(largest));
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
