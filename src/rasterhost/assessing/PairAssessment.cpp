#include "rasterhost/assessing/PairAssessment.h"

#include "rasterhost/assessing/CompareRows.h"
#include "rasterhost/assessing/InParts.h"
#include "rasterhost/requests/CacheLimit.h"

namespace rasterhost {

bool AssessPair(const Scene& scene, const InputImage& fused, const SensorBlur& blur, double ratio,
                const Warn& warn, std::vector<PairIndices>& found, Status& status) {
    const PlacedImage& multispectral = scene.GetMultispectral();
    const std::initializer_list<const InputImage*> inputs = {&fused, scene.pan.get(),
                                                             multispectral.image.get()};
    const int threads = StripThreads(inputs, warn);
    const CacheLimit cache(StripCache(inputs, threads));
    imagery::PairComparison comparison(
        {scene.pan->GetInfo(), multispectral.GetInfo(), *multispectral.placement, blur, ratio});
    const auto open = [&](Status& reasons) {
        imagery::PairImages images;
        images.fused = InputImage::Open(fused.GetDescription(), reasons);
        if (images.fused) images.pan = InputImage::Open(scene.pan->GetDescription(), reasons);
        if (images.pan)
            images.multispectral = InputImage::Open(multispectral.image->GetDescription(), reasons);
        return images;
    };
    const auto inParts = [threads](std::size_t parts, const auto& openOne, const auto& make, const auto& take,
                                   Status& reasons) {
        return InParts(threads, parts, openOne, make, take, reasons);
    };
    if (!comparison.Run(open, inParts, status)) return false;
    found = comparison.Find();
    return !found.empty() || Fail(status, HostStatus::InputsDoNotFit,
                                  "no multispectral pixel has data around it in all images; there is "
                                  "nothing to assess");
}

} // namespace rasterhost
