#include "Picture.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>

namespace demo {
namespace {

constexpr int gap = 4;

using Stretch = std::array<std::uint8_t, 256>;

Stretch StretchOf(const Image& image, const std::array<std::size_t, 3>& colours) {
    std::array<std::size_t, 256> histogram{};
    for (const std::size_t band : colours)
        for (const std::uint8_t sample : image.bands.at(band))
            ++histogram[sample];
    const std::size_t total = std::accumulate(histogram.begin(), histogram.end(), std::size_t{0});
    const auto percentile = [&](std::size_t percent) {
        std::size_t seen = 0;
        int value = 0;
        while (value < 255 && (seen += histogram[static_cast<std::size_t>(value)]) * 100 < total * percent)
            ++value;
        return value;
    };
    const int low = percentile(1);
    const int high = std::max(percentile(99), low + 1);
    Stretch stretch{};
    for (int value = 0; value < 256; ++value)
        stretch[static_cast<std::size_t>(value)] =
            static_cast<std::uint8_t>(std::clamp((value - low) * 255 / (high - low), 0, 255));
    return stretch;
}

void Paste(const Image& image, const std::array<std::size_t, 3>& colours, const Stretch& stretch, int left,
           Image& picture) {
    if (image.rows != picture.rows) throw std::runtime_error("the images of the picture differ in height");
    for (std::size_t colour = 0; colour < colours.size(); ++colour)
        for (int row = 0; row < image.rows; ++row)
            for (int column = 0; column < image.columns; ++column)
                picture.bands[colour][picture.Index(row, left + column)] =
                    stretch[image.At(colours[colour], row, column)];
}

} // namespace

Image SideBySide(const Image& pan, const Image& upsampled, const Image& fused,
                 const std::array<std::size_t, 3>& colours) {
    Image picture = Image{}.Like(pan.columns + upsampled.columns + fused.columns + 2 * gap, pan.rows, 3, 1.0);
    for (auto& band : picture.bands)
        std::fill(band.begin(), band.end(), std::uint8_t{255});
    const Stretch stretch = StretchOf(fused, colours);
    Paste(pan, {0, 0, 0}, stretch, 0, picture);
    Paste(upsampled, colours, stretch, pan.columns + gap, picture);
    Paste(fused, colours, stretch, pan.columns + gap + upsampled.columns + gap, picture);
    return picture;
}

} // namespace demo
