#include "quality/Comparison.h"

#include <algorithm>
#include <numeric>

namespace quality {

namespace {

std::vector<ChannelPair> BandPairs(std::size_t bands) {
    std::vector<ChannelPair> pairs;
    for (std::size_t band = 0; band < bands; ++band)
        pairs.emplace_back(band, bands + band);
    return pairs;
}

} // namespace

Comparison::Comparison(std::size_t imageColumns, std::size_t bandCount)
    : columns(imageColumns), bands(bandCount), errors(bands), angle(bands),
      index(columns, 2 * bands, blockSide, BandPairs(bands)), detail(columns, bands),
      both(2 * bands * columns) {}

void Comparison::AddRow(const double* image, const double* reference, const unsigned char* valid) {
    for (std::size_t column = 0; column < columns; ++column) {
        const double* a = image + column * bands;
        const double* b = reference + column * bands;
        std::copy_n(b, bands, std::copy_n(a, bands, both.data() + column * 2 * bands));
        if (!valid[column]) continue;
        errors.AddPixel(a, b);
        angle.AddPixel(a, b);
    }
    index.AddRow(both.data(), valid);
    detail.AddRow(image, reference, valid);
}

ReferenceIndices Comparison::Find(double ratio) {
    ReferenceIndices found;
    found.pixels = errors.GetCount();
    found.errors = errors.Find();
    found.q = index.Find();
    found.spatialCorrelation = detail.Find();
    found.meanQ = std::accumulate(found.q.begin(), found.q.end(), 0.0) / static_cast<double>(bands);
    found.sam = angle.Find();
    found.ergas = Ergas(found.errors, ratio);
    return found;
}

} // namespace quality
