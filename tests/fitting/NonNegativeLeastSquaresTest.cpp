#include "fitting/NonNegativeLeastSquares.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using fitting::SolveNonNegative;

// At the best x >= 0 the gradient is 0 where x is above 0, and does not fall where x is 0. No other x
// satisfies this, however it was found. Some columns are equal or empty.
TEST(NonNegativeLeastSquares, GradientTellsThatItIsTheBest) {
    std::mt19937 random(3);
    std::normal_distribution<double> number;
    int zeros = 0;
    for (int round = 0; round < 300; ++round) {
        const std::size_t n = 1 + static_cast<std::size_t>(round) % 9, rows = 2 * n + 3;
        std::vector<double> a(rows * n), y(rows), gram(n * n), right(n);
        for (std::size_t r = 0; r < rows; ++r) {
            for (std::size_t c = 0; c < n; ++c)
                a[r * n + c] = round % 5 == 4 && c == 1   ? a[r * n]
                               : round % 5 == 3 && c == 0 ? 0.0
                                                          : 100.0 + 40.0 * number(random) * double(c + 1);
            y[r] = 100.0 + 50.0 * number(random);
        }
        for (std::size_t i = 0; i < n; ++i)
            for (std::size_t r = 0; r < rows; ++r) {
                right[i] += a[r * n + i] * y[r];
                for (std::size_t j = 0; j < n; ++j)
                    gram[i * n + j] += a[r * n + i] * a[r * n + j];
            }
        const auto x = SolveNonNegative(gram, right);
        for (std::size_t i = 0; i < n; ++i) {
            double gradient = right[i];
            for (std::size_t j = 0; j < n; ++j)
                gradient -= gram[i * n + j] * x[j];
            const double small = 1e-7 * std::max(gram[i * n + i], 1.0);
            ASSERT_GE(x[i], 0.0);
            EXPECT_LE(gradient, small) << round;
            if (x[i] > 0.0) {
                EXPECT_GE(gradient, -small) << round;
            }
            zeros += x[i] == 0.0;
        }
    }
    EXPECT_GT(zeros, 300);
}

} // namespace
