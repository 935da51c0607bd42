#include "SceneFiles.h"

#include "rasterhost/assessing/Compare.h"
#include "rasterhost/reading/InputImage.h"
#include "support/StatusText.h"

#include <gmock/gmock.h>

#include <cmath>
#include <numeric>
#include <span>

using rasterhost::CompareEntry;
using rasterhost::CompareReport;
using rasterhost::CompareRequest;
using rasterhost::WeightSource;
using testfiles::Folder;

namespace {

/// 100 per pan pixel across: see AssessTest.
unsigned Ramp(double x, double y) { return static_cast<unsigned>(3000.5 + 10.0 * x + 100.0 * y); }

CompareReport Try(const std::string& pan, const std::string& ms, const std::string& keep = {}) {
    CompareRequest request;
    request.pan = {pan, {}};
    request.multispectral = {{ms, {}}};
    request.plugin = PANSHARP_PLUGIN_FILE;
    request.keep = keep;
    CompareReport report;
    KOVA::Tessara::Fundament::Status status;
    EXPECT_TRUE(rasterhost::Compare(request, report, status)) << support::StatusText(status);
    return report;
}

/// The samples of a kept file that have data.
struct Kept {
    std::uint32_t columns, rows;
    std::vector<unsigned short> samples;
    std::vector<unsigned char> valid;

    explicit Kept(const std::string& file) {
        KOVA::Tessara::Fundament::Status status;
        const auto image = rasterhost::InputImage::Open({{file, 1}}, "kept", {}, status);
        columns = image->GetInfo().cols;
        rows = image->GetInfo().rows;
        samples.resize(std::size_t{columns} * rows);
        valid.resize(samples.size());
        auto* bytes = reinterpret_cast<unsigned char*>(samples.data());
        EXPECT_TRUE(image->Read({0, 0, columns, rows}, bytes, status));
        EXPECT_TRUE(image->ReadValid({0, 0, columns, rows}, bytes, valid.data(), status));
    }
    /// The number of samples with data. Checks that each is within 1 of a function of its column and row.
    template <class Function>
    std::size_t Check(const Function& expected) const {
        std::size_t count = 0;
        for (std::size_t i = 0; i < samples.size(); ++i) {
            if (!valid[i]) continue;
            ++count;
            const auto column = static_cast<double>(i % columns), row = static_cast<double>(i / columns);
            EXPECT_NEAR(samples[i], expected(column, row), 1.0) << column << ' ' << row;
        }
        return count;
    }
};

} // namespace

/// Grids half a pixel apart, a ratio that is not whole, and a scene so wide that only windows of it are used.
TEST(Compare, DegradesPanOntoTheMultispectralGrid) {
    const struct {
        double ratio, right, below;
        int columns, rows; ///< multispectral
    } cases[] = {{2.0, -1.5, -0.5, 60, 50}, {2.6, 0.7, 0.2, 60, 50}, {2.0, 0.0, 0.0, 1600, 40}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.ratio * c.columns);
        const Folder folder;
        const auto pan = folder.Write("in-pan.tif",
                                      {int(c.columns * c.ratio),
                                       int(c.rows * c.ratio),
                                       1,
                                       GDT_UInt16,
                                       testfiles::Grid(1.0, 0.0, 0.0),
                                       {}},
                                      [](int column, int row, int) { return Ramp(column + 0.5, row + 0.5); });
        const auto at = [&](double column, double row) {
            return Ramp(c.right + (column + 0.5) * c.ratio, c.below + (row + 0.5) * c.ratio);
        };
        const auto ms = folder.Write(
            "in-ms.tif", {c.columns, c.rows, 3, GDT_UInt16, testfiles::Grid(c.ratio, c.right, -c.below), {}},
            [&](int column, int row, int) { return at(column, row); });
        const CompareReport report = Try(pan, ms, folder / "");
        // Windows of 512 start at 0, 544 and 1088.
        const bool isCut = c.columns > 1536;
        EXPECT_EQ(report.windows, isCut ? 3u : 1u);
        const auto source = [&](double column) {
            return isCut ? column + 32 * std::floor(column / 512) : column;
        };
        const double first = isCut ? 0 : std::ceil(-c.right / c.ratio - 0.5),
                     top = std::ceil(-c.below / c.ratio - 0.5);
        const auto fine = [&](double column, double row) {
            return at(source(column) + std::max(first, 0.0), row + std::max(top, 0.0));
        };
        const auto coarse = [&](double column, double row) {
            return fine((column + 0.5) * c.ratio - 0.5, (row + 0.5) * c.ratio - 0.5);
        };
        const Kept keptPan(folder / "pan.tif"), keptMs(folder / "ms.tif"), truth(folder / "truth.tif");
        EXPECT_EQ(keptMs.columns, std::floor(truth.columns / c.ratio));
        EXPECT_GT(keptPan.Check(fine), truth.samples.size() * 8 / 10);
        EXPECT_GT(keptMs.Check(coarse), keptMs.samples.size() * 6 / 10);
        EXPECT_EQ(truth.Check(fine), report.entries[0].indices.pixels);
        for (std::size_t i = 0; i < truth.samples.size(); ++i) // no kernel crosses a seam
            if (isCut && truth.valid[i] && i % 512 < 4) ADD_FAILURE() << i;
        for (const CompareEntry& plain : std::span(report.entries).first(2))
            EXPECT_LT(plain.indices.errors[0].rmse, 1.2) << NameOf(plain.resampling); // both know a ramp
    }
}

TEST(Compare, NamesTheBestAndWhenNoneBeatsPlainUpsampling) {
    const Folder folder;
    // Blocks of 4 pan pixels: much that the bands have in common, and some of each band's own.
    const auto band = [](int column, int row, int b) {
        const int x = column / 4, y = row / 4;
        return unsigned(200 + (x * 37 + y * 101) % 17 * 10 * (b + 2) +
                        (x * 13 * (b + 1) + y * 29 * (b + 2)) % 5 * 20);
    };
    const auto pan = folder.Write(
        "pan.tif", {160, 160, 1, GDT_UInt16, testfiles::Grid(1.0), {}},
        [&](int column, int row, int) { return (band(column, row, 0) + 9 * band(column, row, 2)) / 10; });
    const auto flipped = folder.Write("flipped.tif", {160, 160, 1, GDT_UInt16, testfiles::Grid(1.0), {}},
                                      [&](int column, int row, int) { return band(159 - column, row, 1); });
    const auto ms = folder.Write("ms.tif", {80, 80, 3, GDT_UInt16, testfiles::Grid(2.0), {}},
                                 [&](int column, int row, int b) { return band(2 * column, 2 * row, b); });
    const CompareReport good = Try(pan, ms);
    const CompareReport bad = Try(flipped, ms);
    EXPECT_FALSE(good.entries[good.best].IsPlain());
    EXPECT_NE(good.entries[good.best].weights, WeightSource::Equal);
    EXPECT_TRUE(bad.entries[bad.best].IsPlain());
    std::vector<std::string> names;
    for (const CompareEntry& entry : good.entries) {
        names.push_back(entry.method +
                        (entry.weights ? entry.weights == WeightSource::Fit ? " fitted " : " equal " : " ") +
                        NameOf(entry.resampling));
        EXPECT_GE(entry.indices.ergas, good.entries[good.best].indices.ergas) << names.back();
        EXPECT_EQ(entry.indices.pixels, good.entries[0].indices.pixels) << names.back();
        const auto& weights = entry.effectiveWeights;
        if (entry.weights == WeightSource::Fit) {
            EXPECT_NEAR(weights[2], 0.9, 0.1) << names.back();
        }
        if (entry.weights == WeightSource::Equal) {
            EXPECT_DOUBLE_EQ(weights[2], 1.0 / 3.0) << names.back();
        }
    }
    std::vector<std::string> expected = {" bilinear", " cubic"};
    for (const PansharpMethod& method : testfiles::Methods())
        for (const std::string resampling : {" bilinear", " cubic"})
            for (const std::string weights : {" fitted", " equal"})
                if (hostkit::WeighsBands(method))
                    expected.push_back(method.keyword + weights + resampling);
                else if (weights == " equal")
                    expected.push_back(method.keyword + resampling);
    EXPECT_THAT(names, testing::UnorderedElementsAreArray(expected));
}
