// The smallest host: loads the plug-in, fuses two small arrays and prints the rows.
//
//     minimal_host [PATH OF Pansharp.process]
//
// or files of plain 8-bit samples, bands interleaved by pixel, with these sizes and names:
//
//     minimal_host PATH PAN COLUMNS ROWS MULTISPECTRAL COLUMNS ROWS BANDS OUTPUT

#include "host/PropertyNames.h"
#include "hostkit/ArrayRaster.h"
#include "hostkit/WindowWorker.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

using hostkit::PixelRect;
using KOVA::Tessara::Fundament::Status;
using KOVA::Tessara::Global::NameValueMap;
using KOVA::Tessara::Pixmere::RasterInfo;
namespace PropertyNames = KOVA::Tessara::PropertyNames;

namespace {

/// An 8-bit image whose upper left corner is the origin of the map.
RasterInfo Describe(std::uint32_t columns, std::uint32_t rows, std::uint32_t bands, double pixelSize) {
    RasterInfo info;
    info.cols = columns;
    info.rows = rows;
    info.bandsPerPixel = bands;
    info.bitsPerBand = 8;
    info.pixelSizeX = info.pixelSizeY = pixelSize;
    info.xMax = columns * pixelSize;
    info.yMin = -(rows * pixelSize);
    return info;
}

hostkit::SourceImage Wrap(const RasterInfo& info, const std::vector<unsigned char>& samples) {
    return {info, {samples.data(), info.cols * hostkit::PixelBytes(info), hostkit::WholeImage(info)}};
}

struct Pair {
    RasterInfo panInfo, msInfo;
    std::vector<unsigned char> pan, ms;
};

/// The sharp image: 8 x 8 pixels of one metre. The coarse one: 4 x 4 pixels of two metres, two bands.
Pair MakePair() {
    Pair pair{Describe(8, 8, 1, 1.0), Describe(4, 4, 2, 2.0), {}, {}};
    for (int row = 0; row < 8; ++row)
        for (int column = 0; column < 8; ++column)
            pair.pan.push_back(static_cast<unsigned char>(100 + 10 * column + row));
    for (int pixel = 0; pixel < 16; ++pixel)
        pair.ms.insert(pair.ms.end(), {50, 150});
    return pair;
}

/// The pair from files, by the arguments from PAN on. Samples missing at the end of a file are 0.
Pair ReadPair(char** words) {
    const auto number = [&](int at) {
        return static_cast<std::uint32_t>(std::strtoul(words[at], nullptr, 10));
    };
    const auto read = [&](int at, std::size_t size) {
        std::ifstream file(words[at], std::ios::binary);
        std::vector<unsigned char> samples{std::istreambuf_iterator<char>(file), {}};
        samples.resize(size);
        return samples;
    };
    const double pixelSize = static_cast<double>(number(1)) / number(4); // of pan's pixels
    return {Describe(number(1), number(2), 1, 1.0), Describe(number(4), number(5), number(6), pixelSize),
            read(0, std::size_t{number(1)} * number(2)),
            read(3, std::size_t{number(4)} * number(5) * number(6))};
}

void PrintRow(std::uint32_t row, const unsigned char* samples, std::uint32_t columns) {
    std::printf("row %u:", row);
    for (std::uint32_t column = 0; column < columns; ++column)
        std::printf(" %d %d%s", samples[2 * column], samples[2 * column + 1],
                    column + 1 < columns ? " " : "\n");
}

int Fail(const char* what, const Status& status) {
    std::fprintf(stderr, "%s\n%s\n", what, status.ToText().c_str());
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    bool isUnderstood = argc <= 2 || argc == 10;
    for (const int size : {3, 4, 6, 7, 8}) // the numbers
        if (argc == 10 && std::strtoul(argv[size], nullptr, 10) == 0) isUnderstood = false;
    if (!isUnderstood) {
        std::fprintf(stderr, "minimal_host [PLUGIN]\n"
                             "minimal_host PLUGIN PAN COLUMNS ROWS MULTISPECTRAL COLUMNS ROWS BANDS OUTPUT\n"
                             "Sizes are 1 or more.\n");
        return 2;
    }
    const Pair pair = argc > 9 ? ReadPair(argv + 2) : MakePair();
    const RasterInfo &panInfo = pair.panInfo, &msInfo = pair.msInfo;
    std::ofstream output;
    if (argc > 9) output.open(argv[9], std::ios::binary);

    // 1. Find and load the plug-in.
    Status status;
    const std::string path = hostkit::FindPlugin(argc > 1 ? argv[1] : "", status);
    const auto plugin = path.empty() ? nullptr : hostkit::PluginLibrary::Load(path, status);
    if (!plugin) return Fail("no plug-in", status);

    // 2. Make a worker: a process object with its workspace. Names and values of properties are texts.
    NameValueMap properties;
    properties[PropertyNames::method] = plugin->GetDescription().methods[0].keyword;
    properties[PropertyNames::multispectralImage] = hostkit::multispectralId;
    properties[PropertyNames::outputBands] = std::to_string(msInfo.bandsPerPixel);
    hostkit::ArrayRaster panRaster(panInfo, Wrap(panInfo, pair.pan).block); // outlives the worker
    hostkit::WindowWorker worker(*plugin, properties, panInfo, panRaster, status);
    worker.GetWorkspace().SetImage(hostkit::multispectralId, Wrap(msInfo, pair.ms));

    // 3. Hand the process the pan raster, the workspace and the request record, and initialize it.
    if (!worker.Start(status)) return Fail("no process", status);

    // 4. Window by window: write a new request record, set the window, read its rows.
    for (std::uint32_t first = 0; first < panInfo.rows; first += 4) {
        const PixelRect window{0, first, panInfo.cols, std::min(first + 4, panInfo.rows)};
        if (!worker.OpenWindow(window, status)) return Fail("no window", status);
        for (std::uint32_t row = window.row0; row < window.row1; ++row) {
            const unsigned char* samples = worker.GetRow(row, status);
            if (!samples) return Fail("no row", status);
            if (argc > 9)
                output.write(reinterpret_cast<const char*>(samples), panInfo.cols * msInfo.bandsPerPixel);
            else
                PrintRow(row, samples, panInfo.cols);
        }
    }
    if (argc > 9 && !output.flush()) return Fail("the output cannot be written", status);
    return 0;
}
