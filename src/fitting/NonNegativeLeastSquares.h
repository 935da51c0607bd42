#pragma once

#include <span>
#include <vector>

namespace fitting {

/// The x of all x >= 0 that makes |A x - y| smallest, from the normal equations: `gram` is A'A, n x n by
/// rows, `projection` is A'y, n numbers. A column that depends on others already in use, to 1e-10 of its
/// square length, gets 0, as does one of zeros. Active sets after C. L. Lawson and R. J. Hanson, Solving
/// Least Squares Problems (1974), chapter 23; on the normal equations as in R. Bro and S. de Jong, J.
/// Chemometrics 11 (1997) 393-401.
[[nodiscard]] std::vector<double> SolveNonNegative(std::span<const double> gram,
                                                   std::span<const double> projection);

} // namespace fitting
