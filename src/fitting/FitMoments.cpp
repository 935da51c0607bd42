#include "fitting/FitMoments.h"

#include "fitting/NonNegativeLeastSquares.h"

#include <algorithm>
#include <cmath>

namespace fitting {

namespace {
constexpr double negligible = 1e-12; ///< share of a sum of squares that may be rounding
}

FitMoments::FitMoments(std::size_t bandCount)
    : bands(bandCount), gram(bands * bands), sums(bands), projection(bands) {}

void FitMoments::AddBands(const double* samples) {
    ++count;
    for (std::size_t i = 0; i < bands; ++i) {
        sums[i] += samples[i];
        for (std::size_t j = i; j < bands; ++j)
            gram[i * bands + j] += samples[i] * samples[j];
    }
}

void FitMoments::AddPan(const double* samples, double pan) {
    for (std::size_t i = 0; i < bands; ++i)
        projection[i] += samples[i] * pan;
    panSum += pan;
    panSquares += pan * pan;
}

void FitMoments::ClearPan() {
    std::fill(projection.begin(), projection.end(), 0.0);
    panSum = panSquares = 0.0;
}

void FitMoments::Add(const FitMoments& other) {
    count += other.count;
    for (std::size_t i = 0; i < gram.size(); ++i)
        gram[i] += other.gram[i];
    for (std::size_t i = 0; i < bands; ++i) {
        sums[i] += other.sums[i];
        projection[i] += other.projection[i];
    }
    panSum += other.panSum;
    panSquares += other.panSquares;
}

bool FitMoments::PanVaries() const {
    if (count == 0) return false;
    return panSquares - panSum * panSum / static_cast<double>(count) > negligible * panSquares;
}

std::vector<double> FitMoments::Solve(const double* lastWeight) const {
    const std::size_t n = bands - (lastWeight ? 1 : 0);
    std::vector<double> matrix(n * n), right(n);
    for (std::size_t i = 0; i < n; ++i) {
        right[i] = projection[i] - (lastWeight ? *lastWeight * gram[i * bands + n] : 0.0);
        for (std::size_t j = 0; j < n; ++j)
            matrix[i * n + j] = gram[std::min(i, j) * bands + std::max(i, j)];
    }
    std::vector<double> weights = SolveNonNegative(matrix, right);
    if (lastWeight) weights.push_back(*lastWeight);
    return weights;
}

double FitMoments::GetRSquared(const std::vector<double>& weights) const {
    if (!PanVaries()) return 0.0;
    const double about = panSquares - panSum * panSum / static_cast<double>(count);
    double left = panSquares;
    for (std::size_t i = 0; i < bands; ++i) {
        double fitted = 0.0;
        for (std::size_t j = 0; j < bands; ++j)
            fitted += gram[std::min(i, j) * bands + std::max(i, j)] * weights[j];
        left += weights[i] * (fitted - 2.0 * projection[i]);
    }
    return 1.0 - std::max(left, 0.0) / about;
}

double FitMoments::GetCorrelation(std::size_t band) const {
    if (!PanVaries()) return 0.0;
    const auto n = static_cast<double>(count);
    const double squares = gram[band * bands + band];
    const double spread = squares - sums[band] * sums[band] / n;
    const double panSpread = panSquares - panSum * panSum / n;
    if (!(spread > negligible * squares)) return 0.0;
    const double product = projection[band] - sums[band] * panSum / n;
    return std::clamp(product / std::sqrt(spread * panSpread), -1.0, 1.0);
}

} // namespace fitting
