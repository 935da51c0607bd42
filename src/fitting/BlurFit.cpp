#include "fitting/BlurFit.h"

#include "fundament/Text.h"
#include "hostkit/PanLowPass.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace fitting {

namespace {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::Status;

constexpr std::array tried{leastTransfer, 0.3, 0.4, 0.5, greatestTransfer};
constexpr std::size_t firstTried = 1;        ///< the transfer by which outliers are found
constexpr double panBlur = 0.14;             ///< variance that pan's own blur adds, in pan pixels
constexpr double robustDeviations = 4.0;     ///< a pixel with a larger residual is an outlier
constexpr double deviationOfMedian = 1.4826; ///< standard deviation of a normal distribution over its median
                                             ///< distance
constexpr std::uint32_t blocksAcross = 8, pixelsAcross = 32;
constexpr std::size_t mostValues = std::size_t{1} << 22; ///< values kept; of many bands only every n-th pixel
                                                         ///< is kept
constexpr std::size_t leastSamplesPerNumber = 10;        ///< per number that is fitted
constexpr double negligiblePivot = 1e-10;

double VarianceOf(double transfer) { return std::pow(hostkit::GaussianSigma(transfer), 2.0); }
double TransferOf(double variance) { return std::exp(-0.5 * std::numbers::pi * std::numbers::pi * variance); }

/// Fits of pan's low-pass by the bands, one per transfer tried. Means take the place of the offset.
struct BlurFits {
    std::vector<double> means; ///< of the bands, then of the low-passes
    std::array<std::vector<double>, tried.size()> coefficients;
    /// 1 - sum of squared residuals / sum of squares around the mean.
    std::array<double, tried.size()> rSquared{};
};

/// The bands of many pixels, and pan's low-pass for each transfer tried.
class BlurSamples {
public:
    explicit BlurSamples(std::size_t bandCount) : bands(bandCount) {}

    [[nodiscard]] bool Read(FitBlockSource& source, Status& status);
    [[nodiscard]] std::size_t GetCount() const { return values.size() / Width(); }
    /// Removes pixels whose residual for the first transfer is an outlier.
    void DropOutliers();
    [[nodiscard]] BlurFits Fit() const;

private:
    [[nodiscard]] std::size_t Width() const { return bands + tried.size(); }
    void Add(const FitBlock& block, std::size_t step);

    std::size_t bands;
    std::vector<double> values; ///< pixel by pixel: the bands, then the low-passes
};

void BlurSamples::Add(const FitBlock& block, std::size_t step) {
    std::array<std::vector<double>, tried.size()> low;
    for (std::size_t i = 0; i < tried.size(); ++i)
        low[i] = block.LowPass(tried[i]);
    const double around = 3.0 * hostkit::GaussianSigma(leastTransfer);
    for (std::size_t pixel = 0; pixel < block.GetCount(); pixel += step) {
        if (block.usable[pixel] == 0 || !block.IsWithinPan(pixel, around)) continue;
        if (!std::all_of(low.begin(), low.end(), [&](const auto& of) { return std::isfinite(of[pixel]); }))
            continue;
        const double* samples = block.samples.data() + pixel * bands;
        values.insert(values.end(), samples, samples + bands);
        for (const auto& of : low)
            values.push_back(of[pixel]);
    }
}

bool BlurSamples::Read(FitBlockSource& source, Status& status) {
    const std::vector<hostkit::PixelRect> rects = source.Choose(blocksAcross, pixelsAcross);
    const std::size_t step = rects.size() * pixelsAcross * pixelsAcross * Width() / mostValues + 1;
    values.reserve(rects.size() * (std::size_t{pixelsAcross} * pixelsAcross / step + 1) * Width());
    FitBlock block;
    for (const hostkit::PixelRect& rect : rects) {
        if (!source.Read(rect, block, status)) return false;
        Add(block, step);
    }
    return true;
}

/// By Cholesky decomposition of the bands' covariances, of which only the lower triangle is read. A band that
/// depends on those before it gets 0.
std::vector<double> SolveByCholesky(std::vector<double> matrix, std::vector<double> right) {
    const std::size_t n = right.size();
    for (std::size_t j = 0; j < n; ++j) {
        const double own = matrix[j * n + j];
        double pivot = own;
        for (std::size_t k = 0; k < j; ++k)
            pivot -= matrix[j * n + k] * matrix[j * n + k];
        const double root = pivot > negligiblePivot * own ? std::sqrt(pivot) : 0.0;
        matrix[j * n + j] = root;
        for (std::size_t i = j + 1; i < n; ++i) {
            double sum = matrix[i * n + j];
            for (std::size_t k = 0; k < j; ++k)
                sum -= matrix[i * n + k] * matrix[j * n + k];
            matrix[i * n + j] = root > 0.0 ? sum / root : 0.0;
        }
    }
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t k = 0; k < i; ++k)
            right[i] -= matrix[i * n + k] * right[k];
        right[i] = matrix[i * n + i] > 0.0 ? right[i] / matrix[i * n + i] : 0.0;
    }
    for (std::size_t i = n; i-- > 0;) {
        for (std::size_t k = i + 1; k < n; ++k)
            right[i] -= matrix[k * n + i] * right[k];
        right[i] = matrix[i * n + i] > 0.0 ? right[i] / matrix[i * n + i] : 0.0;
    }
    return right;
}

BlurFits BlurSamples::Fit() const {
    BlurFits fits;
    fits.means.resize(Width());
    for (std::size_t at = 0; at < values.size(); at += Width())
        for (std::size_t i = 0; i < Width(); ++i)
            fits.means[i] += values[at + i];
    for (double& mean : fits.means)
        mean /= static_cast<double>(GetCount());
    std::vector<double> ofBands(bands * bands); // products of bands i and j <= i: half a matrix
    std::vector<double> centred(bands);
    using OfLows = std::array<double, tried.size()>;
    std::vector<OfLows> byBand(bands); // products of each band with the low-passes
    OfLows squares{}, centredLows{};
    for (std::size_t at = 0; at < values.size(); at += Width()) {
        for (std::size_t low = 0; low < tried.size(); ++low) {
            centredLows[low] = values[at + bands + low] - fits.means[bands + low];
            squares[low] += centredLows[low] * centredLows[low];
        }
        for (std::size_t i = 0; i < bands; ++i) {
            centred[i] = values[at + i] - fits.means[i];
            for (std::size_t j = 0; j <= i; ++j)
                ofBands[i * bands + j] += centred[i] * centred[j];
            for (std::size_t low = 0; low < tried.size(); ++low)
                byBand[i][low] += centredLows[low] * centred[i];
        }
    }
    for (std::size_t low = 0; low < tried.size(); ++low) {
        std::vector<double> projection(bands);
        std::transform(byBand.begin(), byBand.end(), projection.begin(),
                       [low](const OfLows& of) { return of[low]; });
        fits.coefficients[low] = SolveByCholesky(ofBands, projection);
        double explained = 0.0;
        for (std::size_t i = 0; i < bands; ++i)
            explained += fits.coefficients[low][i] * projection[i];
        fits.rSquared[low] = squares[low] > 0.0 ? explained / squares[low] : 0.0;
    }
    return fits;
}

void BlurSamples::DropOutliers() {
    const BlurFits fits = Fit();
    std::vector<double> residuals;
    for (std::size_t at = 0; at < values.size(); at += Width()) {
        double residual = values[at + bands + firstTried] - fits.means[bands + firstTried];
        for (std::size_t i = 0; i < bands; ++i)
            residual -= fits.coefficients[firstTried][i] * (values[at + i] - fits.means[i]);
        residuals.push_back(std::fabs(residual));
    }
    std::vector<double> sorted = residuals;
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::nth_element(sorted.begin(), middle, sorted.end());
    const double most = robustDeviations * deviationOfMedian * *middle;
    std::size_t kept = 0;
    for (std::size_t pixel = 0; pixel < residuals.size(); ++pixel)
        if (residuals[pixel] <= most) {
            std::copy_n(values.data() + pixel * Width(), Width(), values.data() + kept * Width());
            ++kept;
        }
    values.resize(kept * Width());
}

/// The variance at the maximum of a parabola through the best R squared and its two neighbours.
double Refine(const std::array<double, tried.size()>& rSquared, std::size_t best) {
    const double at = VarianceOf(tried[best]);
    if (best == 0 || best + 1 == tried.size()) return at;
    const double before = VarianceOf(tried[best - 1]) - at, after = VarianceOf(tried[best + 1]) - at;
    const double fallBefore = rSquared[best - 1] - rSquared[best],
                 fallAfter = rSquared[best + 1] - rSquared[best];
    // y = a x^2 + b x through (before, fallBefore), (0, 0) and (after, fallAfter).
    const double a = (fallAfter / after - fallBefore / before) / (after - before);
    const double b = fallAfter / after - a * after;
    return a < 0.0 ? at - b / (2.0 * a) : at;
}

} // namespace

bool FitBlur(FitBlockSource& source, BlurFit& fit, Status& status) {
    fit = {};
    BlurSamples samples(source.GetBands());
    if (!samples.Read(source, status)) return false;
    fit.samples = samples.GetCount();
    if (fit.samples < leastSamplesPerNumber * (source.GetBands() + 1)) {
        fit.obstacle = FormatString("too few multispectral pixels can be used: %.0f lie wholly on pan, have "
                                    "data and are not saturated",
                                    static_cast<double>(fit.samples));
        return true;
    }
    for (int pass = 0; pass < 2; ++pass)
        samples.DropOutliers();
    fit.samples = samples.GetCount();
    const auto rSquared = samples.Fit().rSquared;
    const auto best = std::max_element(rSquared.begin(), rSquared.end());
    fit.rSquared = *best;
    if (!(fit.rSquared >= leastBlurRSquared)) {
        fit.obstacle = FormatString("no weights of the bands make up pan's low-pass (R² %.2f, below %.1f)",
                                    fit.rSquared, leastBlurRSquared);
        return true;
    }
    const double variance = Refine(rSquared, static_cast<std::size_t>(best - rSquared.begin())) +
                            panBlur / (source.GetRatio()[0] * source.GetRatio()[1]);
    const double transfer = std::clamp(TransferOf(variance), leastTransfer, greatestTransfer);
    fit.transfer = std::floor(transfer * 1000.0 + 0.5) / 1000.0;
    return true;
}

} // namespace fitting
