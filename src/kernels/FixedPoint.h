#pragma once

#include "kernels/Store.h"

#include <cstdint>
#include <limits>

/// Results of quick ways as whole numbers of 2^-fixedBits. Each is taken too small by the most that it errs
/// by, so that its whole part is right unless its fraction is close to 1.
namespace kernels {

inline constexpr int fixedBits = 15;
inline constexpr std::int32_t fixedOne = 1 << fixedBits;

/// Being added to this makes a result whole and leaves it as the lowest bits.
template <class Real>
inline constexpr Real fixedUnit = std::uint64_t{1} << (std::numeric_limits<Real>::digits - 1);

/// The same of whole numbers that may be negative.
template <class Real>
inline constexpr Real signedUnit = fixedUnit<Real> + fixedUnit<Real> / 2;

/// The largest result of samples T, whose fraction is in no doubt, with fixedUnit.
template <class T, class Real>
inline constexpr Real fixedMost = fixedUnit<Real> + (Real(maxSample<T>) + Real(0.5)) * fixedOne;

/// What is added to a result that errs by 2^-fixedBits * `error` before it is made whole.
template <class Real>
constexpr Real FixedOffset(int error) {
    return fixedUnit<Real> - static_cast<Real>(error + 1);
}

/// The largest fraction with which the whole part of such a result is certain.
constexpr std::int32_t MostCertainFraction(int error) { return fixedOne - 2 * (error + 1) - 2; }

} // namespace kernels
