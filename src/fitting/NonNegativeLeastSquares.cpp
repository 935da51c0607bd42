#include "fitting/NonNegativeLeastSquares.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace fitting {

namespace {

constexpr double dependent = 1e-10;
constexpr double flat = 1e-12; ///< a gradient this small counts as 0, for columns and y of length 1

/// Scales columns and y to length 1, so that one tolerance suits all bands.
class Solver {
public:
    Solver(std::span<const double> gram, std::span<const double> projection)
        : count(projection.size()), lengths(count), matrix(count * count), right(count), solution(count),
          state(count, State::Zero) {
        for (std::size_t i = 0; i < count; ++i) {
            lengths[i] = std::sqrt(gram[i * count + i]);
            if (!(lengths[i] > 0.0)) state[i] = State::Barred;
        }
        double largest = 0.0;
        for (std::size_t i = 0; i < count; ++i) {
            if (state[i] == State::Barred) continue;
            right[i] = projection[i] / lengths[i];
            largest = std::max(largest, std::fabs(right[i]));
            for (std::size_t j = 0; j < count; ++j)
                if (state[j] != State::Barred)
                    matrix[i * count + j] = gram[i * count + j] / (lengths[i] * lengths[j]);
        }
        tolerance = flat * largest;
    }

    std::vector<double> Solve() {
        // Each round improves the fit, but rounding could make it cycle: hence the bound.
        for (std::size_t round = 0; round < 10 * count; ++round) {
            const auto next = SteepestZero();
            if (!next) break;
            state[*next] = State::Used;
            auto trial = SolveUsed();
            if (!trial || (*trial)[*next] <= 0.0) {
                state[*next] = State::Barred;
                continue;
            }
            while (trial && !IsPositive(*trial)) {
                StepToward(*trial);
                trial = SolveUsed();
            }
            if (!trial) break;
            solution = std::move(*trial);
        }
        return Scaled();
    }

private:
    enum class State { Zero, Used, Barred };

    [[nodiscard]] std::optional<std::size_t> SteepestZero() const {
        std::optional<std::size_t> best;
        double steepest = tolerance;
        for (std::size_t i = 0; i < count; ++i) {
            if (state[i] != State::Zero) continue;
            double gradient = right[i];
            for (std::size_t j = 0; j < count; ++j)
                gradient -= matrix[i * count + j] * solution[j];
            if (gradient > steepest) {
                steepest = gradient;
                best = i;
            }
        }
        return best;
    }

    /// The unconstrained solution for the used columns, by Cholesky decomposition. Empty when one column
    /// depends on the others.
    [[nodiscard]] std::optional<std::vector<double>> SolveUsed() const {
        std::vector<std::size_t> used;
        for (std::size_t i = 0; i < count; ++i)
            if (state[i] == State::Used) used.push_back(i);
        const std::size_t n = used.size();
        std::vector<double> lower(n * n), half(n), result(count);
        for (std::size_t r = 0; r < n; ++r) {
            half[r] = right[used[r]];
            for (std::size_t c = 0; c <= r; ++c) {
                double sum = matrix[used[r] * count + used[c]];
                for (std::size_t k = 0; k < c; ++k)
                    sum -= lower[r * n + k] * lower[c * n + k];
                if (r == c && !(sum > dependent)) return std::nullopt;
                lower[r * n + c] = r == c ? std::sqrt(sum) : sum / lower[c * n + c];
            }
            for (std::size_t k = 0; k < r; ++k)
                half[r] -= lower[r * n + k] * half[k];
            half[r] /= lower[r * n + r];
        }
        for (std::size_t r = n; r-- > 0;) {
            double sum = half[r];
            for (std::size_t k = r + 1; k < n; ++k)
                sum -= lower[k * n + r] * result[used[k]];
            result[used[r]] = sum / lower[r * n + r];
        }
        return result;
    }

    [[nodiscard]] bool IsPositive(const std::vector<double>& trial) const {
        for (std::size_t i = 0; i < count; ++i)
            if (state[i] == State::Used && trial[i] <= 0.0) return false;
        return true;
    }

    /// Steps toward the trial until the first number would fall below 0; that one leaves the set.
    void StepToward(const std::vector<double>& trial) {
        double step = 1.0;
        std::size_t first = count;
        for (std::size_t i = 0; i < count; ++i) {
            if (state[i] != State::Used || trial[i] > 0.0) continue;
            const double reach = solution[i] > trial[i] ? solution[i] / (solution[i] - trial[i]) : 0.0;
            if (first < count && reach >= step) continue;
            step = reach;
            first = i;
        }
        for (std::size_t i = 0; i < count; ++i)
            if (state[i] == State::Used)
                solution[i] = std::max(solution[i] + step * (trial[i] - solution[i]), 0.0);
        solution[first] = 0.0;
        state[first] = State::Zero;
    }

    [[nodiscard]] std::vector<double> Scaled() const {
        std::vector<double> scaled(count);
        for (std::size_t i = 0; i < count; ++i)
            if (state[i] == State::Used) scaled[i] = solution[i] / lengths[i];
        return scaled;
    }

    std::size_t count;
    std::vector<double> lengths;
    std::vector<double> matrix;
    std::vector<double> right;
    std::vector<double> solution;
    std::vector<State> state;
    double tolerance = 0.0;
};

} // namespace

std::vector<double> SolveNonNegative(std::span<const double> gram, std::span<const double> projection) {
    return Solver(gram, projection).Solve();
}

} // namespace fitting
