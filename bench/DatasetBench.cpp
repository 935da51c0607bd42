// What windows of a scene cost that is fused as they are asked for: opening, random windows of 256 x 256 at
// full size, the whole in 400 pixels beside GDAL's own average of the inputs, and eight threads that ask for
// windows of all levels, with the memory that they take.
//
//     dataset_bench PAN MS [PATH OF Pansharp.process]
//
// Windows are compared with the same pixels of larger ones first.
#include "rasterhost/serving/SharpenedDataset.h"

#include <gdal_priv.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using hostkit::PixelRect;
using rasterhost::SharpenedDataset;
using rasterhost::Status;
using Clock = std::chrono::steady_clock;

constexpr std::uint32_t side = 256;
constexpr std::uint32_t wholePixels = 400;

/// That this thread spent computing: on a shared machine windows wait for other programs, too.
double ProcessorMilliseconds() {
    timespec spent{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &spent);
    return static_cast<double>(spent.tv_sec) * 1e3 + static_cast<double>(spent.tv_nsec) / 1e6;
}

double Milliseconds(Clock::time_point since) {
    return std::chrono::duration<double, std::milli>(Clock::now() - since).count();
}

[[noreturn]] void Stop(const std::string& reason) {
    std::fprintf(stderr, "%s\n", reason.c_str());
    std::exit(1);
}

rasterhost::SharpenRequest Request(char** arguments, int count) {
    rasterhost::SharpenRequest request;
    request.pan.file = arguments[1];
    request.multispectral = {{arguments[2], {}}};
    if (count > 3) request.plugin = arguments[3];
    return request;
}

/// What would have to be looked for is known: there are no collars.
std::shared_ptr<const rasterhost::OpenPair> Open(const rasterhost::SharpenRequest& request,
                                                 std::size_t readers) {
    rasterhost::PreparedPair pair;
    const rasterhost::SceneFindings known{{nullptr, nullptr}, {}, {}};
    Status status;
    if (Prepare(
            request, request, [](const std::string&) {}, pair, status, &known) !=
        rasterhost::Preparation::Done)
        Stop(status.ToText());
    return std::make_shared<const rasterhost::OpenPair>(std::move(pair), readers);
}

/// A method with parameters that need no fit.
SharpenedDataset Serve(const std::shared_ptr<const rasterhost::OpenPair>& pair,
                       rasterhost::SharpenRequest request, const std::string& method) {
    request.method = method;
    request.weightSource = rasterhost::WeightSource::Equal;
    rasterhost::SceneFindings found;
    if (rasterhost::WantsDetail(request, pair->GetPlugin().GetDescription())) {
        auto& detail = found.detail.emplace();
        detail.transfer = 0.3;
        detail.gains.assign(pair->GetScene().bandOrder.size(), {0.8, 0.2});
        detail.lowPassMean = 100.0;
    }
    rasterhost::Fusion fusion;
    Status status;
    if (!MakeFusion(request, pair->GetScene(), pair->GetPlugin().GetDescription(), found, fusion, status))
        Stop(status.ToText());
    return {pair, fusion};
}

std::vector<unsigned char> Read(const SharpenedDataset& dataset, const PixelRect& window,
                                std::uint32_t columns, std::uint32_t rows) {
    std::vector<std::uint32_t> bands;
    while (bands.size() < dataset.GetBands())
        bands.push_back(static_cast<std::uint32_t>(bands.size()));
    const auto sample = static_cast<std::ptrdiff_t>(dataset.GetBits() / 8);
    const auto pixel = sample * static_cast<std::ptrdiff_t>(bands.size());
    std::vector<unsigned char> out(std::size_t{columns} * rows * static_cast<std::size_t>(pixel));
    Status status;
    if (!dataset.Read(window, columns, rows, bands,
                      {out.data(), pixel, pixel * static_cast<std::ptrdiff_t>(columns), sample}, status))
        Stop(status.ToText());
    return out;
}

class Windows {
public:
    Windows(const SharpenedDataset& read, unsigned seed) : dataset(read), random(seed) {}

    /// Of 256 x 256 pixels of a level, or fewer where it has not so many.
    PixelRect Next(unsigned level) {
        const auto axis = [&](std::uint32_t pixels) {
            const std::uint32_t count = ((pixels - 1) >> level) + 1, size = std::min(side, count);
            const auto first = static_cast<std::uint32_t>(random() % (count - size + 1));
            return std::pair(first << level, std::min((first + size) << level, pixels));
        };
        const auto [col0, col1] = axis(dataset.GetColumns());
        const auto [row0, row1] = axis(dataset.GetRows());
        return {col0, row0, col1, row1};
    }
    std::vector<unsigned char> ReadNext(unsigned level) {
        const PixelRect window = Next(level);
        return Read(dataset, window, ((window.GetColumns() - 1) >> level) + 1,
                    ((window.GetRows() - 1) >> level) + 1);
    }

private:
    const SharpenedDataset& dataset;
    std::mt19937 random;
};

void Verify(const SharpenedDataset& dataset) {
    Windows windows(dataset, 5);
    for (int turn = 0; turn < 8; ++turn) {
        const PixelRect all = windows.Next(0);
        const PixelRect part{all.col0 + all.GetColumns() / 3, all.row0 + all.GetRows() / 5, all.col1,
                             all.row1};
        const auto large = Read(dataset, all, all.GetColumns(), all.GetRows());
        const auto small = Read(dataset, part, part.GetColumns(), part.GetRows());
        const std::size_t pixel = large.size() / all.GetColumns() / all.GetRows();
        for (std::uint32_t row = 0; row < part.GetRows(); ++row) {
            const std::size_t at =
                (std::size_t{row + part.row0 - all.row0} * all.GetColumns() + (part.col0 - all.col0)) * pixel;
            const std::size_t bytes = part.GetColumns() * pixel;
            if (std::memcmp(large.data() + at, small.data() + row * bytes, bytes) != 0)
                Stop("a window gives other bytes than a larger one");
        }
    }
}

void TimeWindows(const SharpenedDataset& dataset, const char* method) {
    Windows windows(dataset, 1);
    std::vector<double> times, spent;
    for (int turn = 0; turn < 1000; ++turn) {
        const auto start = Clock::now();
        const double before = ProcessorMilliseconds();
        windows.ReadNext(0);
        spent.push_back(ProcessorMilliseconds() - before);
        times.push_back(Milliseconds(start));
    }
    std::sort(times.begin(), times.end());
    std::sort(spent.begin(), spent.end());
    std::printf("%s: windows of 256 x 256, one thread: p50 %.2f ms, p99 %.2f ms; processor %.2f and %.2f\n",
                method, times[500], times[990], spent[500], spent[990]);
}

/// GDAL's average of an input in so many pixels, as it reads one that has no overviews.
void AverageByGdal(const char* file) {
    const GDALDatasetUniquePtr dataset(GDALDataset::Open(file));
    if (!dataset) Stop(std::string("cannot open ") + file);
    const int bands = dataset->GetRasterCount(), size = static_cast<int>(wholePixels);
    std::vector<unsigned short> out(std::size_t{wholePixels} * wholePixels * static_cast<std::size_t>(bands));
    GDALRasterIOExtraArg how;
    INIT_RASTERIO_EXTRA_ARG(how);
    how.eResampleAlg = GRIORA_Average;
    if (dataset->RasterIO(GF_Read, 0, 0, dataset->GetRasterXSize(), dataset->GetRasterYSize(), out.data(),
                          size, size, GDT_UInt16, bands, nullptr, 0, 0, 0, &how) != CE_None)
        Stop(std::string("cannot read ") + file);
}

/// The whole of a dataset that nobody read from before.
void TimeWhole(const rasterhost::SharpenRequest& request, const std::string& method, const char* pan,
               const char* ms) {
    std::vector<double> own, ownSpent, gdal;
    for (int trial = 0; trial < 5; ++trial) {
        const auto pair = Open(request, 1);
        const SharpenedDataset dataset = Serve(pair, request, method);
        auto start = Clock::now();
        const double before = ProcessorMilliseconds();
        Read(dataset, {0, 0, dataset.GetColumns(), dataset.GetRows()}, wholePixels, wholePixels);
        ownSpent.push_back(ProcessorMilliseconds() - before);
        own.push_back(Milliseconds(start));
        start = Clock::now();
        AverageByGdal(pan);
        AverageByGdal(ms);
        gdal.push_back(Milliseconds(start));
    }
    for (auto* times : {&own, &ownSpent, &gdal})
        std::sort(times->begin(), times->end());
    std::printf("%s: the whole in %u pixels: %.0f ms, processor %.0f; GDAL's average of the inputs %.0f ms, "
                "ratio %.2f\n",
                method.c_str(), wholePixels, own[2], ownSpent[2], gdal[2], own[2] / gdal[2]);
}

/// Megabytes of memory that this process holds.
double MemoryHeld() {
    std::ifstream file("/proc/self/statm");
    double pages = 0.0, held = 0.0;
    file >> pages >> held;
    return held * 4096.0 / 1e6;
}

void Soak(const SharpenedDataset& dataset) {
    constexpr int rounds = 5, threadCount = 8, windowsEach = 2500;
    for (int round = 0; round < rounds; ++round) {
        const auto start = Clock::now();
        std::vector<std::thread> threads;
        for (int number = 0; number < threadCount; ++number)
            threads.emplace_back([&, number] {
                Windows windows(dataset, static_cast<unsigned>(100 * round + number));
                std::mt19937 random(static_cast<unsigned>(number));
                for (int turn = 0; turn < windowsEach; ++turn)
                    windows.ReadNext(static_cast<unsigned>(random() % dataset.CountLevels()));
            });
        for (std::thread& thread : threads)
            thread.join();
        std::printf("%d windows of all levels, 8 threads: %.0f s, %.0f MB held\n", threadCount * windowsEach,
                    Milliseconds(start) / 1e3, MemoryHeld());
        std::fflush(stdout);
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: dataset_bench PAN MS [PATH OF Pansharp.process]\n");
        return 2;
    }
    GDALAllRegister();
    GDALSetCacheMax64(std::int64_t{256} << 20);
    const rasterhost::SharpenRequest request = Request(argv, argc);
    for (int turn = 0; turn < 3; ++turn) {
        auto start = Clock::now();
        const auto pair = Open(request, 1);
        const SharpenedDataset dataset = Serve(pair, request, "injection");
        const double all = Milliseconds(start);
        start = Clock::now();
        const GDALDatasetUniquePtr pan(GDALDataset::Open(argv[1])), ms(GDALDataset::Open(argv[2]));
        std::printf("opening: %.2f ms, of which GDAL takes %.2f\n", all, Milliseconds(start));
    }
    const auto pair = Open(request, std::thread::hardware_concurrency());
    for (const char* method : {"injection", "kova"}) {
        const SharpenedDataset dataset = Serve(pair, request, method);
        Verify(dataset);
        TimeWindows(dataset, method);
        TimeWhole(request, method, argv[1], argv[2]);
    }
    Soak(Serve(pair, request, "injection"));
    return 0;
}
