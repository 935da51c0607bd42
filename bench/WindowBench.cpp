// The cost per pixel of a window through the plug-in, from SetWindow to the last GetRow: windows of 256 x
// 256, as image servers use them, compared with one window of the whole image. The samples are in memory, so
// no file is read. Windows are first compared with the whole image; with --verify nothing is timed.
//
//     window_bench [--verify] [PATH OF Pansharp.process]
#include "host/PropertyNames.h"
#include "hostkit/ArrayRaster.h"
#include "hostkit/MethodTable.h"
#include "hostkit/WindowWorker.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

using KOVA::Tessara::Fundament::Status;
using KOVA::Tessara::Global::NameValueMap;
using KOVA::Tessara::Pixmere::RasterInfo;
namespace PropertyNames = KOVA::Tessara::PropertyNames;

constexpr std::uint32_t columns = 4096;
constexpr std::uint32_t rows = 1024;
constexpr std::uint32_t ratio = 4;
constexpr std::uint32_t bands = 4;
constexpr std::uint32_t small = 256;

struct Image {
    Image(std::uint32_t width, std::uint32_t height, std::uint32_t bandCount, std::uint32_t bits,
          double pixelSize) {
        info.cols = width;
        info.rows = height;
        info.bandsPerPixel = bandCount;
        info.bitsPerBand = bits;
        info.pixelSizeX = info.pixelSizeY = pixelSize;
        info.xMax = width * pixelSize;
        info.yMin = -(height * pixelSize);
        std::mt19937 random(bandCount);
        samples.resize(std::size_t{width} * height * hostkit::PixelBytes(info));
        for (unsigned char& sample : samples)
            sample = static_cast<unsigned char>(random());
    }
    [[nodiscard]] hostkit::SourceImage Wrap() const {
        return {info, {samples.data(), info.cols * hostkit::PixelBytes(info), hostkit::WholeImage(info)}};
    }
    RasterInfo info;
    std::vector<unsigned char> samples;
};

class Bench {
public:
    Bench(const hostkit::PluginLibrary& plugin, const char* method, std::uint32_t bits, bool hasInfrared)
        : pan(columns, rows, 1, bits, 1.0), ms(columns / ratio, rows / ratio, bands, bits, ratio),
          infrared(columns / ratio, rows / ratio, 1, bits, ratio), panRaster(pan.info, pan.Wrap().block),
          worker(plugin, Properties(method, hasInfrared), pan.info, panRaster, status) {
        worker.GetWorkspace().SetImage(hostkit::multispectralId, ms.Wrap());
        worker.GetWorkspace().SetImage(hostkit::infraredId, infrared.Wrap());
        if (!worker.Start(status)) Stop(status);
        fused.resize(std::size_t{columns} * rows * hostkit::PixelBytes(ms.info));
    }

    /// Seconds for the whole image in windows of one size; `take` receives the rows.
    template <class Take>
    double Run(std::uint32_t width, std::uint32_t height, const Take& take) {
        const auto start = std::chrono::steady_clock::now();
        for (std::uint32_t row = 0; row < rows; row += height)
            for (std::uint32_t column = 0; column < columns; column += width) {
                if (!worker.OpenWindow({column, row, column + width, row + height}, status)) Stop(status);
                for (std::uint32_t r = row; r < row + height; ++r) {
                    const unsigned char* samples = worker.GetRow(r, status);
                    if (!samples) Stop(status);
                    take(samples, column, r, width * hostkit::PixelBytes(ms.info));
                }
            }
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }

    bool Verify() {
        const std::size_t pixelBytes = hostkit::PixelBytes(ms.info);
        const auto place = [&](std::uint32_t column, std::uint32_t row) {
            return fused.data() + (std::size_t{row} * columns + column) * pixelBytes;
        };
        Run(columns, rows,
            [&](const unsigned char* samples, std::uint32_t column, std::uint32_t row, std::size_t bytes) {
                std::memcpy(place(column, row), samples, bytes);
            });
        bool isRight = true;
        Run(small, small,
            [&](const unsigned char* samples, std::uint32_t column, std::uint32_t row, std::size_t bytes) {
                isRight = isRight && std::memcmp(place(column, row), samples, bytes) == 0;
            });
        return isRight;
    }

    /// Medians of nanoseconds per pixel, and of the ratio of the time in windows of 256 x 256 to the time of
    /// the whole image right after: the clock of a shared processor changes from trial to trial.
    struct Times {
        double small, whole, ratio;
    };

    Times Time() {
        const auto ignore = [](const unsigned char*, std::uint32_t, std::uint32_t, std::size_t) {};
        constexpr std::size_t trials = 41;
        std::vector<double> smallTimes, wholeTimes, ratios;
        for (std::size_t trial = 0; trial < trials; ++trial) {
            smallTimes.push_back(Run(small, small, ignore) * 1e9 / columns / rows);
            wholeTimes.push_back(Run(columns, rows, ignore) * 1e9 / columns / rows);
            ratios.push_back(smallTimes.back() / wholeTimes.back());
        }
        const auto median = [](std::vector<double>& values) {
            std::sort(values.begin(), values.end());
            return values[values.size() / 2];
        };
        return {median(smallTimes), median(wholeTimes), median(ratios)};
    }

private:
    static NameValueMap Properties(const char* method, bool hasInfrared) {
        NameValueMap properties;
        properties[PropertyNames::method] = method;
        properties[PropertyNames::multispectralImage] = hostkit::multispectralId;
        if (hasInfrared) properties[PropertyNames::additionalImage] = hostkit::infraredId;
        properties[PropertyNames::outputBands] = std::to_string(bands);
        return properties;
    }

    [[noreturn]] static void Stop(const Status& reasons) {
        std::fprintf(stderr, "%s\n", reasons.ToText().c_str());
        std::exit(1);
    }

    Image pan, ms, infrared;
    Status status;
    hostkit::ArrayRaster panRaster;
    hostkit::WindowWorker worker;
    std::vector<unsigned char> fused;
};

} // namespace

int main(int argc, char** argv) {
    const bool isTimed = argc < 2 || std::strcmp(argv[1], "--verify") != 0;
    const int pathAt = isTimed ? 1 : 2;
    Status status;
    const std::string path = hostkit::FindPlugin(argc > pathAt ? argv[pathAt] : "", status);
    const auto plugin = path.empty() ? nullptr : hostkit::PluginLibrary::Load(path, status);
    if (!plugin) {
        std::fprintf(stderr, "%s\n", status.ToText().c_str());
        return 1;
    }
    struct Case {
        std::string name;
        const char* method;
        bool hasInfrared;
    };
    std::vector<Case> cases;
    for (const PansharpMethod& method : hostkit::MethodsOf(plugin->GetDescription()))
        cases.push_back({method.keyword, method.keyword, false});
    cases.push_back({cases.front().name + " with infrared", cases.front().method, true});
    bool isRight = true;
    for (const auto& [name, method, hasInfrared] : cases)
        for (const std::uint32_t bits : {8u, 16u}) {
            Bench bench(*plugin, method, bits, hasInfrared);
            if (!bench.Verify()) {
                std::fprintf(stderr, "%s, %u bits: small windows give other bytes than the whole\n",
                             name.c_str(), bits);
                isRight = false;
            } else if (isTimed) {
                const Bench::Times times = bench.Time();
                std::printf("%s %u bits: 256 x 256 %.2f ns a pixel, whole %.2f, ratio %.2f\n", name.c_str(),
                            bits, times.small, times.whole, times.ratio);
            }
        }
    return isRight ? 0 : 1;
}
