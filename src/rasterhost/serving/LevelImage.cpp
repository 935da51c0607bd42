#include "rasterhost/serving/LevelImage.h"

#include "hostkit/Coarsening.h"
#include "hostkit/RequestRecord.h"

#include <algorithm>
#include <utility>

namespace rasterhost {

using hostkit::PixelRect;

namespace {

/// True when the corners of a part lie on pixel edges of a level, or at the end of the image.
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
    ReduceFrom(own == 0 ? lent : *lent.FindOverview(own), own);
    top = &*reduced;
    if (!IsKept(own)) return;
    if (!stored) stored.emplace(*store, *reduced);
    top = &*stored;
    if (level == store->GetLevel()) return;
    if (!further) further.emplace(*stored, hostkit::WholeImage(store->GetInfo()), level - store->GetLevel());
    top = &*further;
}

/// True when what is read from the image at the level `own` is stored. An overview as coarse as the store
/// needs no storing.
bool LevelImage::IsKept(unsigned own) const { return store && own < store->GetLevel(); }

/// The level to which what is read from the image at the level `own` is reduced first.
unsigned LevelImage::TargetOf(unsigned own) const { return IsKept(own) ? store->GetLevel() : level; }

/// The part in pixels of the level `own`, as far as an overview has them: half a pixel may be missing at its
/// end.
PixelRect LevelImage::PartOn(const RasterInfo& overview, unsigned own) const {
    const PixelRect all = hostkit::CoarseRect(part, own);
    return {all.col0, all.row0, std::min(all.col1, overview.cols), std::min(all.row1, overview.rows)};
}

/// True when every pixel of the target level contains some pixels of the overview.
bool LevelImage::CanReadFrom(InputImage& lent, unsigned own) const {
    const InputImage* overview = IsOnLevel(part, description->info, own) ? lent.FindOverview(own) : nullptr;
    if (!overview) return false;
    const unsigned target = TargetOf(own);
    const RasterInfo whole = hostkit::CoarseInfo(description->info, part, target);
    const RasterInfo there =
        hostkit::CoarseInfo(overview->GetInfo(), PartOn(overview->GetInfo(), own), target - own);
    return there.cols == whole.cols && there.rows == whole.rows;
}

/// The level of the coarsest overview that is not coarser than this image; 0 without one.
unsigned LevelImage::CoarsestOverview(InputImage& lent) const {
    unsigned own = level;
    while (own > 0 && !CanReadFrom(lent, own))
        --own;
    return own;
}

void LevelImage::ReduceFrom(InputImage& source, unsigned own) {
    if (reduced && own == overviewLevel) return reduced->ReadFrom(source);
    overviewLevel = own;
    reduced.emplace(source, PartOn(source.GetInfo(), own), TargetOf(own) - own);
}

} // namespace rasterhost
