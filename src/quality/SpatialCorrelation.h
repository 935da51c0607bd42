#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

namespace quality {

/// The correlation of the detail of two images, band by band. Detail is the result of the filter
///
///     -1 -1 -1
///     -1  8 -1
///     -1 -1 -1
///
/// A pixel counts if all its neighbours lie within the image and count as well.
class SpatialCorrelation {
public:
    SpatialCorrelation(std::size_t imageColumns, std::size_t bandCount);

    /// Adds a row. Samples are doubles or unsigned shorts.
    template <class Image, class Reference>
    void AddRow(const Image* image, const Reference* reference, const unsigned char* valid);
    void Append(const SpatialCorrelation& below);
    /// 1 if neither has detail, 0 if only one has. NaN when no pixel counted.
    [[nodiscard]] std::vector<double> Find() const;

private:
    struct Row {
        std::vector<double> both; ///< per pixel: the bands of the image, then those of the reference
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
    std::array<Row, 3> rows;  ///< the latest row last
    std::array<Row, 2> first; ///< the first two, to be joined with the rows above
    std::size_t seen = 0;
    std::vector<double> down, detail;  ///< of the middle row: the sum of three rows, and the result of the
                                       ///< filter
    std::vector<unsigned char> counts; ///< where all three rows count
    std::vector<Sums> sums;
    std::uint64_t count = 0;
};

} // namespace quality
