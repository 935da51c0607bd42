#pragma once

#include <span>
#include <vector>

namespace fitting {

/// The x >= 0 that minimizes |A x - y|, from the normal equations: `gram` is A'A, n x n by rows, and
/// `projection` is A'y, n numbers. A column of zeros gets 0, and so does a column that depends on others
/// already in use, to 1e-10 of its squared length. Active sets after C. L. Lawson and R. J. Hanson, Solving
/// Least Squares Problems (1974), chapter 23; on the normal equations as in R. Bro and S. de Jong, J.
/// Chemometrics 11 (1997) 393-401.
[[nodiscard]] std::vector<double> SolveNonNegative(std::span<const double> gram,
                                                   std::span<const double> projection);

} // namespace fitting
