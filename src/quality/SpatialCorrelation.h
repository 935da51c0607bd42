#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

namespace quality {

/// The correlation of two images' detail, band by band: of what the filter
///
///     -1 -1 -1
///     -1  8 -1
///     -1 -1 -1
///
/// leaves of them. Pixels count whose neighbours lie within the image and all count.
class SpatialCorrelation {
public:
    SpatialCorrelation(std::size_t imageColumns, std::size_t bandCount);

    /// Samples are doubles or unsigned shorts.
    template <class Image, class Reference>
    void AddRow(const Image* image, const Reference* reference, const unsigned char* valid);
    void Append(const SpatialCorrelation& below);
    /// 1 where both have no detail, 0 where one has none. Not a number when no pixel counted.
    [[nodiscard]] std::vector<double> Find() const;

private:
    struct Row {
        std::vector<double> both; ///< the bands of the image and then those of the reference a pixel
        std::vector<unsigned char> valid;
    };
    struct Sums {
        double image = 0.0, reference = 0.0, imageSquares = 0.0, referenceSquares = 0.0, products = 0.0;
    };
    void AddLast();
    void AddMiddle();
    template <std::size_t known>
    void AddProducts(std::integral_constant<std::size_t, known> knownBands);

    std::size_t columns, bands;
    std::array<Row, 3> rows;  ///< the latest last
    std::array<Row, 2> first; ///< the first ones, for what is above them
    std::size_t seen = 0;
    std::vector<double> down, detail;  ///< of the middle row: three rows added up, and what the filter leaves
    std::vector<unsigned char> counts; ///< where all three rows do
    std::vector<Sums> sums;
    std::uint64_t count = 0;
};

} // namespace quality
