#include "quality/SpatialCorrelation.h"

#include <algorithm>
#include <cmath>

namespace quality {

SpatialCorrelation::SpatialCorrelation(std::size_t imageColumns, std::size_t bandCount)
    : columns(imageColumns), bands(bandCount), sums(bandCount) {
    for (Row& row : rows)
        row = {std::vector<double>(columns * 2 * bands), std::vector<unsigned char>(columns)};
}

void SpatialCorrelation::AddRow(const double* both, const unsigned char* valid) {
    std::rotate(rows.begin(), rows.begin() + 1, rows.end());
    std::copy_n(both, columns * 2 * bands, rows[2].both.begin());
    std::copy_n(valid, columns, rows[2].valid.begin());
    if (seen < first.size()) first[seen] = rows[2];
    if (++seen >= rows.size()) AddMiddle();
}

void SpatialCorrelation::Append(const SpatialCorrelation& below) {
    // The rows at the seam are the middle ones of three only now.
    for (std::size_t i = 0; i < std::min(below.seen, first.size()); ++i)
        AddRow(below.first[i].both.data(), below.first[i].valid.data());
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
    for (std::size_t column = 1; column + 1 < columns; ++column) {
        const bool counts = std::all_of(rows.begin(), rows.end(), [column](const Row& row) {
            return row.valid[column - 1] && row.valid[column] && row.valid[column + 1];
        });
        if (!counts) continue;
        ++count;
        for (std::size_t band = 0; band < bands; ++band) {
            const double x = detail[column * step + band];
            const double y = detail[column * step + bands + band];
            Sums& sum = sums[band];
            sum.image += x;
            sum.reference += y;
            sum.imageSquares += x * x;
            sum.referenceSquares += y * y;
            sum.products += x * y;
        }
    }
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
