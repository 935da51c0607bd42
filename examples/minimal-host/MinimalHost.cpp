// The smallest host: loads the plug-in, fuses two small arrays and prints the rows.
//
//     minimal_host [PATH OF Pansharp.process]

#include "host/PropertyNames.h"
#include "hostkit/ArrayRaster.h"
#include "hostkit/WindowWorker.h"

#include <cstdio>
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

int Fail(const char* what, const Status& status) {
    std::fprintf(stderr, "%s\n%s\n", what, status.ToText().c_str());
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    // The sharp image: 8 x 8 pixels of one metre. The coarse one: 4 x 4 pixels of two metres, two bands.
    const RasterInfo panInfo = Describe(8, 8, 1, 1.0);
    const RasterInfo msInfo = Describe(4, 4, 2, 2.0);
    std::vector<unsigned char> pan;
    for (int row = 0; row < 8; ++row)
        for (int column = 0; column < 8; ++column)
            pan.push_back(static_cast<unsigned char>(100 + 10 * column + row));
    std::vector<unsigned char> ms;
    for (int pixel = 0; pixel < 16; ++pixel)
        ms.insert(ms.end(), {50, 150});

    // 1. Find and load the plug-in.
    Status status;
    const std::string path = hostkit::FindPlugin(argc > 1 ? argv[1] : "", status);
    const auto plugin = path.empty() ? nullptr : hostkit::PluginLibrary::Load(path, status);
    if (!plugin) return Fail("no plug-in", status);

    // 2. Make a worker: a process object with its workspace. Names and values of properties are texts.
    NameValueMap properties;
    properties[PropertyNames::method] = plugin->GetDescription().methods[0].keyword;
    properties[PropertyNames::multispectralImage] = hostkit::multispectralId;
    properties[PropertyNames::outputBands] = "2";
    hostkit::ArrayRaster panRaster(panInfo, Wrap(panInfo, pan).block); // outlives the worker
    hostkit::WindowWorker worker(*plugin, properties, panInfo, panRaster, status);
    worker.GetWorkspace().SetImage(hostkit::multispectralId, Wrap(msInfo, ms));

    // 3. Hand the process the pan raster, the workspace and the request record, and initialize it.
    if (!worker.Start(status)) return Fail("no process", status);

    // 4. Window by window: write the request record anew, set the window, read its rows.
    for (std::uint32_t first = 0; first < panInfo.rows; first += 4) {
        const PixelRect window{0, first, panInfo.cols, first + 4};
        if (!worker.OpenWindow(window, status)) return Fail("no window", status);
        for (std::uint32_t row = window.row0; row < window.row1; ++row) {
            const unsigned char* samples = worker.GetRow(row, status);
            if (!samples) return Fail("no row", status);
            std::printf("row %u:", row);
            for (std::uint32_t column = 0; column < panInfo.cols; ++column)
                std::printf(" %d %d%s", samples[2 * column], samples[2 * column + 1],
                            column + 1 < panInfo.cols ? " " : "\n");
        }
    }
    return 0;
}
