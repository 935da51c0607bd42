// Included once for every vector target (see Highway's foreach_target.h); a helper of the fusing kernels.
#if defined(PANSHARP_PACKED_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PANSHARP_PACKED_INL_H
#undef PANSHARP_PACKED_INL_H
#else
#define PANSHARP_PACKED_INL_H
#endif

#include "kernels/Filtered-inl.h"

#include <bit>

/// The most common pixels, of one, three, four or eight bands, are fused without splitting them into planes.
/// A packed pixel is one or two words of 32 or 64 bits, with the first band lowest. A word is as long as the
/// real number used for computing. A quad is a word of four adjacent pixels of one band.
HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

inline constexpr std::uint32_t packedBands = 4;

#if HWY_TARGET != HWY_SCALAR

/// The word for samples T.
template <class T>
using WordOf = std::conditional_t<sizeof(T) == 1, std::uint32_t, std::uint64_t>;

/// The words for real numbers D.
template <class D>
using WordsOf = hn::RebindToUnsigned<D>;

/// A band between the first and the last, moved to the lowest byte of words.
template <std::uint32_t Band, class D>
HWY_INLINE auto MiddleBand(D /*d*/, hn::Vec<WordsOf<D>> words) {
    const hn::Repartition<std::uint8_t, D> d8;
    constexpr std::uint8_t b = Band, none = 0x80;
    HWY_ALIGN static constexpr std::uint8_t of8[16] = {b,     none, none, none, b + 4,  none, none, none,
                                                       b + 8, none, none, none, b + 12, none, none, none};
    HWY_ALIGN static constexpr std::uint8_t of16[16] = {2 * b, 2 * b + 1, none,      none,      none, none,
                                                        none,  none,      2 * b + 8, 2 * b + 9, none, none,
                                                        none,  none,      none,      none};
    const auto places = hn::LoadDup128(d8, sizeof(hn::TFromD<D>) == 4 ? of8 : of16);
    return hn::TableLookupBytesOr0(hn::BitCast(d8, words), places);
}

/// One band of the pixels as real numbers.
template <std::uint32_t Band, class D>
HWY_INLINE hn::Vec<D> BandOfPacked(D d, hn::Vec<WordsOf<D>> words) {
    using Real = hn::TFromD<D>;
    constexpr int bits = sizeof(Real) * 2;
    const WordsOf<D> dWord;
    const hn::RebindToSigned<D> dSigned;
    auto band = words;
    if constexpr (Band == 0)
        band = hn::And(words, hn::Set(dWord, (hn::TFromD<WordsOf<D>>{1} << bits) - 1));
    else if constexpr (Band + 1 == packedBands)
        band = hn::ShiftRight<static_cast<int>(Band) * bits>(words);
    else
        band = hn::BitCast(dWord, MiddleBand<Band>(d, words));
    if constexpr (sizeof(Real) == 4 || HWY_TARGET <= HWY_AVX3) // one instruction
        return hn::ConvertTo(d, hn::BitCast(dSigned, band));
    const auto unit = hn::Set(d, fixedUnit<Real>);
    return hn::Sub(hn::BitCast(d, hn::Or(band, hn::BitCast(dWord, unit))), unit);
}

template <class V, std::uint32_t Bands>
struct SomeBands {
    V bands[Bands];
};

/// `first` plus the weighted sum of the bands, and of the additional band unless it is null. With fewer
/// roundings if the processor has fused multiply-add.
template <class D, class V, class T, std::uint32_t Bands>
HWY_INLINE V FilteredSumOfBands(D d, const SomeBands<V, Bands>& of, const T* additional,
                                const hn::TFromD<D>* weights, V first) {
    V s = first;
    if (additional) s = hn::MulAdd(LoadReal(d, additional), hn::Set(d, weights[Bands]), s);
    for (std::uint32_t band = 0; band < Bands; ++band)
        s = hn::MulAdd(of.bands[band], hn::Set(d, weights[band]), s);
    return s;
}

template <class V>
struct UpAndDown {
    V up, down;
};

/// The whole numbers in real numbers with signedUnit, less than 2^15, and their negatives. Both are limited
/// to the range of samples and repeated in all bytes of words of four.
template <class D>
HWY_INLINE auto RepeatLimited(D d, hn::Vec<D> numbers) {
    const hn::Repartition<std::int32_t, D> d32;
    const hn::Repartition<std::uint8_t, D> d8;
    const auto repeat = [&](auto bytes, const std::uint8_t* places) HWY_ATTR {
        return hn::TableLookupBytes(hn::BitCast(d8, bytes), hn::LoadDup128(d8, places));
    };
    if constexpr (sizeof(hn::TFromD<D>) == 4) {
        const hn::Repartition<std::int16_t, D> d16;
        HWY_ALIGN static constexpr std::uint8_t ofUp[16] = {0, 0, 0, 0, 2, 2, 2, 2, 4, 4, 4, 4, 6, 6, 6, 6};
        HWY_ALIGN static constexpr std::uint8_t ofDown[16] = {8,  8,  8,  8,  10, 10, 10, 10,
                                                              12, 12, 12, 12, 14, 14, 14, 14};
        const auto unit = hn::Set(d, signedUnit<float>);
        const auto whole = hn::Sub(hn::BitCast(d32, numbers), hn::BitCast(d32, unit));
        const auto both = hn::ReorderDemote2To(d16, whole, hn::Neg(whole)); // in every 16 bytes, four of each
        const auto limited = hn::Min(hn::Max(both, hn::Zero(d16)), hn::Set(d16, 255));
        return UpAndDown<hn::Vec<decltype(d8)>>{repeat(limited, ofUp), repeat(limited, ofDown)};
    } else {
        const hn::Repartition<std::uint16_t, D> d16;
        HWY_ALIGN static constexpr std::uint8_t lowest[16] = {0, 1, 0, 1, 0, 1, 0, 1, 8, 9, 8, 9, 8, 9, 8, 9};
        const auto limited = [&](auto whole) HWY_ATTR {
            const auto within = hn::Min(hn::Max(whole, hn::Zero(d32)), hn::Set(d32, 65535));
            return hn::BitCast(d16, repeat(within, lowest));
        };
        const auto whole = hn::BitCast(d32, numbers);
        return UpAndDown<hn::Vec<decltype(d16)>>{limited(whole), limited(hn::Neg(whole))};
    }
}

/// The whole numbers of four such vectors, and their negatives, limited likewise. Each word has one of each.
template <class D>
HWY_INLINE auto JoinLimited(D d, hn::Vec<D> a, hn::Vec<D> b, hn::Vec<D> c, hn::Vec<D> e) {
    using Real = hn::TFromD<D>;
    using T = std::conditional_t<sizeof(Real) == 4, std::uint8_t, std::uint16_t>;
    constexpr int bits = sizeof(T) * 8;
    const WordsOf<D> dWord;
    const hn::Repartition<hwy::MakeSigned<hwy::MakeWide<T>>, D> dHalf;
    const hn::Repartition<T, D> dSample;
    const auto unit = hn::BitCast(dWord, hn::Set(d, signedUnit<Real>));
    const auto join = [&](hn::Vec<D> low, hn::Vec<D> high) HWY_ATTR {
        const auto whole = [&](hn::Vec<D> numbers)
                               HWY_ATTR { return hn::Sub(hn::BitCast(dWord, numbers), unit); };
        return hn::OddEven(hn::BitCast(dHalf, hn::ShiftLeft<2 * bits>(whole(high))),
                           hn::BitCast(dHalf, whole(low)));
    };
    const auto limited = [&](auto first, auto second) HWY_ATTR {
        const auto limit = [&](auto whole) HWY_ATTR {
            return hn::Min(hn::Max(whole, hn::Zero(dHalf)), hn::Set(dHalf, hwy::LimitsMax<T>()));
        };
        return hn::BitCast(dSample, hn::Or(limit(first), hn::ShiftLeft<bits>(limit(second))));
    };
    const auto even = join(a, c), odd = join(b, e);
    return UpAndDown<hn::Vec<decltype(dSample)>>{limited(even, odd), limited(hn::Neg(even), hn::Neg(odd))};
}

/// Fractions of sums of floats have this bit set, except for results that are out of range and certain: just
/// below the unit, and from four times the unit on.
inline constexpr std::int32_t fractionUnit = 1 << 24;

/// The samples of pixels from the sums of their bands, with FixedOffset added. Results are not negative.
/// Raises `fractions`, per 32 bits, to theirs if greater.
template <class D, class V32>
HWY_INLINE auto JoinFixed(D /*d*/, hn::Vec<D> a, hn::Vec<D> b, hn::Vec<D> c, hn::Vec<D> e, V32& fractions) {
    const hn::Repartition<std::uint16_t, D> d16;
    const WordsOf<D> dWord;
    const WholeNumbers d32;
    if constexpr (sizeof(hn::TFromD<D>) == 4) {
        constexpr auto unit = std::bit_cast<std::uint32_t>(fixedUnit<float>) >> fixedBits;
        for (const auto& sum : {a, b, c, e})
            AddFractions(hn::BitCast(d32, sum), fractions, fractionUnit);
        const auto join = [&](hn::Vec<D> low, hn::Vec<D> high) HWY_ATTR {
            const auto halves =
                hn::OddEven(hn::BitCast(d16, hn::ShiftLeft<16 - fixedBits>(hn::BitCast(dWord, high))),
                            hn::BitCast(d16, hn::ShiftRight<fixedBits>(hn::BitCast(dWord, low))));
            const auto whole = hn::SaturatedSub(halves, hn::Set(d16, static_cast<std::uint16_t>(unit)));
            return hn::BitCast(dWord, hn::Min(whole, hn::Set(d16, 0xFF)));
        };
        const auto words = hn::Or(join(a, c), hn::ShiftLeft<8>(join(b, e)));
        return hn::BitCast(hn::Repartition<std::uint8_t, D>(), words);
    } else {
        const auto most = hn::Set(D(), fixedMost<unsigned short, double>);
        const auto join = [&](hn::Vec<D> low, hn::Vec<D> high) HWY_ATTR {
            const auto words = hn::ShiftLeft<32>(hn::BitCast(dWord, hn::Min(high, most)));
            const auto both = hn::OddEven(hn::BitCast(d32, words), hn::BitCast(d32, hn::Min(low, most)));
            const auto atLeast0 = hn::Max(both, hn::Zero(d32)); // just below the unit it is negative
            AddFractions(atLeast0, fractions);
            return atLeast0;
        };
        const auto first = hn::ShiftRight<fixedBits>(join(a, c));
        const auto second = hn::ShiftLeft<16 - fixedBits>(join(b, e));
        return hn::OddEven(hn::BitCast(d16, second), hn::BitCast(d16, first));
    }
}

/// Adds the pixels whose greatest fraction in JoinFixed makes them uncertain.
template <class D, class V32>
HWY_INLINE void AddUncertainOfSums(D /*d*/, V32 fractions, int error, std::size_t firstPixel,
                                   Uncertain& uncertain) {
    const WholeNumbers d32;
    if constexpr (sizeof(hn::TFromD<D>) == 4) {
        AddUncertain(d32, IsUncertain(fractions, error, fractionUnit), firstPixel, uncertain);
    } else {
        const auto isUncertain = IsUncertain(fractions, error);
        if (HWY_LIKELY(hn::AllFalse(d32, isUncertain))) return;
        const hn::RebindToSigned<D> dWord;
        const auto ofBoth = hn::BitCast(dWord, hn::VecFromMask(d32, isUncertain));
        AddUncertain(dWord, hn::Ne(ofBoth, hn::Zero(dWord)), firstPixel, uncertain);
    }
}

// Pixels of three bytes: four of them take 12 of every 16 bytes.
HWY_ALIGN inline constexpr std::uint8_t wordsOfTwelve[16] = {0, 1, 2, 0x80, 3, 4,  5,  0x80,
                                                             6, 7, 8, 0x80, 9, 10, 11, 0x80};
HWY_ALIGN inline constexpr std::uint8_t twelveOfWords[16] = {0,  1,  2,  4,  5,    6,    8,    9,
                                                             10, 12, 13, 14, 0x80, 0x80, 0x80, 0x80};
// The source of the four bytes at each place, for spreading 12 bytes to 16 and for closing them up again.
HWY_ALIGN inline constexpr std::int32_t spreadPlaces[16] = {0, 1, 2, 0, 3, 4, 5, 0, 6, 7, 8, 0, 9, 10, 11, 0};
HWY_ALIGN inline constexpr std::int32_t closePlaces[16] = {0,  1,  2,  4,  5, 6, 8, 9,
                                                           10, 12, 13, 14, 0, 0, 0, 0};
HWY_ALIGN inline constexpr std::int32_t closePlacesOf8[8] = {0, 1, 2, 4, 5, 6, 0, 0};

template <class D>
HWY_INLINE hn::Vec<D> MoveFours(D d, hn::Vec<D> bytes, const std::int32_t* places) {
    const hn::Repartition<std::int32_t, D> d32;
    if (hn::Lanes(d32) == 4) return bytes; // nothing crosses a block of 16 bytes
    return hn::BitCast(d, hn::TableLookupLanes(hn::BitCast(d32, bytes), hn::SetTableIndices(d32, places)));
}

/// Loads a vector of words of `Bands` samples. For three bands it reads up to 16 bytes more than those
/// samples take.
template <std::uint32_t Bands, class D, class T = hn::TFromD<D>>
HWY_INLINE hn::Vec<D> LoadPacked(D d, const T* samples) {
    if constexpr (Bands == packedBands) return hn::LoadU(d, samples);
    static_assert(Bands == packedBands || sizeof(T) == 1);
    const hn::Repartition<std::uint8_t, D> d8;
    const auto apart = MoveFours(d8, hn::BitCast(d8, hn::LoadU(d, samples)), spreadPlaces);
    return hn::BitCast(d, hn::TableLookupBytesOr0(apart, hn::LoadDup128(d8, wordsOfTwelve)));
}

/// The reverse. It writes up to 16 bytes more in the same case.
template <std::uint32_t Bands, class D, class T = hn::TFromD<D>>
HWY_INLINE void StorePacked(D d, hn::Vec<D> words, T* samples) {
    if constexpr (Bands == packedBands) return hn::StoreU(words, d, samples);
    const hn::Repartition<std::uint8_t, D> d8;
    const auto twelves = hn::TableLookupBytesOr0(hn::BitCast(d8, words), hn::LoadDup128(d8, twelveOfWords));
    hn::StoreU(hn::BitCast(d, MoveFours(d8, twelves, hn::Lanes(d8) == 32 ? closePlacesOf8 : closePlaces)), d,
               samples);
}

/// The words of some pixels of `Bands` bands: the first word of each pixel in one vector, the second in
/// another.
template <class V, std::uint32_t Bands>
struct PackedPixels {
    static constexpr std::size_t count = (Bands + packedBands - 1) / packedBands;
    V words[count];
};

template <std::uint32_t Bands, class D, class T = hn::TFromD<D>, class S = PackedPixels<hn::Vec<D>, Bands>>
HWY_INLINE S LoadPackedPixels(D d, const T* samples) {
    if constexpr (S::count == 1) {
        return {{LoadPacked<Bands>(d, samples)}};
    } else {
        const hn::Repartition<WordOf<T>, D> dWord;
        hn::Vec<decltype(dWord)> first, second;
        hn::LoadInterleaved2(dWord, reinterpret_cast<const WordOf<T>*>(samples), first, second);
        return {{hn::BitCast(d, first), hn::BitCast(d, second)}};
    }
}

template <std::uint32_t Bands, class D, class T = hn::TFromD<D>, std::uint32_t MsBands>
HWY_INLINE void StorePackedPixels(D d, const PackedPixels<hn::Vec<D>, MsBands>& of, T* samples) {
    if constexpr (PackedPixels<hn::Vec<D>, MsBands>::count == 1) {
        StorePacked<Bands>(d, of.words[0], samples);
    } else {
        const hn::Repartition<WordOf<T>, D> dWord;
        hn::StoreInterleaved2(hn::BitCast(dWord, of.words[0]), hn::BitCast(dWord, of.words[1]), dWord,
                              reinterpret_cast<WordOf<T>*>(samples));
    }
}

template <class D, class S, std::uint32_t Bands>
HWY_INLINE SomeBands<hn::Vec<D>, Bands> BandsOfPacked(D d, const PackedPixels<S, Bands>& of) {
    SomeBands<hn::Vec<D>, Bands> result;
    for (std::uint32_t w = 0; w < PackedPixels<S, Bands>::count; ++w) {
        const auto words = hn::BitCast(WordsOf<D>(), of.words[w]);
        auto* const bands = result.bands + w * packedBands;
        bands[0] = BandOfPacked<0>(d, words);
        bands[1] = BandOfPacked<1>(d, words);
        bands[2] = BandOfPacked<2>(d, words);
        if constexpr (Bands % packedBands == 0) bands[3] = BandOfPacked<3>(d, words);
    }
    return result;
}

/// A filter that can fuse packed pixels also has
///
///     Packed(d, packed, bands, pan, additional, firstPixel, uncertain)       replaces `packed`
///
/// `pan` and `additional`, which may be null, point to the samples of the same pixels. In pixels of three
/// bands the fourth byte is ignored. FusePacked fuses whole blocks and returns the number of pixels fused.
template <std::uint32_t MsBands, std::uint32_t OutputBands, class T, MethodFilter<T> Filter>
HWY_ATTR std::size_t FusePacked(const FusionRows<T>& rows, T* out, std::size_t pixels, const Filter& filter) {
    if (std::endian::native != std::endian::little) return 0;
    const hn::ScalableTag<RealOf<T>> d;
    const hn::Repartition<T, decltype(d)> dSample;
    // What is read and written beyond the pixels must still lie in the row.
    constexpr std::size_t beyond = MsBands % packedBands == 0 && OutputBands == MsBands ? 0 : 6;
    // A copy that no other function sees. Stores through `out` cannot change it, so its numbers stay in
    // registers.
    const Filter own = filter;
    Resolver<T, Filter> resolver(rows, out, pixels, filter);
    std::size_t p = 0;
    for (; p + blockPixels + beyond <= pixels; p += blockPixels) {
        const FusionRows<T> block = rows.From(p, filter.bands);
        T* blockOut = out + p * OutputBands;
        Uncertain uncertain;
        for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d)) {
            auto packed = LoadPackedPixels<MsBands>(dSample, block.ms + i * MsBands);
            own.Packed(d, packed, BandsOfPacked(d, packed), block.pan + i,
                       block.additional ? block.additional + i : nullptr, i, uncertain);
            StorePackedPixels<OutputBands>(dSample, packed, blockOut + i * OutputBands);
        }
        const std::size_t count = uncertain.Count();
        if (count > mostUncertain)
            FusePlanar(block, blockOut, blockPixels, filter);
        else if (count != 0)
            resolver.Add(uncertain, p, MsBands, OutputBands);
    }
    resolver.Finish(OutputBands);
    return p;
}

/// The pixels of some quads: the first of each, then the second of each, ...
template <class V>
using QuadsOf = SomeBands<V, packedBands>;

/// A filter that can fuse quads of a single output band has a constant `fusesQuads` and
///
///     Quads(d, words, ms, pan, sums, firstQuad, uncertain)       replaces `words`, which `ms` was made from
///
/// `sums` are the weighted sums of bands. A bit of `uncertain` stands for a quad. FuseQuads fuses whole
/// blocks of quads and returns the number of pixels fused.
template <class T, MethodFilter<T> Filter>
HWY_ATTR std::size_t FuseQuads(const FusionRows<T>& rows, T* out, std::size_t pixels, const Filter& filter) {
    if (std::endian::native != std::endian::little) return 0;
    const hn::ScalableTag<RealOf<T>> d;
    const hn::Repartition<T, decltype(d)> dSample;
    using V = hn::Vec<decltype(d)>;
    constexpr std::size_t block = blockPixels * packedBands;
    const Filter own = filter; // as in FusePacked
    const auto take = [&](auto words) HWY_ATTR {
        return BandsOfPacked(d, PackedPixels<decltype(words), packedBands>{{words}});
    };
    const V ofMs = hn::Set(d, own.weights[0]), ofAdditional = hn::Set(d, own.weights[1]);
    Resolver<T, Filter> resolver(rows, out, pixels, filter);
    std::size_t p = 0;
    for (; p + block <= pixels; p += block) {
        Uncertain uncertain;
        for (std::size_t quad = 0; quad < blockPixels; quad += hn::Lanes(d)) {
            const std::size_t at = p + quad * packedBands;
            auto words = hn::LoadU(dSample, rows.ms + at);
            const QuadsOf<V> ms = take(words), pan = take(hn::LoadU(dSample, rows.pan + at));
            QuadsOf<V> sums;
            for (std::size_t i = 0; i < packedBands; ++i)
                sums.bands[i] = hn::Mul(ms.bands[i], ofMs);
            if (rows.additional) {
                const QuadsOf<V> additional = take(hn::LoadU(dSample, rows.additional + at));
                for (std::size_t i = 0; i < packedBands; ++i)
                    sums.bands[i] = hn::MulAdd(additional.bands[i], ofAdditional, sums.bands[i]);
            }
            own.Quads(d, words, ms, pan, sums, quad, uncertain);
            hn::StoreU(words, dSample, out + at);
        }
        const std::size_t count = uncertain.Count();
        if (count > mostUncertain)
            for (std::size_t first = p; first < p + block; first += blockPixels)
                FuseExactly(rows.From(first, filter.bands), out + first, blockPixels, filter);
        else if (count != 0)
            resolver.Add(uncertain, p, 1, 1, packedBands);
    }
    resolver.Finish(1);
    return p;
}

#else // never run

template <class T, class Filter>
std::size_t FuseQuads(const FusionRows<T>& /*rows*/, T* /*out*/, std::size_t /*pixels*/,
                      const Filter& /*filter*/) {
    return 0;
}

template <std::uint32_t MsBands, std::uint32_t OutputBands, class T, class Filter>
std::size_t FusePacked(const FusionRows<T>& /*rows*/, T* /*out*/, std::size_t /*pixels*/,
                       const Filter& /*filter*/) {
    return 0;
}

#endif

/// Fuses packed pixels if the pixels and the filter allow it, else planes.
template <class T, MethodFilter<T> Filter>
HWY_ATTR void FuseFiltered(const FusionRows<T>& rows, T* out, std::size_t pixels, const Filter& filter) {
    const BandWeights& bands = filter.bands;
    const std::uint32_t msBands = filter.isUsable ? rows.InterleavedBands(bands) : 0;
    const std::uint32_t outputBands = bands.outputBands;
    std::size_t done = 0;
    if constexpr (requires { Filter::fusesQuads; })
        if (msBands == 1 && outputBands == 1) done = FuseQuads(rows, out, pixels, filter);
    if (msBands == 4 && outputBands == 4)
        done = FusePacked<4, 4>(rows, out, pixels, filter);
    else if (msBands == 8 && outputBands == 8)
        done = FusePacked<8, 8>(rows, out, pixels, filter);
    if constexpr (sizeof(T) == 1) { // longer samples gain nothing
        if (msBands == 4 && outputBands == 3)
            done = FusePacked<4, 3>(rows, out, pixels, filter);
        else if (msBands == 3 && outputBands == 3)
            done = FusePacked<3, 3>(rows, out, pixels, filter);
    }
    FusePlanar(rows.From(done, bands), out + done * outputBands, pixels - done, filter);
}

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#endif // PANSHARP_PACKED_INL_H
