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
    const unsigned own = CoarsestOverview(lent);
    const bool isKept = store && own < store->GetLevel(); // a coarser overview is as good
    ReduceFrom(own == 0 ? lent : *lent.FindOverview(own), own, isKept ? store->GetLevel() : level);
    top = &*reduced;
    if (!isKept) return;
    if (!stored) stored.emplace(*store, *reduced);
    top = &*stored;
    if (level == store->GetLevel()) return;
    if (!further) further.emplace(*stored, hostkit::WholeImage(store->GetInfo()), level - store->GetLevel());
    top = &*further;
}

/// The level of the coarsest overview that is no coarser than this image; 0 for none.
unsigned LevelImage::CoarsestOverview(InputImage& lent) const {
    unsigned own = level;
    while (own > 0 && !(IsOnLevel(part, description->info, own) && lent.FindOverview(own)))
        --own;
    return own;
}

/// To the level `target`, from the image at the level `own`.
void LevelImage::ReduceFrom(InputImage& source, unsigned own, unsigned target) {
    if (reduced && own == overviewLevel) return reduced->ReadFrom(source);
    overviewLevel = own;
    const PixelRect onOverview{part.col0 >> own, part.row0 >> own, ((part.col1 - 1) >> own) + 1,
                               ((part.row1 - 1) >> own) + 1};
    reduced.emplace(source, onOverview, target - own);
}

} // namespace rasterhost
