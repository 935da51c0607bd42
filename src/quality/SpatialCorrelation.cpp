#include "quality/SpatialCorrelation.h"

#include "quality/KnownBands.h"

#include <algorithm>
#include <cmath>

namespace quality {

SpatialCorrelation::SpatialCorrelation(std::size_t imageColumns, std::size_t bandCount)
    : columns(imageColumns), bands(bandCount), sums(bandCount) {
    for (Row& row : rows)
        row = {std::vector<double>(columns * 2 * bands), std::vector<unsigned char>(columns)};
}

template <class Image, class Reference>
void SpatialCorrelation::AddRow(const Image* image, const Reference* reference, const unsigned char* valid) {
    std::rotate(rows.begin(), rows.begin() + 1, rows.end());
    WithKnownBands(bands, [&](auto known) {
        const std::size_t length = known != 0 ? known : bands;
        double* pixel = rows[2].both.data();
        for (std::size_t column = 0; column < columns; ++column, image += length, reference += length)
            pixel = std::copy_n(reference, length, std::copy_n(image, length, pixel));
    });
    std::copy_n(valid, columns, rows[2].valid.begin());
    AddLast();
}
template void SpatialCorrelation::AddRow(const double*, const double*, const unsigned char*);
template void SpatialCorrelation::AddRow(const double*, const unsigned short*, const unsigned char*);
template void SpatialCorrelation::AddRow(const unsigned short*, const unsigned short*, const unsigned char*);

void SpatialCorrelation::AddLast() {
    if (seen < first.size()) first[seen] = rows[2];
    if (++seen >= rows.size()) AddMiddle();
}

void SpatialCorrelation::Append(const SpatialCorrelation& below) {
    // Only now do the rows at the seam have a row above and below.
    for (std::size_t i = 0; i < std::min(below.seen, first.size()); ++i) {
        std::rotate(rows.begin(), rows.begin() + 1, rows.end());
        rows[2] = below.first[i];
        AddLast();
    }
    if (below.seen <= first.size()) return;
    rows = below.rows;
    seen += below.seen - first.size();
    count += below.count;
    for (std::size_t band = 0; band < bands; ++band) {
        Sums& sum = sums[band];
        const Sums& more = below.sums[band];
        sum.image += more.image;
        sum.reference += more.reference;
        sum.imageSquares += more.imageSquares;
        sum.referenceSquares += more.referenceSquares;
        sum.products += more.products;
    }
}

void SpatialCorrelation::AddMiddle() {
    const std::size_t step = 2 * bands, samples = columns * step;
    down.resize(samples);
    detail.resize(samples);
    for (std::size_t at = 0; at < samples; ++at)
        down[at] = rows[0].both[at] + rows[1].both[at] + rows[2].both[at];
    for (std::size_t at = step; at + step < samples; ++at)
        detail[at] = 9.0 * rows[1].both[at] - (down[at - step] + down[at] + down[at + step]);
    counts.resize(columns);
    for (std::size_t column = 0; column < columns; ++column)
        counts[column] =
            rows[0].valid[column] != 0 && rows[1].valid[column] != 0 && rows[2].valid[column] != 0;
    WithKnownBands(bands, [this](auto known) { AddProducts(known); });
}

template <std::size_t known>
void SpatialCorrelation::AddProducts(std::integral_constant<std::size_t, known>) {
    const std::size_t length = known != 0 ? known : bands;
    std::array<Sums, std::max<std::size_t>(known, 1)> own; // which the compiler keeps in registers
    if (known != 0) std::copy_n(sums.begin(), known, own.begin());
    Sums* const all = known != 0 ? own.data() : sums.data();
    for (std::size_t column = 1; column + 1 < columns; ++column) {
        if (!counts[column - 1] || !counts[column] || !counts[column + 1]) continue;
        ++count;
        const double* pixel = detail.data() + column * 2 * length;
        for (std::size_t band = 0; band < length; ++band) {
            const double x = pixel[band], y = pixel[length + band];
            all[band].image += x;
            all[band].reference += y;
            all[band].imageSquares += x * x;
            all[band].referenceSquares += y * y;
            all[band].products += x * y;
        }
    }
    if (known != 0) std::copy_n(own.begin(), known, sums.begin());
}

std::vector<double> SpatialCorrelation::Find() const {
    std::vector<double> found;
    const auto n = static_cast<double>(count);
    for (const Sums& sum : sums) {
        const double image = n * sum.imageSquares - sum.image * sum.image;
        const double reference = n * sum.referenceSquares - sum.reference * sum.reference;
        if (count > 0 && (image <= 0.0 || reference <= 0.0))
            found.push_back(image <= 0.0 && reference <= 0.0 ? 1.0 : 0.0);
        else
            found.push_back((n * sum.products - sum.image * sum.reference) /
                            (std::sqrt(image) * std::sqrt(reference)));
    }
    return found;
}

} // namespace quality
