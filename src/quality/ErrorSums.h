#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// How good a fused image is. Images come as rows of numbers, interleaved by pixel, from the top, each with a
/// byte per pixel that is 0 where the pixel does not count. Nothing but sums is kept of them, so that parts
/// of an image may be looked at side by side: `Append` adds what was found for the rows just below.
/// docs/quality.md has the definitions with their sources.
namespace quality {

/// Errors of one band against a reference.
struct BandErrors {
    double bias = 0.0; ///< mean of the image - mean of the reference
    double rmse = 0.0;
    double psnr = 0.0; ///< dB, of the largest reference sample; infinite without an error
    double mean = 0.0; ///< of the reference
};

/// Sums up differences pixel by pixel.
class ErrorSums {
public:
    explicit ErrorSums(std::size_t bands) : sums(bands) {}

    /// So many pixels. Samples are doubles or unsigned shorts.
    template <class Image, class Reference>
    void AddRow(const Image* image, const Reference* reference, const unsigned char* valid,
                std::size_t columns);
    void Append(const ErrorSums& below);

    [[nodiscard]] std::uint64_t GetCount() const { return count; }
    /// Not a number throughout before the first pixel.
    [[nodiscard]] std::vector<BandErrors> Find() const;

private:
    struct Sums {
        double difference = 0.0, squares = 0.0, reference = 0.0, largest = 0.0;
    };
    template <std::size_t known, class Image, class Reference>
    void AddPixels(const Image* image, const Reference* reference, const unsigned char* valid,
                   std::size_t columns);

    std::vector<Sums> sums;
    std::uint64_t count = 0;
};

/// ERGAS, 100 / ratio * sqrt(mean over the bands of (rmse / mean)^2), `ratio` the coarse pixel's width over
/// that of the fine one. Not a number where a band's reference has the mean 0.
[[nodiscard]] double Ergas(const std::vector<BandErrors>& bands, double ratio);

} // namespace quality
