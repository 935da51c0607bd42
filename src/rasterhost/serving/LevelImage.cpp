#include "rasterhost/serving/LevelImage.h"

#include "hostkit/Coarsening.h"
#include "hostkit/RequestRecord.h"

#include <algorithm>
#include <utility>

namespace rasterhost {

using hostkit::PixelRect;

namespace {

/// True when the corners of a part, or the image's end, lie between pixels of a level.
bool IsOnLevel(const PixelRect& part, const hostkit::ImageSource::RasterInfo& image, unsigned level) {
    const std::uint32_t rest = (1u << level) - 1;
    return ((part.col0 | part.row0) & rest) == 0 && ((part.col1 & rest) == 0 || part.col1 == image.cols) &&
           ((part.row1 & rest) == 0 || part.row1 == image.rows);
}

} // namespace

LevelImage::LevelImage(std::shared_ptr<const ImageDescription> image, const PixelRect& partOfIt,
                       unsigned reductionLevel, ReducedStore* keptIn)
    : description(std::move(image)), part(partOfIt), level(reductionLevel), store(keptIn),
      info(level == 0 ? description->info : hostkit::CoarseInfo(description->info, part, level)) {
    if (store && level < store->GetLevel()) store = nullptr;
}

void LevelImage::ReadFrom(InputImage& reader) {
    selected.reset();
    if (reader.GetDescription()->bands.size() != description->bands.size())
        selected = reader.WithBands(description);
    InputImage& lent = selected ? *selected : reader;
    top = &lent;
    if (level == 0) return;
    ReduceFrom(lent);
    top = &*reduced;
    if (!store) return;
    if (!stored) stored.emplace(*store, *reduced);
    top = &*stored;
    if (level == store->GetLevel()) return;
    if (!further) further.emplace(*stored, hostkit::WholeImage(store->GetInfo()), level - store->GetLevel());
    top = &*further;
}

/// To the level, or to that of the store; from the coarsest overview that is no coarser.
void LevelImage::ReduceFrom(InputImage& lent) {
    const unsigned target = store ? store->GetLevel() : level;
    hostkit::ImageSource* source = &lent;
    unsigned own = target;
    for (; own > 0; --own)
        if (InputImage* overview =
                IsOnLevel(part, description->info, own) ? lent.FindOverview(own) : nullptr) {
            source = overview;
            break;
        }
    if (reduced && own == overviewLevel) return reduced->ReadFrom(*source);
    overviewLevel = own;
    const PixelRect onOverview{part.col0 >> own, part.row0 >> own, ((part.col1 - 1) >> own) + 1,
                               ((part.row1 - 1) >> own) + 1};
    reduced.emplace(*source, onOverview, target - own);
}

} // namespace rasterhost
