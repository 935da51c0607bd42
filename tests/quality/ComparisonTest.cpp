#include "quality/Comparison.h"

#include "quality/NoReference.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <numeric>
#include <random>

namespace {

constexpr std::size_t columns = 150, rows = 45, bands = 3;

/// A whole image, by band and pixel, with a mask of the pixels that count.
struct Image {
    std::vector<std::vector<double>> band;
    [[nodiscard]] double At(std::size_t b, std::size_t row, std::size_t column) const {
        return band[b][row * columns + column];
    }
};

Image Random(unsigned seed, std::size_t count, double noise, const Image* like = nullptr) {
    std::mt19937 engine(seed);
    Image image{std::vector(count, std::vector<double>(columns * rows))};
    for (std::size_t b = 0; b < count; ++b)
        for (std::size_t i = 0; i < columns * rows; ++i)
            image.band[b][i] =
                (like ? like->band[b][i] : 5000.0) + noise * static_cast<double>(engine() % 1000);
    return image;
}

std::vector<double> Interleave(const std::vector<const Image*>& images, std::size_t row) {
    std::vector<double> samples;
    for (std::size_t column = 0; column < columns; ++column)
        for (const Image* image : images)
            for (std::size_t b = 0; b < image->band.size(); ++b)
                samples.push_back(image->At(b, row, column));
    return samples;
}

template <class Sample>
std::array<quality::Channels, 1> Channels(const std::vector<Sample>& row) {
    return {{{row.data(), row.size() / columns}}};
}

double Mean(const std::vector<double>& x) {
    return std::accumulate(x.begin(), x.end(), 0.0) / double(x.size());
}

double Covariance(const std::vector<double>& x, const std::vector<double>& y) {
    const double mx = Mean(x), my = Mean(y);
    double sum = 0.0;
    for (std::size_t i = 0; i < x.size(); ++i)
        sum += (x[i] - mx) * (y[i] - my);
    return sum / double(x.size());
}

/// The result of a function on the valid samples of every block, averaged by the numbers of samples.
template <class Function>
double OverBlocks(const std::vector<unsigned char>& valid, std::size_t side, const Function& function) {
    double sum = 0.0, pixels = 0.0;
    for (std::size_t top = 0; top < rows; top += side)
        for (std::size_t left = 0; left < columns; left += side) {
            std::vector<std::size_t> at;
            for (std::size_t r = top; r < std::min(top + side, rows); ++r)
                for (std::size_t c = left; c < std::min(left + side, columns); ++c)
                    if (valid[r * columns + c]) at.push_back(r * columns + c);
            if (at.empty()) continue;
            sum += double(at.size()) * function(at);
            pixels += double(at.size());
        }
    return sum / pixels;
}

std::vector<double> Pick(const std::vector<double>& from, const std::vector<std::size_t>& at) {
    std::vector<double> picked;
    for (const std::size_t i : at)
        picked.push_back(from[i]);
    return picked;
}

/// 4 s_xy mx my / ((s_x^2 + s_y^2)(mx^2 + my^2)), as in Wang and Bovik.
double SlowQ(const std::vector<double>& a, const std::vector<double>& b,
             const std::vector<unsigned char>& valid, std::size_t side) {
    return OverBlocks(valid, side, [&](const std::vector<std::size_t>& at) {
        const auto x = Pick(a, at), y = Pick(b, at);
        const double mx = Mean(x), my = Mean(y);
        return 4.0 * Covariance(x, y) * mx * my /
               ((Covariance(x, x) + Covariance(y, y)) * (mx * mx + my * my));
    });
}

/// Numbers of 1, 2, 4, ... dimensions.
using Number = std::vector<double>;
Number Conjugate(Number a) {
    for (std::size_t i = 1; i < a.size(); ++i)
        a[i] = -a[i];
    return a;
}
Number Multiply(const Number& x, const Number& y) {
    if (x.size() == 1) return {x[0] * y[0]};
    const auto half = static_cast<std::ptrdiff_t>(x.size() / 2);
    const Number a(x.begin(), x.begin() + half), b(x.begin() + half, x.end());
    const Number c(y.begin(), y.begin() + half), d(y.begin() + half, y.end());
    Number left = Multiply(a, c), right = Multiply(d, a);
    const Number left2 = Multiply(Conjugate(d), b), right2 = Multiply(b, Conjugate(c));
    for (std::size_t i = 0; i < a.size(); ++i) {
        left[i] -= left2[i];
        right[i] += right2[i];
    }
    left.insert(left.end(), right.begin(), right.end());
    return left;
}
double Size(const Number& a) { return std::sqrt(std::inner_product(a.begin(), a.end(), a.begin(), 0.0)); }

/// The mean of (z - mean)(w - mean)* over the pixels of a block, number by number.
double SlowQ2n(const Image& image, const Image& reference, const std::vector<unsigned char>& valid,
               std::size_t side) {
    return OverBlocks(valid, side, [&](const std::vector<std::size_t>& at) {
        Number meanZ(4), meanW(4), covariance(4);
        double variances = 0.0;
        for (std::size_t b = 0; b < bands; ++b) {
            meanZ[b] = Mean(Pick(image.band[b], at));
            meanW[b] = Mean(Pick(reference.band[b], at));
        }
        for (const std::size_t i : at) {
            Number z(4), w(4);
            for (std::size_t b = 0; b < bands; ++b) {
                z[b] = image.band[b][i] - meanZ[b];
                w[b] = reference.band[b][i] - meanW[b];
            }
            const Number product = Multiply(z, Conjugate(w));
            for (std::size_t k = 0; k < 4; ++k)
                covariance[k] += product[k] / double(at.size());
            variances += (Size(z) * Size(z) + Size(w) * Size(w)) / double(at.size());
        }
        const double mz = Size(meanZ), mw = Size(meanW);
        return 4.0 * Size(covariance) * mz * mw / (variances * (mz * mz + mw * mw));
    });
}

double SlowDetailCorrelation(const Image& a, const Image& b, std::size_t band,
                             const std::vector<unsigned char>& valid) {
    std::vector<double> x, y;
    for (std::size_t r = 1; r + 1 < rows; ++r)
        for (std::size_t c = 1; c + 1 < columns; ++c) {
            double da = 0.0, db = 0.0;
            bool counts = true;
            for (std::size_t i = r - 1; i <= r + 1; ++i)
                for (std::size_t j = c - 1; j <= c + 1; ++j) {
                    const double factor = i == r && j == c ? 8.0 : -1.0;
                    da += factor * a.At(band, i, j);
                    db += factor * b.At(band, i, j);
                    counts = counts && valid[i * columns + j];
                }
            if (!counts) continue;
            x.push_back(da);
            y.push_back(db);
        }
    return Covariance(x, y) / std::sqrt(Covariance(x, x) * Covariance(y, y));
}

/// Infinite and undefined numbers count as equal to themselves.
void ExpectSame(double found, double expected) {
    if (std::isfinite(expected))
        EXPECT_NEAR(found, expected, 1e-12);
    else
        EXPECT_EQ(std::isnan(found) ? "undefined" : std::to_string(found),
                  std::isnan(expected) ? "undefined" : std::to_string(expected));
}

std::vector<unsigned char> WithHoles() {
    std::vector<unsigned char> valid(columns * rows, 1);
    for (std::size_t i = 0; i < valid.size(); ++i)
        if (i % 37 == 5 || i % columns < 4 || (i / columns > 31 && i % columns > 63)) valid[i] = 0;
    return valid;
}

} // namespace

TEST(Comparison, EqualsTheSlowDefinitions) {
    const Image truth = Random(1, bands, 3.0), image = Random(2, bands, 1.0, &truth);
    for (const auto& [valid, inWholes] : {std::pair(std::vector<unsigned char>(columns * rows, 1), false),
                                          {WithHoles(), false},
                                          {WithHoles(), true}}) {
        // The last rows are compared separately; the image above them ends with whole blocks.
        quality::Comparison comparison(columns, bands), below(columns, bands);
        quality::HypercomplexIndex whole(columns, bands, quality::blockSide),
            wholeBelow(columns, bands, quality::blockSide);
        for (std::size_t row = 0; row < rows; ++row) {
            const bool isBelow = row >= quality::blockSide;
            quality::Comparison& compared = isBelow ? below : comparison;
            const auto samples = Interleave({&image}, row), truths = Interleave({&truth}, row);
            const std::vector<unsigned short> wholes(samples.begin(), samples.end()),
                wholeTruths(truths.begin(), truths.end());
            if (inWholes)
                compared.AddRow(wholes.data(), wholeTruths.data(), valid.data() + row * columns);
            else
                compared.AddRow(samples.data(), truths.data(), valid.data() + row * columns);
            const auto both = Interleave({&image, &truth}, row);
            (isBelow ? wholeBelow : whole).AddRow(Channels(both), valid.data() + row * columns);
        }
        comparison.Append(below);
        whole.Append(wholeBelow);
        const quality::ReferenceIndices found = comparison.Find(2.5);
        std::vector<std::size_t> at;
        for (std::size_t i = 0; i < valid.size(); ++i)
            if (valid[i]) at.push_back(i);
        EXPECT_EQ(found.pixels, at.size());
        double relative = 0.0, q = 0.0, angles = 0.0;
        for (std::size_t b = 0; b < bands; ++b) {
            const auto x = Pick(image.band[b], at), y = Pick(truth.band[b], at);
            double squares = 0.0;
            for (std::size_t i = 0; i < x.size(); ++i)
                squares += (x[i] - y[i]) * (x[i] - y[i]) / double(x.size());
            const double rmse = std::sqrt(squares);
            EXPECT_NEAR(found.errors[b].bias, Mean(x) - Mean(y), 1e-9);
            EXPECT_NEAR(found.errors[b].rmse, rmse, 1e-9);
            EXPECT_NEAR(found.errors[b].psnr,
                        10.0 * std::log10(std::pow(*std::max_element(y.begin(), y.end()), 2) / squares),
                        1e-9);
            relative += squares / (Mean(y) * Mean(y));
            const double slowQ = SlowQ(image.band[b], truth.band[b], valid, 32);
            EXPECT_NEAR(found.q[b], slowQ, 1e-9);
            q += slowQ / double(bands);
            EXPECT_NEAR(found.spatialCorrelation[b], SlowDetailCorrelation(image, truth, b, valid), 1e-9);
        }
        for (const std::size_t i : at) {
            Number x, y;
            for (std::size_t b = 0; b < bands; ++b) {
                x.push_back(image.band[b][i]);
                y.push_back(truth.band[b][i]);
            }
            angles += std::acos(std::inner_product(x.begin(), x.end(), y.begin(), 0.0) / (Size(x) * Size(y)));
        }
        EXPECT_NEAR(found.ergas, 100.0 / 2.5 * std::sqrt(relative / double(bands)), 1e-9);
        EXPECT_NEAR(found.meanQ, q, 1e-9);
        EXPECT_NEAR(found.sam, angles / double(at.size()) * 180.0 / std::numbers::pi, 1e-6);
        EXPECT_NEAR(whole.Find(), SlowQ2n(image, truth, valid, 32), 1e-9);
    }
}

TEST(NoReference, EqualsTheSlowDefinitions) {
    const Image first = Random(3, bands, 2.0), second = Random(5, bands, 7.0), pan = Random(4, 1, 2.0);
    const auto valid = WithHoles();
    constexpr std::size_t side = 11; // 32 / 3, rounded
    ASSERT_EQ(quality::CoarseBlockSide(3.0), side);
    quality::ScaleIndices indices(columns, bands, 2, side), below(columns, bands, 2, side);
    for (std::size_t row = 0; row < rows; ++row) {
        const auto numbers = Interleave({&first, &second, &pan}, row);
        const std::vector<unsigned short> samples(numbers.begin(), numbers.end());
        if (row < 2 * side)
            indices.AddRow(Channels(samples), valid.data() + row * columns);
        else
            below.AddRow(Channels(numbers), valid.data() + row * columns);
    }
    indices.Append(below);
    const auto found = indices.Find();
    const std::pair<std::size_t, std::size_t> pairs[] = {{0, 1}, {0, 2}, {1, 2}};
    for (std::size_t image = 0; image < found.size(); ++image) {
        const auto& band = (image == 0 ? first : second).band;
        ASSERT_EQ(found[image].ofBands.size(), std::size(pairs));
        for (std::size_t i = 0; i < bands; ++i) {
            EXPECT_NEAR(found[image].withPan[i], SlowQ(band[i], pan.band[0], valid, side), 1e-9);
            EXPECT_NEAR(found[image].ofBands[i],
                        SlowQ(band[pairs[i].first], band[pairs[i].second], valid, side), 1e-9);
        }
    }
    EXPECT_DOUBLE_EQ(quality::Distortion({0.5, 0.25}, {0.25, 0.75}), 0.375);
    EXPECT_EQ(quality::Distortion({}, {}), 0.0); // a single band
}

TEST(Comparison, KnowsTheCasesWithoutAFormula) {
    const struct {
        const char* what;
        std::vector<double> image, reference; ///< three pixels of two bands
        double q, sam;                        ///< mean Q, NaN where nothing counts
        double psnr, ergas;                   ///< of band 1
    } cases[] = {
        {"the same", {3, 4, 6, 8, 3, 4}, {3, 4, 6, 8, 3, 4}, 1.0, 0.0, INFINITY, 0.0},
        // Constant blocks: 2 m n / (m^2 + n^2) = 2 * 2 / (1 + 4), both bands. 20 log10(2 / 1); 50 sqrt(1 /
        // 4).
        {"constant", {1, 1, 1, 1, 1, 1}, {2, 2, 2, 2, 2, 2}, 0.8, 0.0, 20.0 * std::log10(2.0), 25.0},
        // Band 1: no detail in one of the two gives 0; band 2 is 0 throughout and the same. Means 3 and 3.
        {"flat",
         {3, 0, 3, 0, 3, 0},
         {1, 0, 3, 0, 5, 0},
         0.5,
         0.0,
         20.0 * std::log10(5 / std::sqrt(8 / 3.0)),
         NAN},
        // Zero vectors do not count: one angle of 90 degrees remains. Band 1: means 5/3 and 2, variances 50/9
        // and 24/9, covariance -10/3; band 2: 7/3 and 4/3, 38/9 and 32/9, -28/9. Squares 45/3 in both.
        {"zero vectors",
         {0, 0, 5, 5, 0, 2},
         {4, 4, 0, 0, 2, 0},
         (-60.0 / 61 * 60 / 74 - 56.0 / 65 * 56 / 70) / 2,
         90.0,
         20.0 * std::log10(4 / std::sqrt(15.0)),
         50.0 * std::sqrt((15.0 / 4 + 15.0 * 9 / 16) / 2)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        quality::Comparison comparison(3, 2);
        const unsigned char valid[] = {1, 1, 1};
        comparison.AddRow(c.image.data(), c.reference.data(), valid);
        const auto found = comparison.Find(2.0);
        EXPECT_NEAR(found.meanQ, c.q, 1e-12);
        EXPECT_NEAR(found.sam, c.sam, 1e-6);
        ExpectSame(found.errors[0].psnr, c.psnr);
        ExpectSame(found.ergas, c.ergas);                     // none with a reference band of mean 0
        EXPECT_TRUE(std::isnan(found.spatialCorrelation[0])); // one row has no neighbours
    }
}
