#include "rasterhost/scene/BandChoice.h"

#include "fundament/Text.h"
#include "rasterhost/requests/Operation.h"
#include "rasterhost/scene/BandGrids.h"

#include <algorithm>
#include <iterator>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;

namespace {

/// "1 blue, 2 (unnamed)", up to a limit.
std::string ListNames(const std::vector<std::string>& names) {
    constexpr std::size_t most = 16;
    std::string text;
    for (std::size_t band = 0; band < std::min(most, names.size()); ++band)
        text += FormatString("%s%zu %s", band == 0 ? "" : ", ", band + 1,
                             names[band].empty() ? "(unnamed)" : names[band].c_str());
    return text + (names.size() > most ? ", ..." : "");
}

/// The names of all multispectral bands, in the order of the request.
bool ReadNames(const PairRequest& request, std::vector<std::string>& names, Status& status) {
    SampleOptions options;
    options.scale = SampleScale{0.0, 1.0}; // so that any sample type is accepted: no sample is read
    options.isIgnored = true;
    for (const InputBand& input : request.multispectral) {
        const auto image = InputImage::Open({input}, "multispectral", options, status);
        if (!image) return false;
        for (const SourceBand& band : image->GetDescription()->bands)
            names.push_back(band.name);
    }
    return true;
}

bool ResolveNames(PairRequest& request, Status& status) {
    std::vector<std::string> names;
    if (!ReadNames(request, names, status)) return false;
    for (const std::string& wanted : request.bandNames) {
        const auto found = std::count(names.begin(), names.end(), wanted);
        if (found != 1)
            return Fail(status, HostStatus::RequestInvalid,
                        "%s multispectral band is known as '%s'; the bands are %s: name those to write by "
                        "number, as in --bands 3,2,1",
                        found == 0 ? "no" : "more than one", wanted.c_str(), ListNames(names).c_str());
        request.bands.push_back(
            static_cast<int>(std::find(names.begin(), names.end(), wanted) - names.begin()) + 1);
    }
    request.bandNames.clear();
    return true;
}

} // namespace

bool ResolveBands(PairRequest& request, Status& status) {
    double seconds = 0.0;
    return request.bandNames.empty() ||
           RunOperation([&] { return ResolveNames(request, status); }, seconds, status);
}

ShownBands FindShownBands(const Scene& scene) {
    ShownBands shown;
    if (scene.outputBands < 3) return shown;
    constexpr const char* colours[] = {"red", "green", "blue"};
    for (std::size_t colour = 0; colour < std::size(colours); ++colour) {
        std::size_t count = 0;
        for (std::size_t band = 0; band < scene.outputBands; ++band)
            if (scene.GetBand(band).name == colours[colour]) {
                shown.bands[colour] = band;
                ++count;
            }
        if (count != 1) return {{0, 1, 2}, true};
    }
    return shown;
}

} // namespace rasterhost
