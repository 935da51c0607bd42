#include "rasterhost/reading/DataCheck.h"

#include "fundament/Numbers.h"

#include <gdal_priv.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace rasterhost {

using imagery::DataSearch;
using KOVA::Tessara::Fundament::NumberText;

namespace {

DataSearch SearchBand(const InputImage& image, std::size_t band, const std::function<bool()>& keepOn) {
    const auto single =
        image.WithBands(std::make_shared<const ImageDescription>(image.GetDescription()->WithBands({band})));
    return single ? imagery::SearchData(*single, keepOn) : DataSearch::Found;
}

/// The lowest and highest sample that a band can have.
std::pair<double, double> RangeOf(const SourceBand& source) {
    const GDALDataType type = source.type;
    if (type == GDT_Int16) return {-32768.0, 32767.0};
    return {0.0, type == GDT_Byte ? 255.0 : 65535.0};
}

} // namespace

DataSearch FindData(InputImage& image, const std::function<bool()>& keepOn, Status& status) {
    if (!image.MayLackData()) return DataSearch::Found;
    const DataSearch found = imagery::SearchData(image, keepOn);
    if (found != DataSearch::None) return found;
    constexpr const char* remedy = "; is it the right file? --no-nodata treats every sample as data";
    const std::vector<SourceBand>& bands = image.GetDescription()->bands;
    std::vector<const SourceBand*> empty;
    for (std::size_t number = 0; number < bands.size(); ++number) {
        const DataSearch ofBand = SearchBand(image, number, keepOn);
        if (ofBand == DataSearch::Cancelled) return ofBand;
        if (ofBand == DataSearch::None) empty.push_back(&bands[number]);
    }
    if (!empty.empty() && empty.size() < bands.size()) {
        Fail(status, HostStatus::InputsDoNotFit,
             "no pixel of band %d of '%s' has data, so no pixel of the result would have data; leave the "
             "band out, as in FILE,band=1%s",
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
