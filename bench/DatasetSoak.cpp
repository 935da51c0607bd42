// Eight threads read windows of all levels and many sizes from one pair, with three methods and both
// resamplings, for a given time. Every minute it prints how many windows it made and how much memory it
// holds. scripts/soak runs it with AddressSanitizer.
//
//     dataset_soak PAN MS SECONDS [PATH OF Pansharp.process]
//
// Parts of windows are compared with whole windows all the time.
#include "ServedScene.h"

#include <gdal_priv.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>

namespace {

using namespace bench;

/// Memory of this process, in megabytes.
double MemoryHeld() {
    std::ifstream file("/proc/self/statm");
    double pages = 0.0, held = 0.0;
    file >> pages >> held;
    return held * 4096.0 / 1e6;
}

long CountOpenFiles() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return std::distance(begin(files), end(files));
}

class Soak {
public:
    Soak(const rasterhost::SharpenRequest& request, int seconds)
        : end(Clock::now() + std::chrono::seconds(seconds)) {
        const auto pair = Open(request, std::thread::hardware_concurrency());
        for (const auto resampling : {hostkit::Resampling::Bilinear, hostkit::Resampling::Cubic})
            for (const char* method : {"injection", "kova", "brovey"}) {
                rasterhost::SharpenRequest one = request;
                one.resampling = resampling;
                datasets.emplace_back(new SharpenedDataset(Serve(pair, one, method))); // it cannot be moved
            }
    }

    void Run() {
        std::vector<std::thread> threads;
        for (unsigned number = 0; number < 8; ++number)
            threads.emplace_back([this, number] { Ask(number); });
        const auto start = Clock::now();
        while (Clock::now() < end) {
            std::this_thread::sleep_until(std::min(end, Clock::now() + std::chrono::minutes(1)));
            std::printf("%5.0f s: %ld windows, %ld compared, %.0f MB held, %ld files open\n",
                        std::chrono::duration<double>(Clock::now() - start).count(), windowCount.load(),
                        compareCount.load(), MemoryHeld(), CountOpenFiles());
            std::fflush(stdout);
        }
        for (std::thread& thread : threads)
            thread.join();
    }

private:
    void Ask(unsigned number) {
        std::mt19937 random(number);
        while (Clock::now() < end) {
            const SharpenedDataset& dataset = *datasets[random() % datasets.size()];
            Windows windows(dataset, static_cast<unsigned>(random()));
            const auto side = static_cast<std::uint32_t>(1 + random() % 512);
            windows.ReadNext(static_cast<unsigned>(random() % dataset.CountLevels()), side);
            ++windowCount;
            if (random() % 8 != 0) continue;
            const PixelRect all = windows.Next(0, side);
            ComparePart(dataset, all,
                        {all.col0 + all.GetColumns() / 3, all.row0 + all.GetRows() / 5, all.col1, all.row1});
            ++compareCount;
        }
    }

    const Clock::time_point end;
    std::vector<std::unique_ptr<SharpenedDataset>> datasets;
    std::atomic<long> windowCount = 0, compareCount = 0;
};

} // namespace

int main(int argc, char** argv) {
    const int seconds = argc > 3 ? std::atoi(argv[3]) : 0;
    if (seconds <= 0) {
        std::fprintf(stderr, "usage: dataset_soak PAN MS SECONDS [PATH OF Pansharp.process]\n");
        return 2;
    }
    GDALAllRegister();
    GDALSetCacheMax64(std::int64_t{64} << 20);
    Soak(Request(argv[1], argv[2], argc > 4 ? argv[4] : ""), seconds).Run();
    return 0;
}
