// The cost of windows of a served scene, which is fused on demand: opening it, random windows of 256 x 256 at
// full size, and the whole scene in 400 pixels, compared with GDAL's own average of the inputs.
//
//     dataset_bench PAN MS [PATH OF Pansharp.process]
//
// First, windows are compared with the same pixels of larger windows.
#include "ServedScene.h"

#include <gdal_priv.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace bench;

constexpr std::uint32_t wholePixels = 400;

/// Processor time of this thread: on a shared machine, windows also wait for other programs.
double ProcessorMilliseconds() {
    timespec spent{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &spent);
    return static_cast<double>(spent.tv_sec) * 1e3 + static_cast<double>(spent.tv_nsec) / 1e6;
}

double Milliseconds(Clock::time_point since) {
    return std::chrono::duration<double, std::milli>(Clock::now() - since).count();
}

void Verify(const SharpenedDataset& dataset) {
    Windows windows(dataset, 5);
    for (int turn = 0; turn < 8; ++turn) {
        const PixelRect all = windows.Next(0);
        const PixelRect part{all.col0 + all.GetColumns() / 3, all.row0 + all.GetRows() / 5, all.col1,
                             all.row1};
        ComparePart(dataset, all, part);
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

/// GDAL's average of an input without overviews, at this size.
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

/// Times the whole of a dataset from which nothing has been read.
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

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: dataset_bench PAN MS [PATH OF Pansharp.process]\n");
        return 2;
    }
    GDALAllRegister();
    GDALSetCacheMax64(std::int64_t{256} << 20);
    const rasterhost::SharpenRequest request = Request(argv[1], argv[2], argc > 3 ? argv[3] : "");
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
    return 0;
}
