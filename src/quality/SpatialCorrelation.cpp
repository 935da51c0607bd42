#include "quality/SpatialCorrelation.h"

#include <algorithm>
#include <cmath>

namespace quality {

SpatialCorrelation::SpatialCorrelation(std::size_t imageColumns, std::size_t bandCount)
    : columns(imageColumns), bands(bandCount), counts(imageColumns), sums(bandCount) {}

/// The place of the next row, behind the last two.
template <class Sample>
SpatialCorrelation::Row<Sample>& SpatialCorrelation::Next(Rows<Sample>& rows) {
    std::rotate(rows.last.begin(), rows.last.begin() + 1, rows.last.end());
    return rows.last[2];
}

template <class Reference>
void SpatialCorrelation::AddRow(const double* image, const Reference* reference, const unsigned char* valid) {
    Row<double>& row = Next(real);
    row.planes.resize(2 * bands * columns);
    for (std::size_t band = 0; band < bands; ++band) {
        double* plane = row.planes.data() + band * columns;
        double* truth = plane + bands * columns;
        for (std::size_t column = 0; column < columns; ++column) {
            plane[column] = image[column * bands + band];
            truth[column] = static_cast<double>(reference[column * bands + band]);
        }
    }
    row.valid.assign(valid, valid + columns);
    AddLast(real, realDetail);
}
template void SpatialCorrelation::AddRow(const double*, const double*, const unsigned char*);
template void SpatialCorrelation::AddRow(const double*, const unsigned short*, const unsigned char*);

void SpatialCorrelation::AddRow(const WholeRow& samples, const unsigned char* valid) {
    Row<unsigned short>& row = Next(whole);
    row.planes.clear();
    for (const unsigned short* image : {samples.image, samples.reference})
        for (std::size_t band = 0; band < bands; ++band, image += samples.stride)
            row.planes.insert(row.planes.end(), image, image + columns);
    row.valid.assign(valid, valid + columns);
    AddLast(whole, wholeDetail);
}

template <class Sample, class Number>
void SpatialCorrelation::AddLast(Rows<Sample>& rows, Detail<Number>& detail) {
    if (rows.seen < rows.first.size()) rows.first[rows.seen] = rows.last[2];
    if (++rows.seen >= rows.last.size()) AddMiddle(rows, detail);
}

template <class Sample, class Number>
void SpatialCorrelation::Append(Rows<Sample>& rows, const Rows<Sample>& below, Detail<Number>& detail) {
    // Only now do the rows at the seam have a row above and below.
    for (std::size_t i = 0; i < std::min(below.seen, rows.first.size()); ++i) {
        Next(rows) = below.first[i];
        AddLast(rows, detail);
    }
    if (below.seen <= rows.first.size()) return;
    rows.last = below.last;
    rows.seen += below.seen - rows.first.size();
}

void SpatialCorrelation::Append(const SpatialCorrelation& below) {
    Append(real, below.real, realDetail);
    Append(whole, below.whole, wholeDetail);
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

template <class Sample, class Number>
void SpatialCorrelation::AddMiddle(const Rows<Sample>& rows, Detail<Number>& detail) {
    const Row<Sample>& above = rows.last[0];
    const Row<Sample>& middle = rows.last[1];
    const Row<Sample>& below = rows.last[2];
    const auto isValid = [&](std::size_t column) {
        return above.valid[column] != 0 && middle.valid[column] != 0 && below.valid[column] != 0;
    };
    for (std::size_t column = 1; column + 1 < columns; ++column)
        counts[column] = isValid(column - 1) && isValid(column) && isValid(column + 1) ? -1 : 0;
    count += static_cast<std::uint64_t>(std::count(counts.begin(), counts.end(), -1));
    const auto filter = [&](std::size_t plane, std::vector<Number>& found) {
        const std::size_t from = plane * columns;
        const Sample* a = above.planes.data() + from;
        const Sample* b = middle.planes.data() + from;
        const Sample* c = below.planes.data() + from;
        for (std::size_t i = 0; i < columns; ++i)
            detail.down[i] =
                static_cast<Number>(a[i]) + static_cast<Number>(b[i]) + static_cast<Number>(c[i]);
        for (std::size_t i = 1; i + 1 < columns; ++i)
            found[i] =
                9 * static_cast<Number>(b[i]) - (detail.down[i - 1] + detail.down[i] + detail.down[i + 1]);
    };
    for (auto* row : {&detail.down, &detail.image, &detail.reference})
        row->resize(columns);
    for (std::size_t band = 0; band < bands; ++band) {
        filter(band, detail.image);
        filter(bands + band, detail.reference);
        AddProducts(detail, sums[band]);
    }
}

void SpatialCorrelation::AddProducts(const Detail<double>& detail, Sums& all) const {
    Sums sum = all; // which the compiler keeps in registers
    for (std::size_t column = 1; column + 1 < columns; ++column) {
        if (counts[column] == 0) continue;
        const double x = detail.image[column], y = detail.reference[column];
        sum.image += x;
        sum.reference += y;
        sum.imageSquares += x * x;
        sum.referenceSquares += y * y;
        sum.products += x * y;
    }
    all = sum;
}

void SpatialCorrelation::AddProducts(Detail<std::int32_t>& detail, Sums& sum) const {
    for (std::size_t column = 0; column < columns; ++column) {
        detail.image[column] &= counts[column];
        detail.reference[column] &= counts[column];
    }
    for (std::size_t from = 0; from < columns; from += kernels::mostPairs) {
        kernels::PairSums more;
        addPairs(detail.image.data() + from, detail.reference.data() + from,
                 std::min(kernels::mostPairs, columns - from), more);
        sum.image += static_cast<double>(more.a);
        sum.reference += static_cast<double>(more.b);
        sum.imageSquares += static_cast<double>(more.aa);
        sum.referenceSquares += static_cast<double>(more.bb);
        sum.products += static_cast<double>(more.ab);
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
