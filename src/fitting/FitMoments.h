#pragma once

#include <cstdint>
#include <vector>

namespace fitting {

/// More are not fitted: the work grows with the square of their number.
inline constexpr std::size_t mostFittedBands = 512;

/// Sums from which weights, correlations and what a fit leaves over follow. A sample is the numbers of all
/// bands and that of pan; the sums of the bands alone stay when pan is taken again.
class FitMoments {
public:
    explicit FitMoments(std::size_t bands);

    void AddBands(const double* samples);
    void AddPan(const double* samples, double pan);
    /// Forgets what AddPan added.
    void ClearPan();
    void Add(const FitMoments& other);

    [[nodiscard]] std::uint64_t GetCount() const { return count; }
    [[nodiscard]] bool PanVaries() const;
    /// Non-negative least squares without an offset; the last weight is kept at a given number.
    [[nodiscard]] std::vector<double> Solve(const double* lastWeight = nullptr) const;
    /// 1 - the sum of squares that the weights leave over / that about the mean of pan; 0 when pan does not
    /// vary.
    [[nodiscard]] double GetRSquared(const std::vector<double>& weights) const;
    /// With pan; 0 when one of the two does not vary.
    [[nodiscard]] double GetCorrelation(std::size_t band) const;

private:
    std::size_t bands;
    std::uint64_t count = 0;
    std::vector<double> gram; ///< by rows; the upper triangle is summed
    std::vector<double> sums;
    std::vector<double> projection;
    double panSum = 0.0;
    double panSquares = 0.0;
};

} // namespace fitting
