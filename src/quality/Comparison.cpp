#include "quality/Comparison.h"

#include <algorithm>
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

template <class Reference>
void Comparison::AddRow(const double* image, const Reference* reference, const unsigned char* valid) {
    errors.AddRow(image, reference, valid, columns);
    angle.AddRow(image, reference, valid, columns);
    index.AddRow(std::array<Channels, 2>{{{image, bands}, {reference, bands}}}, valid);
    detail.AddRow(image, reference, valid);
}
template void Comparison::AddRow(const double*, const double*, const unsigned char*);
template void Comparison::AddRow(const double*, const unsigned short*, const unsigned char*);

WholeRow Comparison::Spread(const unsigned short* image, const unsigned short* reference) {
    planes.resize(2 * bands * columns);
    part.resize(bands * kernels::spreadPixels);
    unsigned short* plane = planes.data();
    for (const unsigned short* row : {image, reference}) {
        for (std::size_t from = 0; from < columns; from += kernels::spreadPixels) {
            const std::size_t count = std::min(kernels::spreadPixels, columns - from);
            spreadPixels(row + from * bands, bands, count, part.data());
            for (std::size_t band = 0; band < bands; ++band)
                std::copy_n(part.data() + band * kernels::spreadPixels, count, plane + band * columns + from);
        }
        plane += bands * columns;
    }
    return {planes.data(), planes.data() + bands * columns, columns};
}

void Comparison::AddRow(const unsigned short* image, const unsigned short* reference,
                        const unsigned char* valid) {
    const WholeRow row = Spread(image, reference);
    detail.AddRow(row, valid);
    index.AddRow(std::array<Channels, 2>{{{image, bands}, {reference, bands}}}, valid);
    std::size_t counted = columns;
    for (std::size_t column = 0; column < columns; ++column) {
        if (valid[column]) continue;
        --counted;
        for (std::size_t plane = 0; plane < 2 * bands; ++plane)
            planes[plane * columns + column] = 0;
    }
    errors.AddRow(row, columns, counted);
    angle.AddRow(row, columns);
}

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
