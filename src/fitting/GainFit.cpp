#include "fitting/GainFit.h"

#include "fitting/NonNegativeLeastSquares.h"
#include "hostkit/PanLowPass.h"
#include "kernels/CubicRow.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace fitting {

namespace {

using hostkit::PixelRect;
using KOVA::Tessara::Fundament::Status;

constexpr std::uint32_t windowsAcross = 4; ///< across and down
constexpr double windowSide = 16.0;        ///< in pixels one scale down
constexpr double around = 4.0;             ///< margin that is read around a window, in the same pixels
constexpr std::uint64_t fewest = 500;      ///< fewest samples that gains are fitted to
/// If less than this share of the weight lies on usable pixels, there is no mean.
constexpr double leastPartUsable = 0.75;
constexpr double noNumber = std::numeric_limits<double>::quiet_NaN();
constexpr double leastIntensity = 1e-6; ///< lowest intensity used as a divisor

/// Pixels of one grid as weighted sums of those of another, along one axis.
struct AxisSums {
    struct Term {
        std::uint32_t at = 0;
        double weight = 0.0;
    };
    std::vector<std::vector<Term>> terms; ///< per pixel; empty for a pixel without any

    /// Degrades to pixels `ratio` times as large, by a Gaussian.
    static AxisSums LowPass(double ratio, double sigma, std::uint32_t coarsePixels, std::uint32_t pixels) {
        const kernels::LowPassAxis low(kernels::MakeGridAxis(1.0 / ratio, 0.0), sigma, coarsePixels, pixels);
        AxisSums sums;
        for (std::uint32_t coarse = 0; coarse < coarsePixels; ++coarse) {
            const auto& taps = low.GetTaps(coarse);
            sums.terms.emplace_back();
            for (std::uint32_t i = 0; i < taps.count; ++i)
                sums.terms.back().push_back(
                    {taps.first + i, static_cast<double>(low.GetWeights(taps)[i]) / kernels::lowPassOne});
        }
        return sums;
    }
    /// True when every pixel is a sum of some pixels.
    [[nodiscard]] bool ReachesAll() const {
        return std::none_of(terms.begin(), terms.end(), [](const auto& of) { return of.empty(); });
    }
    /// Upsamples back, by cubic convolution.
    static AxisSums Cubic(double ratio, std::uint32_t coarsePixels, std::uint32_t pixels) {
        const kernels::GridAxis axis = kernels::MakeGridAxis(1.0 / ratio, 0.0);
        AxisSums sums;
        for (std::uint32_t pixel = 0; pixel < pixels; ++pixel) {
            const auto tap = kernels::MakeCubicTap(kernels::PanToMultispectral(axis, pixel), coarsePixels);
            sums.terms.emplace_back();
            for (std::size_t i = 0; i < tap.at.size(); ++i)
                sums.terms.back().push_back({tap.at[i], tap.weights[i]});
        }
        return sums;
    }
};

/// One plane of numbers, row by row.
using Plane = std::vector<double>;

/// NaN stays NaN, and so does everything computed from it.
Plane Resample(const Plane& in, std::size_t columns, const AxisSums& across, const AxisSums& down) {
    Plane out(down.terms.size() * across.terms.size());
    double* to = out.data();
    std::vector<double> sums(columns);
    for (const auto& rowTerms : down.terms) {
        std::fill(sums.begin(), sums.end(), 0.0);
        for (const auto& term : rowTerms)
            for (std::size_t column = 0; column < columns; ++column)
                sums[column] += term.weight * in[term.at * columns + column];
        for (const auto& columnTerms : across.terms) {
            double sum = 0.0;
            for (const auto& term : columnTerms)
                sum += term.weight * sums[term.at];
            *to++ = sum;
        }
    }
    return out;
}

/// Sums over pixels from which the gains of a band and its errors are computed.
struct GainSums {
    double detail2 = 0.0, mixed = 0.0, ratio2 = 0.0; ///< of products of detail and (detail times ratio)
    double byDetail = 0.0, byRatio = 0.0;            ///< of their products with what the band lacks
    double lack2 = 0.0, sum = 0.0;                   ///< of the square of what the band lacks, and of the
                                                     ///< band

    void Add(double detail, double ratioDetail, double lack, double sample) {
        detail2 += detail * detail;
        mixed += detail * ratioDetail;
        ratio2 += ratioDetail * ratioDetail;
        byDetail += lack * detail;
        byRatio += lack * ratioDetail;
        lack2 += lack * lack;
        sum += sample;
    }
    [[nodiscard]] BandGains Solve() const {
        const std::array gram{detail2, mixed, mixed, ratio2};
        const std::array projection{byDetail, byRatio};
        const std::vector<double> gains = SolveNonNegative(gram, projection);
        return {gains[0], gains[1]};
    }
    /// The sum of squared residuals for given gains.
    [[nodiscard]] double LeftBy(const BandGains& of) const {
        return std::max(0.0, lack2 - 2.0 * (of.gain * byDetail + of.ratioGain * byRatio) +
                                 of.gain * of.gain * detail2 + 2.0 * of.gain * of.ratioGain * mixed +
                                 of.ratioGain * of.ratioGain * ratio2);
    }
};

/// Sums over pixels at full size, of a band and pan's low-pass.
struct CommonSums {
    double count = 0.0, low = 0.0, low2 = 0.0, sample = 0.0, product = 0.0;

    void Add(double lowSample, double bandSample) {
        ++count;
        low += lowSample;
        low2 += lowSample * lowSample;
        sample += bandSample;
        product += bandSample * lowSample;
    }
    /// Half of the detail by regression, half by the band ratio.
    [[nodiscard]] BandGains RuleOfThumb() const {
        const double variance = low2 - low * low / std::max(count, 1.0);
        const double covariance = product - sample * low / std::max(count, 1.0);
        return {variance > 1e-12 * low2 ? std::max(0.0, 0.5 * covariance / variance) : 0.0, 0.5};
    }
};

class GainSamples {
public:
    GainSamples(FitBlockSource& blockSource, double blur)
        : source(blockSource), sigma(hostkit::GaussianSigma(blur)), transfer(blur), ratio(source.GetRatio()),
          coarser(source.GetBands()), common(source.GetBands()) {}

    [[nodiscard]] bool Read(Status& status) {
        const PixelRect area = source.GetArea(); // a longer side would make no difference
        const double most = std::max({area.GetColumns(), area.GetRows(), 1u});
        const double side = std::min(std::sqrt(ratio[0] * ratio[1]) * windowSide, most);
        FitBlock block;
        for (const PixelRect& window :
             source.Choose(windowsAcross, static_cast<std::uint32_t>(std::ceil(side)))) {
            if (!source.Read(Grow(window), block, status)) return false;
            Add(block, window);
        }
        return true;
    }
    [[nodiscard]] std::uint64_t GetCount() const { return count; } ///< one scale down
    [[nodiscard]] const std::vector<GainSums>& GetCoarser() const { return coarser; }
    [[nodiscard]] const std::vector<CommonSums>& GetCommon() const { return common; }

private:
    [[nodiscard]] PixelRect Grow(const PixelRect& window) const;
    [[nodiscard]] Plane Degrade(const Plane& plane, const PixelRect& rect) const;
    void Add(const FitBlock& block, const PixelRect& window);

    FitBlockSource& source;
    double sigma;
    double transfer;
    std::array<double, 2> ratio;
    std::uint64_t count = 0;
    std::vector<GainSums> coarser;
    std::vector<CommonSums> common;
};

PixelRect GainSamples::Grow(const PixelRect& window) const {
    const PixelRect area = source.GetArea();
    const auto right = static_cast<std::uint32_t>(std::ceil(around * ratio[0]));
    const auto below = static_cast<std::uint32_t>(std::ceil(around * ratio[1]));
    return {window.col0 - std::min(right, window.col0 - area.col0),
            window.row0 - std::min(below, window.row0 - area.row0),
            window.col1 + std::min(right, area.col1 - window.col1),
            window.row1 + std::min(below, area.row1 - window.row1)};
}

/// Degrades a plane and upsamples it again. Empty when there is not one whole pixel one scale down.
Plane GainSamples::Degrade(const Plane& plane, const PixelRect& rect) const {
    const std::uint32_t columns = rect.GetColumns(), rows = rect.GetRows();
    const auto whole = [](std::uint32_t pixels, double step) {
        return static_cast<std::uint32_t>(pixels / step + 1e-9);
    };
    const std::uint32_t coarseColumns = whole(columns, ratio[0]), coarseRows = whole(rows, ratio[1]);
    if (coarseColumns == 0 || coarseRows == 0) return {};
    const AxisSums across = AxisSums::LowPass(ratio[0], sigma, coarseColumns, columns);
    const AxisSums down = AxisSums::LowPass(ratio[1], sigma, coarseRows, rows);
    const auto isUsable = [](double sample) { return std::isfinite(sample); };
    Plane coarse;
    if (across.ReachesAll() && down.ReachesAll() && std::all_of(plane.begin(), plane.end(), isUsable)) {
        coarse = Resample(plane, columns, across, down); // all shares are exactly 1
    } else {
        Plane usable, samples;
        for (const double sample : plane) {
            usable.push_back(isUsable(sample) ? 1.0 : 0.0);
            samples.push_back(isUsable(sample) ? sample : 0.0);
        }
        coarse = Resample(samples, columns, across, down);
        const Plane share = Resample(usable, columns, across, down);
        for (std::size_t i = 0; i < coarse.size(); ++i)
            coarse[i] = share[i] >= leastPartUsable ? coarse[i] / share[i] : noNumber;
    }
    return Resample(coarse, coarseColumns, AxisSums::Cubic(ratio[0], coarseColumns, columns),
                    AxisSums::Cubic(ratio[1], coarseRows, rows));
}

void GainSamples::Add(const FitBlock& block, const PixelRect& window) {
    const std::size_t bands = block.bands;
    const Plane low = block.LowPass(transfer);
    const Plane lowUp = Degrade(low, block.rect);
    std::vector<Plane> up(bands);
    for (std::size_t band = 0; band < bands; ++band) {
        Plane plane(block.GetCount());
        for (std::size_t pixel = 0; pixel < plane.size(); ++pixel)
            plane[pixel] = block.usable[pixel] ? block.samples[pixel * bands + band] : noNumber;
        up[band] = Degrade(plane, block.rect);
    }
    // Near the outer edge, half of the pixels that a pixel is made of are missing.
    const PixelRect area = source.GetArea();
    const auto edgeColumns = static_cast<std::uint32_t>(2.0 * ratio[0]) + 1;
    const auto edgeRows = static_cast<std::uint32_t>(2.0 * ratio[1]) + 1;
    for (std::uint32_t row = window.row0; row < window.row1; ++row)
        for (std::uint32_t column = window.col0; column < window.col1; ++column) {
            const std::size_t pixel =
                std::size_t{row - block.rect.row0} * block.rect.GetColumns() + (column - block.rect.col0);
            const double* samples = block.samples.data() + pixel * bands;
            if (!block.usable[pixel] || !std::isfinite(low[pixel])) continue;
            for (std::size_t band = 0; band < bands; ++band)
                common[band].Add(low[pixel], samples[band]);
            const bool isInner = column >= area.col0 + edgeColumns && column + edgeColumns < area.col1 &&
                                 row >= area.row0 + edgeRows && row + edgeRows < area.row1;
            if (!isInner || lowUp.empty() || !std::isfinite(lowUp[pixel]) ||
                !std::isfinite(up.front()[pixel]))
                continue;
            ++count;
            const double detail = low[pixel] - lowUp[pixel];
            for (std::size_t band = 0; band < bands; ++band) {
                const double smooth = up[band][pixel];
                const double share = std::max(smooth, 0.0) / std::max(lowUp[pixel], leastIntensity);
                coarser[band].Add(detail, share * detail, samples[band] - smooth, samples[band]);
            }
        }
}

/// ERGAS of the first bands, whose squared errors add up to `left`.
double FindErgas(const std::vector<double>& left, const GainSamples& samples,
                 const std::array<double, 2>& ratio) {
    const auto count = static_cast<double>(samples.GetCount());
    double sum = 0.0;
    for (std::size_t band = 0; band < left.size(); ++band) {
        const double mean = samples.GetCoarser()[band].sum / count;
        sum += mean > 0.0 ? left[band] / count / (mean * mean) : 0.0;
    }
    return 100.0 / std::sqrt(ratio[0] * ratio[1]) * std::sqrt(sum / static_cast<double>(left.size()));
}

double RoundGain(double gain) { return std::floor(gain * 10000.0 + 0.5) / 10000.0; }

} // namespace

bool FitGains(FitBlockSource& source, double transfer, const std::vector<BandGains>& given,
              std::size_t judged, GainFit& fit, Status& status) {
    fit = {};
    GainSamples samples(source, transfer);
    if (!samples.Read(status)) return false;
    fit.samples = samples.GetCount();
    const CommonSums& first = samples.GetCommon().front();
    fit.lowPassMean = first.count > 0.0 ? first.low / first.count : 0.0;
    const bool isEnough = fit.samples >= fewest;
    fit.isFitted = given.empty() && isEnough;
    fit.gains = given;
    for (std::size_t band = 0; given.empty() && band < source.GetBands(); ++band) {
        const BandGains found =
            isEnough ? samples.GetCoarser()[band].Solve() : samples.GetCommon()[band].RuleOfThumb();
        fit.gains.push_back({RoundGain(found.gain), RoundGain(found.ratioGain)});
    }
    if (!isEnough) return true;
    std::vector<double> left, plainLeft;
    for (std::size_t band = 0; band < judged; ++band) {
        left.push_back(samples.GetCoarser()[band].LeftBy(fit.gains[band]));
        plainLeft.push_back(samples.GetCoarser()[band].lack2);
    }
    fit.error = FindErgas(left, samples, source.GetRatio());
    fit.plainError = FindErgas(plainLeft, samples, source.GetRatio());
    return true;
}

} // namespace fitting
