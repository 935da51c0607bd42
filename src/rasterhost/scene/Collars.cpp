#include "rasterhost/scene/Collars.h"

#include "fundament/Text.h"
#include "imagery/CollarSearch.h"
#include "rasterhost/reading/DataCheck.h"
#include "rasterhost/reading/ReadAhead.h"

namespace rasterhost {

using imagery::CollarFinding;
using imagery::DataSearch;
using KOVA::Tessara::Fundament::FormatString;

namespace {

CollarSearch FindCollar(InputImage& image, const Warn& warn, const std::function<bool()>& keepOn,
                        Status& status) {
    std::shared_ptr<const imagery::ZeroCollar> collar;
    const std::string name = image.GetName();
    switch (imagery::FindCollar(image, keepOn, collar, status)) {
    case CollarFinding::None:
        return CollarSearch::Done;
    case CollarFinding::Failed:
        return CollarSearch::Failed;
    case CollarFinding::Cancelled:
        return CollarSearch::Cancelled;
    case CollarFinding::TooLarge:
        warn(FormatString(
            "many pixels at the edge of %s are 0 in all bands, and it is too large to be searched for a "
            "collar; they are treated as data (--nodata 0 treats zeros as no data)",
            name.c_str()));
        return CollarSearch::Done;
    case CollarFinding::Ragged:
        warn(
            FormatString("many pixels at the edge of %s are 0 in all bands, but not in the shape of a collar "
                         "without data; they are treated as data (--nodata 0 treats zeros as no data)",
                         name.c_str()));
        return CollarSearch::Done;
    case CollarFinding::Everything:
        Fail(status, HostStatus::InputsDoNotFit,
             "every pixel of %s is 0 in all bands; is it the right file? --no-nodata treats zeros as data",
             name.c_str());
        return CollarSearch::Failed;
    case CollarFinding::Found:
        break;
    }
    warn(FormatString("%.3g %% of the pixels of %s are an undeclared collar of zeros along its edge; it is "
                      "treated as no data (--no-nodata treats it as data)",
                      imagery::PerCentOf(*collar), name.c_str()));
    image.SetCollar(std::move(collar));
    return CollarSearch::Done;
}

} // namespace

CollarSearch FindCollars(Scene& scene, const Warn& warn, const std::function<bool()>& keepOn,
                         Status& status) {
    if (scene.sampleOptions.isIgnored) return CollarSearch::Done;
    std::vector<InputImage*> images{scene.pan.get()};
    for (const PlacedImage& coarse : scene.images)
        images.push_back(coarse.image.get());
    ReadAhead ahead;
    for (std::size_t i = 0; i < images.size(); ++i)
        if (!images[i]->GetDescription()->DeclaresZerosOrMask())
            for (const hostkit::PixelRect& rect : imagery::EdgeOf(images[i]->GetInfo()))
                ahead.Ask(*images[i], rect, i);
    for (std::size_t i = 0; i < images.size(); ++i) {
        InputImage* image = images[i];
        ahead.Wait(i);
        const CollarSearch result = image->GetDescription()->DeclaresZerosOrMask()
                                        ? CollarSearch::Done
                                        : FindCollar(*image, warn, keepOn, status);
        if (result != CollarSearch::Done) return result;
        const DataSearch found = FindData(*image, keepOn, status);
        if (found == DataSearch::Cancelled) return CollarSearch::Cancelled;
        if (found != DataSearch::Found) return CollarSearch::Failed;
    }
    return CollarSearch::Done;
}

} // namespace rasterhost
