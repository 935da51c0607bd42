#pragma once

#include "kernels/Store.h"

#include <cstdint>
#include <limits>

/// Results of filters as whole numbers of 2^-fixedBits. They are made by adding fixedOne times the result to
/// a real number so large that its last bit counts 1 (fixedUnit). Each result is first reduced by its largest
/// possible error, so its whole part is right unless its fraction is close to 1.
///
/// For example 147.25, an 8-bit result in float that errs by at most 6 steps of 2^-15:
///
///     147.25 * 2^15 + FixedOffset(6) = 4825088 + 2^23 - 7
///
///     0 10010110 10010011 001111111111001     its bits
///     | |        |        fraction, 15 bits: 8185, at most MostCertainFraction(6) = 32752, so that
///     | |        whole part, 8 bits: 147 is certain; from 32753 on the result is uncertain
///     | exponent of 2^23, the same for all results from 0 to below 256
///     sign
///
/// A 16-bit result, in double with 2^52, has its whole part in 16 bits above the same fraction: 31 bits, all
/// in the lower half of the double.
namespace kernels {

inline constexpr int fixedBits = 15;
inline constexpr std::int32_t fixedOne = 1 << fixedBits;

/// Adding a result to this makes it whole and leaves it in the lowest bits.
template <class Real>
inline constexpr Real fixedUnit = std::uint64_t{1} << (std::numeric_limits<Real>::digits - 1);

/// The same for whole numbers that may be negative.
template <class Real>
inline constexpr Real signedUnit = fixedUnit<Real> + fixedUnit<Real> / 2;

/// The largest result for samples T whose fraction is certain, with fixedUnit added.
template <class T, class Real>
inline constexpr Real fixedMost = fixedUnit<Real> + (Real(maxSample<T>) + Real(0.5)) * fixedOne;

/// The offset of a result that errs by at most `error` * 2^-fixedBits, added before it is made whole.
template <class Real>
constexpr Real FixedOffset(int error) {
    return fixedUnit<Real> - static_cast<Real>(error + 1);
}

/// The largest fraction at which the whole part of such a result is certain.
constexpr std::int32_t MostCertainFraction(int error) { return fixedOne - 2 * (error + 1) - 2; }

} // namespace kernels
