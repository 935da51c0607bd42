// Included once for every vector target (see Highway's foreach_target.h); bilinear interpolation of pixels of
// four samples of 8 bits along lines.
#if defined(PANSHARP_MAPPED_PACKED_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PANSHARP_MAPPED_PACKED_INL_H
#undef PANSHARP_MAPPED_PACKED_INL_H
#else
#define PANSHARP_MAPPED_PACKED_INL_H
#endif

#include "kernels/BilinearRow.h"
#include "kernels/Mapped-inl.h"
#include "kernels/Packed-inl.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>

/// A pixel is one word. A vector holds one band, so factors need not be spread, and neighbours stay in
/// registers. Bilinear samples are continuous in their position, so a position may err a little, even if it
/// gets other neighbours by that.
///
/// Positions are whole numbers: of 2^-40 source pixel for the first pixel of a vector, of 2^-27 from there
/// on. They err by one unit of the latter where the former are cut off, and by half of one for each further
/// pixel, at most 15. The first positions, their steps and the definition err by less than 2^-28.
HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR

inline constexpr std::size_t mostLanes = 16;
/// Pixels that are computed together: so few that the errors of their steps add up to nothing that counts.
inline constexpr std::size_t mostOnLine = 256;

/// The error of a sample is below this. In units of 2^-15, numbers from 256 to 512 are rounded by 0.5, once
/// across and once down, after products that are rounded by 0.25 unless the processor has fused multiply-add.
/// Differences are exact. The fraction of either axis is rounded by 2^-25, which is 0.25. The position errs
/// by 8.5 * 2^-27 + 2^-28 along either, and a sample changes by at most 255 per pixel: together by 1.13.
inline constexpr double packedError = 3.2 / fractionUnits;

/// The pixels of a line along one axis.
struct AxisLine {
    static constexpr int fineBits = 40, placeBits = 27, cutBits = fineBits - placeBits;
    static constexpr std::int32_t onePixel = 1 << placeBits;

    /// `t` and `stepOfT` are those of MappedLine; `lastLane` is the number of pixels of a vector after the
    /// first.
    AxisLine(double from, double to, const MappedLine& line, double t, double stepOfT,
             std::uint32_t firstAvailable, std::int64_t lastLane) {
        constexpr double unit = std::int64_t{1} << fineBits;
        at = static_cast<std::int64_t>(unit * (line.Shrink(from * (1.0 - t) + to * t) - firstAvailable));
        step = static_cast<std::int64_t>(unit * ((to - from) * stepOfT));
        shortStep = (step + (std::int64_t{1} << (cutBits - 1))) >> cutBits;
        leastLane = shortStep < 0 ? lastLane : 0;
    }
    /// The least and the greatest first neighbour of the pixels, or what lies one beyond each.
    [[nodiscard]] std::pair<std::int64_t, std::int64_t> FindEnds(std::size_t pixels) const {
        const auto [least, greatest] = std::minmax({at, at + static_cast<std::int64_t>(pixels) * step});
        return {(least >> fineBits) - 1, (greatest >> fineBits) + 1};
    }
    /// For the next vector: its least position, in units of 2^-27.
    [[nodiscard]] std::int64_t Least() const { return (at + leastLane * step) >> cutBits; }

    std::int64_t at;        ///< of the next pixel, from the first available one, in units of 2^-40
    std::int64_t step;      ///< between pixels
    std::int64_t shortStep; ///< the same in units of 2^-27
    std::int64_t leastLane; ///< the pixel of each vector with the least position
};

class PackedRow {
    using D = hn::CappedTag<float, mostLanes>;
    using DPlace = hn::RebindToSigned<D>;
    using DWord = hn::RebindToUnsigned<D>;
    using Places = hn::Vec<DPlace>;
    using Words = hn::Vec<DWord>;
    using Nearest = NearestSample<UncertainUnits(packedError)>;

public:
    explicit PackedRow(const MappedSource<unsigned char>& from)
        : source(from), rows(static_cast<std::int64_t>((from.bytes - 1) / from.rowStride + 1)),
          columns(static_cast<std::int64_t>(
              (from.bytes - (static_cast<std::size_t>(rows) - 1) * from.rowStride) / packedBands)) {}

    /// Computes the pixels of a line. False, with nothing written, if they lie too far apart, have neighbours
    /// at an edge, or are too few.
    HWY_ATTR bool Make(const MappedLine& line, unsigned char* HWY_RESTRICT out) const {
        const DPlace dPlace;
        const DWord dWord;
        const std::size_t lanes = hn::Lanes(dWord);
        if (2 * line.pixels < lanes || !IsNear(line)) return false;
        const auto lastLane = static_cast<std::int64_t>(lanes) - 1;
        const double part = 1.0 / line.length, t = line.start * part,
                     stepOfT = line.step * part / line.shrink;
        AxisLine x(line.fromX, line.toX, line, t, stepOfT, source.firstColumn, lastLane);
        AxisLine y(line.fromY, line.toY, line, t, stepOfT, source.firstRow, lastLane);
        if (!Suits(x, y, line.pixels)) return false;
        // From the lane with the least position on, so that the places of a vector are not negative.
        const auto offsets = [&](const AxisLine& axis) HWY_ATTR {
            const auto number = hn::Iota(dPlace, static_cast<std::int32_t>(-axis.leastLane));
            return hn::Mul(number, hn::Set(dPlace, static_cast<std::int32_t>(axis.shortStep)));
        };
        const Places offsetsX = offsets(x), offsetsY = offsets(y);
        const std::int64_t height = lastLane * std::abs(y.shortStep);
        std::uint32_t uncertain[mostOnLine];
        std::size_t count = 0;
        for (std::size_t i = 0; i < line.pixels; i += lanes) {
            const std::int64_t left = x.Least(), top = y.Least();
            const auto within = [&](std::int64_t least, Places offset) HWY_ATTR {
                const auto fraction = static_cast<std::int32_t>(least & (AxisLine::onePixel - 1));
                return hn::Add(hn::Set(dPlace, fraction), offset);
            };
            const Places placesX = within(left, offsetsX), placesY = within(top, offsetsY);
            const std::int64_t row = top >> AxisLine::placeBits;
            const unsigned char* first = source.samples + static_cast<std::size_t>(row) * source.rowStride +
                                         static_cast<std::size_t>(left >> AxisLine::placeBits) * packedBands;
            const std::int64_t turns = ((top + height) >> AxisLine::placeBits) - row;
            Words certainty;
            const Words pixels = Blend(Collect(first, turns, placesX, placesY), FractionOf(placesX),
                                       FractionOf(placesY), certainty);
            if (i + lanes <= line.pixels) {
                hn::StoreU(pixels, dWord, reinterpret_cast<std::uint32_t*>(out + i * packedBands));
            } else {
                HWY_ALIGN std::uint32_t words[mostLanes];
                hn::Store(pixels, dWord, words);
                std::memcpy(out + i * packedBands, words, (line.pixels - i) * packedBands);
            }
            const auto isUncertain = hn::Eq(certainty, hn::Zero(dWord));
            if (!hn::AllFalse(dWord, isUncertain))
                count = Mark(dWord, isUncertain, i, std::min(lanes, line.pixels - i), count, uncertain);
            x.at += static_cast<std::int64_t>(lanes) * x.step;
            y.at += static_cast<std::int64_t>(lanes) * y.step;
        }
        for (std::size_t i = 0; i < count; ++i)
            Define(line, uncertain[i], out + std::size_t{uncertain[i]} * packedBands);
        return true;
    }

private:
    static constexpr std::int32_t mostTurns = 8;

    /// Whether the errors of positions have their bound; positions in units of 2^-40 then fit 64 bits.
    [[nodiscard]] bool IsNear(const MappedLine& line) const {
        constexpr double farthest = 1 << 19;
        return std::fabs(line.fromX) < farthest && std::fabs(line.toX) < farthest &&
               std::fabs(line.fromY) < farthest && std::fabs(line.toY) < farthest &&
               std::max(source.firstColumn, source.firstRow) < farthest && line.start >= 0.0 &&
               line.start + static_cast<double>(line.pixels) * line.step <= 2.0 * line.length;
    }

    /// Whether the neighbours of each vector of the line, of which the last may go beyond it, lie in one
    /// vector of each of a few source rows. Lines along an axis do not suit: all of their samples may be
    /// ties, and a pixel is computed again with all its bands.
    [[nodiscard]] bool Suits(const AxisLine& x, const AxisLine& y, std::size_t pixels) const {
        const auto lanes = static_cast<std::int64_t>(hn::Lanes(D())), lastLane = lanes - 1;
        const auto spans = [&](const AxisLine& axis, std::int64_t most) {
            return std::abs(axis.shortStep) * lastLane <= (most - 1) * AxisLine::onePixel;
        };
        if (x.shortStep == 0 || y.shortStep == 0 || !spans(x, lastLane) || !spans(y, mostTurns)) return false;
        const auto [left, right] = x.FindEnds(pixels + hn::Lanes(D()));
        const auto [top, bottom] = y.FindEnds(pixels + hn::Lanes(D()));
        // Rounding may reach one row further, and a load may run into the next row.
        return left >= 0 && top >= 0 && right + 1 < columns && bottom + 1 < rows &&
               (right + lanes <= columns || (bottom + 2 < rows && lanes <= columns));
    }

    static HWY_INLINE hn::Vec<D> FractionOf(Places places) {
        const DPlace d;
        const auto part = hn::And(places, hn::Set(d, AxisLine::onePixel - 1));
        return hn::Mul(hn::ConvertTo(D(), part), hn::Set(D(), 1.0f / AxisLine::onePixel));
    }

    struct Taps {
        Words upperLeft, upperRight, lowerLeft, lowerRight;
    };

    /// The neighbours of the pixels of a vector, which lie in `turns` more rows than two, from `first` on.
    HWY_INLINE Taps Collect(const unsigned char* first, std::int64_t turns, Places placesX,
                            Places placesY) const {
        struct Pair {
            Words left, right;
        };
        const DPlace d;
        const DWord dWord;
        const auto column = hn::ShiftRight<AxisLine::placeBits>(placesX);
        const auto left = hn::IndicesFromVec(dWord, column);
        const auto right = hn::IndicesFromVec(dWord, hn::Add(column, hn::Set(d, 1)));
        const auto take = [&](const unsigned char* samples) HWY_ATTR {
            const Words words = hn::LoadU(dWord, reinterpret_cast<const std::uint32_t*>(samples));
            return Pair{hn::TableLookupLanes(words, left), hn::TableLookupLanes(words, right)};
        };
        const Pair upper = take(first);
        first += source.rowStride;
        Pair lower = take(first);
        Taps taps{upper.left, upper.right, lower.left, lower.right};
        for (std::int32_t turn = 1; turn <= turns; ++turn) {
            const auto row = hn::ShiftRight<AxisLine::placeBits>(placesY);
            const auto isThere = hn::RebindMask(dWord, hn::Eq(row, hn::Set(d, turn)));
            first += source.rowStride;
            const Pair below = take(first);
            taps = {hn::IfThenElse(isThere, lower.left, taps.upperLeft),
                    hn::IfThenElse(isThere, lower.right, taps.upperRight),
                    hn::IfThenElse(isThere, below.left, taps.lowerLeft),
                    hn::IfThenElse(isThere, below.right, taps.lowerRight)};
            lower = below;
        }
        // The next source row: a slanted line reaches it in an order that the processor does not predict.
        hwy::Prefetch(first + source.rowStride);
        return taps;
    }

    /// One band as floats, lifted: the bits of a sample are those of 256 more.
    template <int Band>
    static HWY_INLINE hn::Vec<D> Lifted(Words pixels) {
        const DWord d;
        constexpr int left = fractionBits - 8 * Band;
        Words moved;
        if constexpr (left > 0)
            moved = hn::ShiftLeft<left>(pixels);
        else
            moved = hn::ShiftRight<-left>(pixels);
        const auto sample = hn::And(moved, hn::Set(d, std::uint32_t{0xFF} << fractionBits));
        return hn::BitCast(D(), hn::Or(sample, hn::Set(d, std::bit_cast<std::uint32_t>(Nearest::lift))));
    }

    template <int Band>
    static HWY_INLINE Words BlendBand(const Taps& taps, hn::Vec<D> fx, hn::Vec<D> fy) {
        const auto a = Lifted<Band>(taps.upperLeft), c = Lifted<Band>(taps.lowerLeft);
        const auto upper = hn::MulAdd(hn::Sub(Lifted<Band>(taps.upperRight), a), fx, a);
        const auto lower = hn::MulAdd(hn::Sub(Lifted<Band>(taps.lowerRight), c), fx, c);
        return hn::BitCast(DWord(), hn::MulAdd(hn::Sub(lower, upper), fy, upper));
    }

    /// `certainty` gets 0 where a sample of the pixel is left to the definition.
    static HWY_INLINE Words Blend(const Taps& taps, hn::Vec<D> fx, hn::Vec<D> fy, Words& certainty) {
        const DWord d;
        const Words first = BlendBand<0>(taps, fx, fy), second = BlendBand<1>(taps, fx, fy);
        const Words third = BlendBand<2>(taps, fx, fy), last = BlendBand<3>(taps, fx, fy);
        const auto certain = [&](Words sums) HWY_ATTR { return Nearest::Certainty(d, sums); };
        certainty = hn::Min(hn::Min(certain(first), certain(second)), hn::Min(certain(third), certain(last)));
        const auto lower = hn::Or(Nearest::SampleOf<0>(d, first), Nearest::SampleOf<1>(d, second));
        const auto upper = hn::Or(Nearest::SampleOf<2>(d, third), Nearest::SampleOf<3>(d, last));
        return hn::Or(lower, upper);
    }

    /// Computes a pixel by the definition. Its neighbours lie within the source.
    HWY_ATTR void Define(const MappedLine& line, std::size_t pixel, unsigned char* HWY_RESTRICT out) const {
        double x = 0.0, y = 0.0;
        FillLineScalar(MappedPath{&line, pixel}.Next(1), &x, &y);
        MappedBilinearScalar(source, &x, &y, 1, out);
    }

    const MappedSource<unsigned char>& source;
    std::int64_t rows, columns; ///< that are available
};

/// Bilinear pixels of four bands along a path. `mapOthers` computes those on lines that do not suit.
HWY_ATTR inline void MapPacked(const MappedSource<unsigned char>& source, MappedPath path, std::size_t pixels,
                               unsigned char* out, MappedRow<unsigned char> mapOthers) {
    const PackedRow row(source);
    for (std::size_t p = 0, done = 0; p < pixels; done = p) {
        const MappedPath others = path;
        std::size_t made = 0;
        while (p < pixels && made == 0) {
            const MappedLine line = path.Next(std::min(mostOnLine, pixels - p));
            if (row.Make(line, out + p * packedBands))
                made = line.pixels;
            else
                p += line.pixels;
        }
        if (p != done) mapOthers(source, others, p - done, out + done * packedBands);
        p += made;
    }
}

#endif

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#endif // PANSHARP_MAPPED_PACKED_INL_H
