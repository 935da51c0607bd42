#pragma once

#include "kernels/SumRow.h"
#include "quality/WholeRow.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// Measures of the quality of a fused image. Images come as rows of numbers, interleaved by pixel, from the
/// top, each with a byte per pixel that is 0 if the pixel does not count. Only sums are kept, so parts of an
/// image may be processed in parallel: `Append` adds the sums of the rows just below. docs/quality.md has the
/// definitions with their sources.
namespace quality {

/// Errors of one band against a reference.
struct BandErrors {
    double bias = 0.0; ///< mean of the image minus mean of the reference, in DN
    double rmse = 0.0;
    double psnr = 0.0; ///< dB, against the largest reference sample; infinite without an error
    double mean = 0.0; ///< of the reference
};

/// Sums up differences pixel by pixel.
class ErrorSums {
public:
    explicit ErrorSums(std::size_t bands) : sums(bands) {}

    /// Adds a row of `columns` pixels. Reference samples are doubles or unsigned shorts.
    template <class Reference>
    void AddRow(const double* image, const Reference* reference, const unsigned char* valid,
                std::size_t columns);
    /// Adds a row in which `counted` pixels count. All samples of the others are 0.
    void AddRow(const WholeRow& row, std::size_t columns, std::size_t counted);
    void Append(const ErrorSums& below);

    [[nodiscard]] std::uint64_t GetCount() const { return count; }
    /// All numbers are NaN before the first pixel.
    [[nodiscard]] std::vector<BandErrors> Find() const;

private:
    struct Sums {
        double difference = 0.0, squares = 0.0, reference = 0.0, largest = 0.0;
    };
    template <std::size_t known, class Reference>
    void AddPixels(const double* image, const Reference* reference, const unsigned char* valid,
                   std::size_t columns);

    std::vector<Sums> sums;
    std::uint64_t count = 0;
    kernels::AddPairs addPairs = kernels::AddPairsFor(kernels::ChosenSimdTarget());
};

/// ERGAS (Wald 2000): 100 / ratio * sqrt(mean over the bands of (rmse / mean)^2), where `ratio` is the width
/// of a coarse pixel over that of a fine one. NaN if the reference of a band has the mean 0.
[[nodiscard]] double Ergas(const std::vector<BandErrors>& bands, double ratio);

} // namespace quality
