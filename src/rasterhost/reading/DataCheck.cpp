#include "rasterhost/reading/DataCheck.h"

#include "fundament/Numbers.h"

#include <gdal_priv.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace rasterhost {

using hostkit::PixelRect;
using KOVA::Tessara::Fundament::NumberText;
using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

/// Reads the samples of a rectangle and which of its pixels have data.
using ReadBlock =
    std::function<bool(const PixelRect& rect, std::vector<unsigned char>& samples, unsigned char* valid)>;

/// Rows of blocks, that in the middle first.
std::vector<PixelRect> ChooseStrips(const RasterInfo& info) {
    constexpr std::size_t stripBytes = std::size_t{16} << 20;
    const std::size_t rowBytes = info.cols * hostkit::PixelBytes(info);
    const auto height = static_cast<std::uint32_t>(std::clamp<std::size_t>(stripBytes / rowBytes, 1, 256));
    std::vector<PixelRect> strips;
    for (std::uint32_t row = 0; row < info.rows; row += std::min(height, info.rows - row))
        strips.push_back({0, row, info.cols, row + std::min(height, info.rows - row)});
    std::swap(strips.front(), strips[strips.size() / 2]);
    return strips;
}

DataSearch Search(const RasterInfo& info, const ReadBlock& read, const std::function<bool()>& keepOn) {
    std::vector<unsigned char> samples, valid;
    for (const PixelRect& strip : ChooseStrips(info)) {
        if (keepOn && !keepOn()) return DataSearch::Cancelled;
        valid.resize(std::size_t{strip.GetColumns()} * strip.GetRows());
        samples.resize(valid.size() * hostkit::PixelBytes(info));
        if (!read(strip, samples, valid.data()) ||
            std::any_of(valid.begin(), valid.end(), [](unsigned char has) { return has != 0; }))
            return DataSearch::Found;
    }
    return DataSearch::None;
}

DataSearch Search(InputImage& image, const std::function<bool()>& keepOn) {
    return Search(
        image.GetInfo(),
        [&](const PixelRect& rect, std::vector<unsigned char>& samples, unsigned char* valid) {
            Status unread;
            return image.Read(rect, samples.data(), unread) &&
                   image.ReadValid(rect, samples.data(), valid, unread);
        },
        keepOn);
}

DataSearch SearchBand(const InputImage& image, std::size_t band, const std::function<bool()>& keepOn) {
    const auto single =
        image.WithBands(std::make_shared<const ImageDescription>(image.GetDescription()->WithBands({band})));
    return single ? Search(*single, keepOn) : DataSearch::Found;
}

/// The least and greatest sample that a band can have.
std::pair<double, double> RangeOf(const SourceBand& source) {
    const GDALDataType type = source.type;
    if (type == GDT_Int16) return {-32768.0, 32767.0};
    return {0.0, type == GDT_Byte ? 255.0 : 65535.0};
}

} // namespace

DataSearch FindData(InputImage& image, const std::function<bool()>& keepOn, Status& status) {
    if (!image.MayLackData()) return DataSearch::Found;
    const DataSearch found = Search(image, keepOn);
    if (found != DataSearch::None) return found;
    constexpr const char* remedy = "; is it the right file? --no-nodata takes every sample as data";
    const std::vector<SourceBand>& bands = image.GetDescription()->bands;
    std::vector<const SourceBand*> empty;
    for (std::size_t number = 0; number < bands.size(); ++number) {
        const DataSearch ofBand = SearchBand(image, number, keepOn);
        if (ofBand == DataSearch::Cancelled) return ofBand;
        if (ofBand == DataSearch::None) empty.push_back(&bands[number]);
    }
    if (!empty.empty() && empty.size() < bands.size()) {
        Fail(status, HostStatus::InputsDoNotFit,
             "no pixel of band %d of '%s' has data, so that no pixel of the result would; leave "
             "the band out, as in FILE,band=1%s",
             empty.front()->number, empty.front()->file.c_str(), remedy);
        return DataSearch::None;
    }
    Fail(status, HostStatus::InputsDoNotFit,
         empty.size() == bands.size() ? "no pixel of %s has data%s"
                                      : "no pixel of %s has data in all its bands%s",
         image.GetName().c_str(), remedy);
    return DataSearch::None;
}

bool CheckNoDataValue(double value, const std::vector<const InputImage*>& images, Status& status) {
    std::pair<double, double> all{0.0, 0.0};
    for (const InputImage* image : images)
        for (const SourceBand& source : image->GetDescription()->bands) {
            const auto [least, greatest] = RangeOf(source);
            if (image->GetDescription()->options.scale ||
                (value == std::floor(value) && value >= least && value <= greatest))
                return true;
            all = {std::min(all.first, least), std::max(all.second, greatest)};
        }
    return Fail(status, HostStatus::RequestInvalid,
                "the value %s cannot mean no data: the samples of the inputs are whole numbers "
                "from %.0f to %.0f; give one of them with --nodata",
                NumberText(value).c_str(), all.first, all.second);
}

} // namespace rasterhost
