#pragma once

#include "hostkit/ImageSource.h"
#include "rasterhost/requests/HostStatus.h"

#include <string>
#include <vector>

namespace rasterhost {

/// A part of an image in pixels of 2^level x 2^level of its own; those of the last row and column may cover
/// fewer. A sample is the mean of the samples with data, in whole numbers, rounded half up. A pixel without
/// any has no data.
class ReducedImage final : public hostkit::ImageSource {
public:
    /// The highest level; level 0 is the part itself.
    static constexpr unsigned mostLevel = 16;

    ReducedImage(hostkit::ImageSource& image, const hostkit::PixelRect& part, unsigned reductionLevel);

    /// Reads from another reader of the same image from now on.
    void ReadFrom(hostkit::ImageSource& reader) { source = &reader; }

    [[nodiscard]] const RasterInfo& GetInfo() const override { return info; }
    [[nodiscard]] std::string GetName() const override { return source->GetName(); }
    [[nodiscard]] bool MayLackData() const override { return source->MayLackData(); }
    [[nodiscard]] bool Read(const hostkit::PixelRect& rect, unsigned char* out, Status& status) override;
    [[nodiscard]] bool ReadValid(const hostkit::PixelRect& rect, const unsigned char* samples,
                                 unsigned char* valid, Status& status) override;

private:
    [[nodiscard]] hostkit::PixelRect OnImage(const hostkit::PixelRect& rect) const;
    template <class T>
    bool Reduce(const hostkit::PixelRect& rect, T* out, Status& status);
    bool ReadStrip(const hostkit::PixelRect& rect, Status& status);

    hostkit::ImageSource* source;
    hostkit::PixelRect part;
    unsigned level;
    RasterInfo info;
    std::vector<unsigned char> strip; ///< samples of some rows of the image
    std::vector<unsigned char> stripValid;
    hostkit::PixelRect known; ///< the rectangle of `valid`
    std::vector<unsigned char> valid;
};

} // namespace rasterhost
