#pragma once

#include <cstdint>
#include <vector>

namespace fitting {

/// More bands are not fitted: the work grows with the square of their number.
inline constexpr std::size_t mostFittedBands = 512;

/// Sums from which weights, correlations and residuals are computed. A sample is the numbers of all bands and
/// that of pan. The sums of the bands alone are kept when pan is added anew.
class FitMoments {
public:
    explicit FitMoments(std::size_t bands);

    void AddBands(const double* samples);
    void AddPan(const double* samples, double pan);
    /// Discards what AddPan added.
    void ClearPan();
    void Add(const FitMoments& other);

    [[nodiscard]] std::uint64_t GetCount() const { return count; }
    [[nodiscard]] bool PanVaries() const;
    /// Weights by non-negative least squares without an offset. With `lastWeight` the last weight is fixed at
    /// that number.
    [[nodiscard]] std::vector<double> Solve(const double* lastWeight = nullptr) const;
    /// 1 - sum of squared residuals of the weights / sum of squares around pan's mean; 0 when pan does not
    /// vary.
    [[nodiscard]] double GetRSquared(const std::vector<double>& weights) const;
    /// Correlation of a band with pan; 0 when one of them does not vary.
    [[nodiscard]] double GetCorrelation(std::size_t band) const;

private:
    std::size_t bands;
    std::uint64_t count = 0;
    std::vector<double> gram; ///< by rows; only the upper triangle is used
    std::vector<double> sums;
    std::vector<double> projection;
    double panSum = 0.0;
    double panSquares = 0.0;
};

} // namespace fitting
