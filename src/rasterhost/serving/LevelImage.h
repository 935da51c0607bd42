#pragma once

#include "rasterhost/reading/InputImage.h"
#include "rasterhost/reading/ReducedImage.h"
#include "rasterhost/serving/ReducedStore.h"

#include <memory>
#include <optional>

namespace rasterhost {

/// An image of a pair as a level of the scene reads it: unchanged, or reduced by 2^level. Its description is
/// fixed; open files are lent before each read. Where the files have overviews, these are used instead of
/// reducing, and a store keeps the result.
class LevelImage final : public hostkit::ImageSource {
public:
    /// At level 0 all of the image, else a part of it. `keptIn` may be null; it must outlive this.
    LevelImage(std::shared_ptr<const ImageDescription> image, const hostkit::PixelRect& partOfIt,
               unsigned reductionLevel, ReducedStore* keptIn);
    LevelImage(const LevelImage&) = delete;
    LevelImage& operator=(const LevelImage&) = delete;

    /// Reads from another reader from now on: a reader of this image, or of one that begins with its bands.
    void ReadFrom(InputImage& reader);

    [[nodiscard]] const RasterInfo& GetInfo() const override { return info; }
    [[nodiscard]] std::string GetName() const override { return description->GetName(); }
    [[nodiscard]] bool MayLackData() const override { return description->MayLackData(); }
    [[nodiscard]] bool Read(const hostkit::PixelRect& rect, unsigned char* out, Status& status) override {
        return top->Read(rect, out, status);
    }
    [[nodiscard]] bool ReadValid(const hostkit::PixelRect& rect, const unsigned char* samples,
                                 unsigned char* valid, Status& status) override {
        return top->ReadValid(rect, samples, valid, status);
    }

private:
    [[nodiscard]] bool IsKept(unsigned own) const;
    [[nodiscard]] unsigned TargetOf(unsigned own) const;
    [[nodiscard]] hostkit::PixelRect PartOn(const RasterInfo& overview, unsigned own) const;
    [[nodiscard]] bool CanReadFrom(InputImage& lent, unsigned own) const;
    [[nodiscard]] unsigned CoarsestOverview(InputImage& lent) const;
    void ReduceFrom(InputImage& source, unsigned own);

    std::shared_ptr<const ImageDescription> description;
    hostkit::PixelRect part;
    unsigned level;
    ReducedStore* store; ///< null when this level is finer than what is stored
    RasterInfo info;
    std::unique_ptr<InputImage> selected; ///< the bands of the lent reader, if that has more
    unsigned overviewLevel = 0;           ///< the overview that is read; 0 for the image itself
    std::optional<ReducedImage> reduced;  ///< reduces the image or its overview, to this level or to that of
                                          ///< the store
    std::optional<StoredImage> stored;
    std::optional<ReducedImage> further; ///< reduces what is stored
    hostkit::ImageSource* top = nullptr; ///< the last of these stages
};

} // namespace rasterhost
