#pragma once

#include "hostkit/ImageSource.h"
#include "rasterhost/requests/HostStatus.h"

#include <string>
#include <vector>

namespace rasterhost {

/// A part of an image in pixels of 2^level x 2^level of its own, those of the last row and column perhaps of
/// fewer. A sample is the mean of those that have data, in whole numbers rounded half up; where none has, the
/// pixel has none.
class ReducedImage final : public hostkit::ImageSource {
public:
    /// Levels go from 0, which is the part as it is, to this one.
    static constexpr unsigned mostLevel = 16;

    ReducedImage(hostkit::ImageSource& image, const hostkit::PixelRect& part, unsigned reductionLevel);

    /// Reads from this one from now on: another reader of the same image.
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
    hostkit::PixelRect known; ///< that `valid` is of
    std::vector<unsigned char> valid;
};

} // namespace rasterhost
