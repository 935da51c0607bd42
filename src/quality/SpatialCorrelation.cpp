#include "quality/SpatialCorrelation.h"

#include <algorithm>
#include <cmath>

namespace quality {

SpatialCorrelation::SpatialCorrelation(std::size_t imageColumns, std::size_t bandCount)
    : columns(imageColumns), bands(bandCount), sums(bandCount) {
    for (Row& row : rows) {
        row.image.resize(columns * bands);
        row.reference.resize(columns * bands);
        row.valid.resize(columns);
    }
}

void SpatialCorrelation::AddRow(const double* image, const double* reference, const unsigned char* valid) {
    std::rotate(rows.begin(), rows.begin() + 1, rows.end());
    std::copy_n(image, columns * bands, rows[2].image.begin());
    std::copy_n(reference, columns * bands, rows[2].reference.begin());
    std::copy_n(valid, columns, rows[2].valid.begin());
    if (++seen >= rows.size()) AddMiddle();
}

double SpatialCorrelation::Detail(std::vector<double> Row::*samples, std::size_t at) const {
    double sum = 0.0;
    for (const Row& row : rows) {
        const double* middle = (row.*samples).data() + at;
        sum += middle[-static_cast<std::ptrdiff_t>(bands)] + middle[0] + middle[bands];
    }
    return 9.0 * (rows[1].*samples)[at] - sum;
}

void SpatialCorrelation::AddMiddle() {
    for (std::size_t column = 1; column + 1 < columns; ++column) {
        const bool counts = std::all_of(rows.begin(), rows.end(), [column](const Row& row) {
            return row.valid[column - 1] && row.valid[column] && row.valid[column + 1];
        });
        if (!counts) continue;
        ++count;
        for (std::size_t band = 0; band < bands; ++band) {
            const double x = Detail(&Row::image, column * bands + band);
            const double y = Detail(&Row::reference, column * bands + band);
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
