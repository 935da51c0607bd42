#pragma once

#include "capi/StridedSamples.h"
#include "hostkit/ImageSource.h"
#include "imagery/ZeroCollar.h"

#include <memory>
#include <optional>
#include <vector>

namespace capi {

/// Which pixels of an image have no data, by its mask, its value for no data and its collar.
struct Gaps {
    const unsigned char* valid = nullptr;              ///< a byte per pixel, 0 without data; null without a
                                                       ///< mask
    Layout layout;                                     ///< of the mask
    std::optional<std::uint32_t> noData;               ///< a sample that means no data in any band
    bool isWhole = false;                              ///< look for its collar, and refuse it without any
                                                       ///< data
    std::shared_ptr<const imagery::ZeroCollar> collar; ///< null until it is found

    [[nodiscard]] bool MayLackData() const { return valid || noData || collar; }
};

/// An image to read, checked. Its description counts pan pixels from pan's upper left corner.
struct InputImage {
    const char* name = "";
    const unsigned char* samples = nullptr;
    Layout layout;
    KOVA::Tessara::Pixmere::RasterInfo info;
    Gaps gaps;
};

/// Memory that ReadBlock uses for a block.
struct BlockBuffers {
    std::vector<unsigned short> samples;
    std::vector<unsigned char> valid;
};

/// Samples of a rectangle with their mask. Packed samples are not copied; others are copied into `buffers`,
/// which must outlive the block.
[[nodiscard]] hostkit::SampleBlock ReadBlock(const InputImage& image, const hostkit::PixelRect& rect,
                                             BlockBuffers& buffers);

/// An image as a source of packed samples. The image must outlive it.
class ArraySource final : public hostkit::ImageSource {
public:
    explicit ArraySource(const InputImage& ofImage) : image(ofImage) {}

    [[nodiscard]] const RasterInfo& GetInfo() const override { return image.info; }
    [[nodiscard]] std::string GetName() const override { return image.name; }
    [[nodiscard]] bool MayLackData() const override { return image.gaps.MayLackData(); }
    [[nodiscard]] bool Read(const hostkit::PixelRect& rect, unsigned char* out, Status& status) override;
    [[nodiscard]] bool ReadValid(const hostkit::PixelRect& rect, const unsigned char* samples,
                                 unsigned char* valid, Status& status) override;

private:
    const InputImage& image;
    BlockBuffers buffers;
};

} // namespace capi
