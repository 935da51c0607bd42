#include "quality/Comparison.h"

#include <array>
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
      index(columns, 2 * bands, blockSide, BandPairs(bands)), detail(columns, bands) {}

template <class Image, class Reference>
void Comparison::AddRow(const Image* image, const Reference* reference, const unsigned char* valid) {
    errors.AddRow(image, reference, valid, columns);
    angle.AddRow(image, reference, valid, columns);
    index.AddRow(std::array<Channels, 2>{{{image, bands}, {reference, bands}}}, valid);
    detail.AddRow(image, reference, valid);
}
template void Comparison::AddRow(const double*, const double*, const unsigned char*);
template void Comparison::AddRow(const double*, const unsigned short*, const unsigned char*);
template void Comparison::AddRow(const unsigned short*, const unsigned short*, const unsigned char*);

void Comparison::Append(Comparison& below) {
    errors.Append(below.errors);
    angle.Append(below.angle);
    index.Append(below.index);
    detail.Append(below.detail);
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
