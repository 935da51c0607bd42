#include "rasterhost/serving/SharpenedDataset.h"

#include "SceneFiles.h"

#include <array>
#include <atomic>
#include <cmath>
#include <filesystem>
#include <functional>
#include <memory>
#include <numeric>
#include <random>
#include <thread>

namespace {

using namespace testfiles;
using hostkit::PixelRect;
using rasterhost::OpenPair;
using rasterhost::SharpenedDataset;
using rasterhost::SharpenRequest;
using rasterhost::Status;

constexpr std::uint32_t panColumns = 157, panRows = 211;

unsigned Hash(int column, int row, int band) {
    const auto h = static_cast<unsigned>(column * 7919 + row * 104729 + band * 1299709) * 2654435761u;
    return (h >> 13) & 0xFFu;
}

/// A pair at ratio 4, whose corner lies 4 pan pixels to the left of and above pan's, and an infrared band.
SharpenRequest WritePair(const Folder& folder, GDALDataType type, const Transform& place) {
    const unsigned step = type == GDT_Byte ? 1 : 250;
    SharpenRequest request;
    request.pan.file = folder.Write("pan.tif", {panColumns, panRows, 1, type, Grid(10.0), "EPSG:32630"},
                                    [&](int c, int r, int b) { return step * Hash(c, r, b); });
    const auto coarse = [&](const char* name, int bands) {
        return folder.Write(name, {42, 55, bands, type, place, "EPSG:32630"},
                            [&](int c, int r, int b) { return step * Hash(c / 3, r / 3, bands + b); });
    };
    request.multispectral = {{coarse("ms.tif", 4), {}}};
    coarse("infrared.tif", 1);
    request.output = folder / "fused.tif";
    request.overwrite = true;
    request.plugin = PANSHARP_PLUGIN_FILE;
    return request;
}

std::shared_ptr<const OpenPair> Open(const SharpenRequest& request) {
    rasterhost::PreparedPair pair;
    Status status;
    if (Prepare(
            request, request, [](const std::string&) {}, pair, status) != rasterhost::Preparation::Done)
        throw std::runtime_error(status.ToText());
    return std::make_shared<const OpenPair>(std::move(pair), 3);
}

/// Fuses the pair like a run.
SharpenedDataset Serve(const std::shared_ptr<const OpenPair>& pair, const SharpenRequest& request,
                       const Outcome& run) {
    rasterhost::Fusion fusion;
    Status status;
    if (!MakeFusion(request, pair->GetScene(), pair->GetPlugin().GetDescription(),
                    {{}, run.report.fit, run.report.detail}, fusion, status))
        throw std::runtime_error(status.ToText());
    return {pair, fusion};
}

/// A window resampled to some size, interleaved by pixel, with the mask as a last band.
std::vector<unsigned> ReadWindow(const SharpenedDataset& dataset, const PixelRect& window,
                                 std::uint32_t columns, std::uint32_t rows) {
    const std::size_t pixels = std::size_t{columns} * rows, bands = dataset.GetBands();
    std::vector<std::uint32_t> all(bands);
    std::iota(all.begin(), all.end(), 0u);
    std::vector<unsigned short> samples(pixels * bands);
    std::vector<unsigned char> mask(pixels), alone(pixels, 7);
    const auto bytes = static_cast<std::ptrdiff_t>(dataset.GetBits() / 8);
    const auto pixel = bytes * static_cast<std::ptrdiff_t>(bands);
    Status status;
    if (!dataset.Read(window, columns, rows, all,
                      {reinterpret_cast<unsigned char*>(samples.data()), pixel,
                       pixel * static_cast<std::ptrdiff_t>(columns), bytes, mask.data()},
                      status) ||
        !dataset.Read(window, columns, rows, {}, {nullptr, 0, 0, 0, alone.data()}, status) || alone != mask)
        throw std::runtime_error("not the mask alone " + status.ToText());
    std::vector<unsigned> read;
    for (std::size_t i = 0; i < pixels * bands; ++i) {
        read.push_back(bytes == 1 ? reinterpret_cast<unsigned char*>(samples.data())[i] : samples[i]);
        if (i % bands == bands - 1) read.push_back(mask[i / bands]);
    }
    return read;
}

struct Variant {
    const char* name;
    GDALDataType type;
    Transform place;
    std::vector<const char*> methods;
    std::function<void(const Folder&, SharpenRequest&)> change;
};

const Transform besidePan = Grid(40.0, 499960.0, 4000040.0);
const std::vector<Variant> variants = {
    {"alpha, a part",
     GDT_Byte,
     besidePan,
     {"kova", "brovey", "ihs", "injection"},
     [](const Folder&, SharpenRequest& request) {
         request.alpha = true;
         request.part = {{500203.0, 3999500.0, 501111.0, 3998700.0}};
     }},
    {"no data, bands in another order",
     GDT_UInt16,
     besidePan,
     {"injection", "kova"},
     [](const Folder&, SharpenRequest& request) {
         request.noData = 0.0;
         request.bands = {3, 1};
     }},
    {"an infrared band and a shift",
     GDT_UInt16,
     besidePan,
     {"ihs", "kova"},
     [](const Folder& folder, SharpenRequest& request) {
         request.infrared = {{folder / "infrared.tif", {}}};
         request.shift = {0.25, -1.5};
         request.alpha = true;
     }},
    {"a turned image, cut short",
     GDT_Byte,
     std::array{500773.0, 32.0, -24.0, 4000329.0, -24.0, -32.0},
     {"injection", "brovey"},
     [](const Folder&, SharpenRequest& request) { request.alpha = true; }}};

// Every window of every pair and method, read by eight threads from one dataset after another, equals that of
// the written file; the pair is opened once for all methods.
TEST(SharpenedDataset, WindowsAreThoseOfTheWrittenFile) {
    for (const Variant& variant : variants) {
        const Folder folder;
        SharpenRequest request = WritePair(folder, variant.type, variant.place);
        variant.change(folder, request);
        const auto pair = Open(request);
        for (const char* method : variant.methods) {
            request.method = method;
            const Outcome run = RunWell(request);
            const auto whole = ReadAll(request.output);
            const SharpenedDataset dataset = Serve(pair, request, run);
            const std::uint32_t columns = run.report.columns, rows = run.report.rows;
            const std::size_t bands = dataset.GetBands();
            ASSERT_EQ(whole.size(), columns * rows * bands) << variant.name << ", " << method;
            std::atomic<int> wrong = 0;
            std::vector<std::thread> threads;
            for (unsigned number = 0; number < 8; ++number)
                threads.emplace_back([&, number] {
                    std::mt19937 random(number);
                    const auto below = [&](std::uint32_t end) {
                        return static_cast<std::uint32_t>(random() % end);
                    };
                    for (int turn = 0; turn < 4; ++turn) {
                        const std::uint32_t c = below(columns), r = below(rows);
                        const PixelRect window{c, r, c + 1 + below(columns - c), r + 1 + below(rows - r)};
                        const auto read = ReadWindow(dataset, window, window.GetColumns(), window.GetRows());
                        auto at = read.begin();
                        for (std::uint32_t row = window.row0; row < window.row1; ++row)
                            for (std::uint32_t column = window.col0; column < window.col1; ++column) {
                                const unsigned* pixel = whole.data() + (row * columns + column) * bands;
                                wrong += !std::equal(pixel, pixel + bands, at);
                                at += static_cast<std::ptrdiff_t>(bands);
                                if (request.alpha) wrong += (pixel[bands - 1] != 0) != (*at == 0xFF);
                                ++at;
                            }
                    }
                });
            for (std::thread& thread : threads)
                thread.join();
            EXPECT_EQ(wrong, 0) << variant.name << ", " << method;
        }
    }
}

/// A part of a file in pixels of 2^level x 2^level of its own: the mean of those with data.
rasterhost::InputBand Reduce(const Folder& folder, const rasterhost::InputBand& input, PixelRect part,
                             unsigned level, std::optional<double> noData) {
    GDALDatasetUniquePtr file(GDALDataset::Open(input.file.c_str()));
    const int size = 1 << level, bands = file->GetRasterCount();
    const auto all = ReadAll(input.file);
    const auto width = static_cast<std::uint32_t>(file->GetRasterXSize());
    if (part.IsEmpty()) part = {0, 0, width, static_cast<std::uint32_t>(file->GetRasterYSize())};
    std::array<double, 6> place{};
    file->GetGeoTransform(place.data());
    place[0] += part.col0 * place[1] + part.row0 * place[2];
    place[3] += part.col0 * place[4] + part.row0 * place[5];
    for (const std::size_t step : {1u, 2u, 4u, 5u})
        place[step] *= size;
    const auto count = [&](std::uint32_t pixels) { return static_cast<int>((pixels - 1) >> level) + 1; };
    return {
        folder.Write(
            "reduced-" + std::filesystem::path(input.file).filename().string(),
            {count(part.GetColumns()), count(part.GetRows()), bands,
             file->GetRasterBand(1)->GetRasterDataType(), place, "EPSG:32630"},
            [&](int column, int row, int band) {
                double sum = 0.0, valid = 0.0;
                for (std::uint32_t r = part.row0 + static_cast<std::uint32_t>(row * size);
                     r < std::min(part.row0 + static_cast<std::uint32_t>((row + 1) * size), part.row1); ++r)
                    for (std::uint32_t c = part.col0 + static_cast<std::uint32_t>(column * size);
                         c < std::min(part.col0 + static_cast<std::uint32_t>((column + 1) * size), part.col1);
                         ++c) {
                        const unsigned* pixel =
                            all.data() + (r * width + c) * static_cast<std::size_t>(bands);
                        if (noData && std::count(pixel, pixel + bands, *noData) > 0) continue;
                        sum += pixel[band];
                        ++valid;
                    }
                return valid > 0.0 ? std::floor(sum / valid + 0.5) : noData.value_or(0.0);
            }),
        {}};
}

// A level equals a run on inputs that were reduced first: pan by the level, the others (of ratio 4) by two
// levels less. From there on, a method that compares pan with its low-pass adds nothing.
TEST(SharpenedDataset, LevelsAreFusedOfReducedInputs) {
    for (const Variant& variant : variants) {
        const Folder folder;
        SharpenRequest request = WritePair(folder, variant.type, variant.place);
        variant.change(folder, request);
        const auto pair = Open(request);
        const PixelRect part = pair->GetScene().part;
        for (const char* method : variant.methods) {
            request.method = method;
            const Outcome run = RunWell(request);
            const SharpenedDataset dataset = Serve(pair, request, run);
            for (const unsigned level : {1u, 2u, 3u}) {
                const unsigned own = level < 2 ? 0 : level - 2;
                SharpenRequest reduced = request;
                reduced.part.reset();
                reduced.output = folder / "level.tif";
                reduced.pan = Reduce(folder, request.pan, part, level, request.noData);
                reduced.multispectral = {
                    Reduce(folder, request.multispectral.front(), {}, own, request.noData)};
                if (request.infrared) reduced.infrared = Reduce(folder, *request.infrared, {}, own, {});
                reduced.shift = {request.shift.x / (1 << own), request.shift.y / (1 << own)};
                reduced.weights = run.report.effectiveWeights;
                reduced.infraredWeight = run.report.infraredWeight;
                if (const auto& detail = run.report.detail) {
                    reduced.transfer = detail->transfer;
                    reduced.gains.assign(4, {});
                    if (level < 2) reduced.gains = detail->gains;
                    const auto& properties = dataset.GetFusion().settings.properties;
                    reduced.properties = {{"InjectionFloor", *properties.Find("InjectionFloor")}};
                }
                const Outcome expected = RunWell(reduced);
                const auto whole = ReadAll(reduced.output);
                const auto read = ReadWindow(dataset, {0, 0, dataset.GetColumns(), dataset.GetRows()},
                                             expected.report.columns, expected.report.rows);
                const std::size_t bands = dataset.GetBands();
                std::size_t wrong = 0;
                for (std::size_t i = 0; i < whole.size(); ++i)
                    wrong += whole[i] != read[i / bands * (bands + 1) + i % bands];
                EXPECT_EQ(wrong, 0u) << variant.name << ", " << method << ", level " << level;
            }
        }
    }
}

// A size between levels is made from the next finer level, here 2: by area, from pixels with data.
TEST(SharpenedDataset, OtherSizesAreMeansOfAFinerLevel) {
    const Folder folder;
    SharpenRequest request = WritePair(folder, GDT_Byte, besidePan);
    request.noData = 0.0;
    request.alpha = true;
    const auto dataset = Serve(Open(request), request, RunWell(request));
    const PixelRect all{0, 0, panColumns, panRows};
    const auto fine = ReadWindow(dataset, all, 40, 53), read = ReadWindow(dataset, all, 37, 50);
    const std::size_t bands = dataset.GetBands() + 1;
    const auto shared = [](double size, int pixel, int finer) {
        return std::max(0.0, std::min((pixel + 1) * size, finer + 1.0) - std::max(pixel * size, 1.0 * finer));
    };
    for (int i = 0; i < 37 * 50; ++i)
        for (std::size_t band = 0; band + 2 < bands; ++band) {
            double sum = 0.0, area = 0.0;
            for (int at = 0; at < 40 * 53; ++at) {
                const unsigned* pixel = fine.data() + static_cast<std::size_t>(at) * bands;
                const double share = shared(panColumns / 4.0 / 37, i % 37, at % 40) *
                                     shared(panRows / 4.0 / 50, i / 37, at / 40);
                if (pixel[bands - 1] == 0 || share < 1e-9) continue;
                sum += share * pixel[band];
                area += share;
            }
            const unsigned* pixel = read.data() + static_cast<std::size_t>(i) * bands;
            EXPECT_EQ(pixel[bands - 1], area > 0.0 ? 255u : 0u);
            EXPECT_NEAR(pixel[band], area > 0.0 ? sum / area : 0.0, 0.5 + 1e-9) << i << " band " << band;
        }
}

// Overviews of an input replace its reduced pixels, even if they lack a last half pixel that is not needed;
// but not with a collar, which they do not show.
TEST(SharpenedDataset, OverviewsAreUsed) {
    struct Case {
        int rows; // of an overview of 55 rows
        bool hasCollar;
        std::uint32_t columns, outRows; // of the level, whose bands are reduced by 2 or 4
        bool isUsed;
    };
    for (const auto& [rows, hasCollar, columns, outRows, isUsed] :
         {Case{28, false, 20, 27, true}, Case{28, true, 20, 27, false}, Case{27, false, 20, 27, false},
          Case{27, false, 10, 14, true}}) {
        const Folder folder;
        SharpenRequest request = WritePair(folder, GDT_Byte, besidePan);
        std::string& file = request.multispectral.front().file;
        folder.Write("overview.tif", {21, rows, 4, GDT_Byte, {}, {}}, [](int, int, int) { return 77; });
        {
            GDALDatasetUniquePtr ms(GDALDataset::Open(file.c_str(), GDAL_OF_UPDATE));
            std::vector<unsigned char> zeros(4 * 55 * 4, 0);
            ASSERT_EQ(ms->RasterIO(hasCollar ? GF_Write : GF_Read, 0, 0, 4, 55, zeros.data(), 4, 55, GDT_Byte,
                                   4, nullptr, 0, 0, 0, nullptr),
                      CE_None);
            file = folder / "ms.vrt";
            GDALDatasetUniquePtr(GetGDALDriverManager()->GetDriverByName("VRT")->CreateCopy(
                file.c_str(), ms.get(), FALSE, nullptr, nullptr, nullptr));
        }
        std::string text = ReadText(file);
        for (std::size_t band = 1, at = 0; (at = text.find("</VRTRasterBand>", at)) != std::string::npos;
             ++band) {
            const std::string overview =
                "<Overview><SourceFilename relativeToVRT=\"1\">overview.tif</SourceFilename><SourceBand>" +
                std::to_string(band) + "</SourceBand></Overview>";
            text.insert(at, overview);
            at += overview.size() + 1;
        }
        std::ofstream(file) << text;
        const auto dataset = Serve(Open(request), request, RunWell(request));
        const auto read = ReadWindow(dataset, {0, 0, panColumns, panRows}, columns, outRows);
        EXPECT_EQ(std::count(read.begin(), read.end(), 77u) == std::ptrdiff_t{4} * columns * outRows, isUsed)
            << rows << ", " << columns;
    }
}

} // namespace
