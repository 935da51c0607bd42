#pragma once

#include "kernels/SumRow.h"
#include "quality/WholeRow.h"

#include <array>
#include <cstddef>
#include <cstdint>
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

    /// Adds a row. Reference samples are doubles or unsigned shorts. All rows of an object, and of those
    /// appended to it, are of one kind: of real numbers or whole ones.
    template <class Reference>
    void AddRow(const double* image, const Reference* reference, const unsigned char* valid);
    void AddRow(const WholeRow& row, const unsigned char* valid);
    void Append(const SpatialCorrelation& below);
    /// 1 if neither has detail, 0 if only one has. NaN when no pixel counted.
    [[nodiscard]] std::vector<double> Find() const;

private:
    template <class Sample>
    struct Row {
        std::vector<Sample> planes; ///< one per band of the image, then those of the reference
        std::vector<unsigned char> valid;
    };
    template <class Sample>
    struct Rows {
        std::array<Row<Sample>, 3> last;  ///< the latest row last
        std::array<Row<Sample>, 2> first; ///< to be joined with the rows above
        std::size_t seen = 0;
    };
    /// The detail of a band in the middle row.
    template <class Number>
    struct Detail {
        std::vector<Number> down; ///< the sum of three rows
        std::vector<Number> image, reference;
    };
    struct Sums {
        double image = 0.0, reference = 0.0, imageSquares = 0.0, referenceSquares = 0.0, products = 0.0;
    };
    template <class Sample>
    static Row<Sample>& Next(Rows<Sample>& rows);
    template <class Sample, class Number>
    void AddLast(Rows<Sample>& rows, Detail<Number>& detail);
    template <class Sample, class Number>
    void AddMiddle(const Rows<Sample>& rows, Detail<Number>& detail);
    template <class Sample, class Number>
    void Append(Rows<Sample>& rows, const Rows<Sample>& below, Detail<Number>& detail);
    void AddProducts(const Detail<double>& detail, Sums& all) const;
    void AddProducts(Detail<std::int32_t>& detail, Sums& sum) const;

    std::size_t columns, bands;
    Rows<double> real;
    Rows<unsigned short> whole;
    Detail<double> realDetail;
    Detail<std::int32_t> wholeDetail;
    std::vector<std::int32_t> counts; ///< -1 where a pixel of the middle row counts, else 0
    std::vector<Sums> sums;
    std::uint64_t count = 0;
    kernels::AddPairs addPairs = kernels::AddPairsFor(kernels::ChosenSimdTarget());
};

} // namespace quality
