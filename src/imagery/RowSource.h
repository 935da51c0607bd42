#pragma once

#include "fundament/Status.h"
#include "hostkit/ImageSource.h"
#include "hostkit/Placement.h"

#include <algorithm>
#include <memory>
#include <span>
#include <vector>

namespace imagery {

/// Where failures are recorded.
using Status = KOVA::Tessara::Fundament::Status;

/// Some rows of an image.
struct SampleRows {
    std::vector<unsigned short> samples; ///< interleaved by pixel
    std::vector<unsigned char> valid;    ///< a byte per pixel, 0 without data

    /// Samples of pixels without data are undefined.
    void Resize(std::size_t pixels, std::size_t bands) {
        samples.resize(pixels * bands);
        valid.assign(pixels, 0);
    }
};

/// An image that is read or computed row by row, usually from the top.
class RowSource {
public:
    virtual ~RowSource() = default;

    [[nodiscard]] virtual std::uint32_t GetColumns() const = 0;
    [[nodiscard]] virtual std::uint32_t GetRows() const = 0;
    [[nodiscard]] virtual std::size_t GetBands() const = 0;
    /// Reads rows `first` to `end` - 1. False with an item.
    [[nodiscard]] virtual bool Read(std::uint32_t first, std::uint32_t end, SampleRows& rows,
                                    Status& status) = 0;
};

/// A part of an open image. The image must outlive this unless ownership is passed.
class ImageRows final : public RowSource {
public:
    ImageRows(hostkit::ImageSource& source, const hostkit::PixelRect& partOfIt)
        : image(source), part(partOfIt) {}
    explicit ImageRows(hostkit::ImageSource& source);
    explicit ImageRows(std::unique_ptr<hostkit::ImageSource> source) : ImageRows(*source) {
        own = std::move(source);
    }

    [[nodiscard]] std::uint32_t GetColumns() const override { return part.GetColumns(); }
    [[nodiscard]] std::uint32_t GetRows() const override { return part.GetRows(); }
    [[nodiscard]] std::size_t GetBands() const override { return image.GetInfo().bandsPerPixel; }
    [[nodiscard]] bool Read(std::uint32_t first, std::uint32_t end, SampleRows& rows,
                            Status& status) override;

private:
    std::unique_ptr<hostkit::ImageSource> own; ///< null when the caller owns the image
    hostkit::ImageSource& image;
    hostkit::PixelRect part;
    std::vector<unsigned char> bytes;
};

/// A coarse image upsampled to a part of a finer grid, with the same samples as in a run of the process. The
/// placement must outlive this, and so must the image unless its ownership is passed.
class UpsampledRows final : public RowSource {
public:
    /// A pixel has data when all coarse pixels that it is made of have data; with `partly`, when any has.
    UpsampledRows(hostkit::ImageSource& coarseImage, const hostkit::Placement& placementOfIt,
                  const hostkit::PixelRect& partOfGrid, hostkit::Resampling how, bool partly)
        : coarse(coarseImage), placement(placementOfIt), part(partOfGrid), resampling(how),
          takesSome(partly) {}
    UpsampledRows(std::unique_ptr<hostkit::ImageSource> coarseImage, const hostkit::Placement& placementOfIt,
                  const hostkit::PixelRect& partOfGrid, hostkit::Resampling how, bool partly)
        : UpsampledRows(*coarseImage, placementOfIt, partOfGrid, how, partly) {
        own = std::move(coarseImage);
    }

    [[nodiscard]] std::uint32_t GetColumns() const override { return part.GetColumns(); }
    [[nodiscard]] std::uint32_t GetRows() const override { return part.GetRows(); }
    [[nodiscard]] std::size_t GetBands() const override { return coarse.GetInfo().bandsPerPixel; }
    [[nodiscard]] bool Read(std::uint32_t first, std::uint32_t end, SampleRows& rows,
                            Status& status) override;

private:
    std::unique_ptr<hostkit::ImageSource> own; ///< null when the caller owns the image
    hostkit::ImageSource& coarse;
    const hostkit::Placement& placement;
    hostkit::PixelRect part;
    hostkit::Resampling resampling;
    bool takesSome;
};

/// Images on the same pixels, seen as one image with all their bands.
class JoinedRows final : public RowSource {
public:
    struct Part {
        std::unique_ptr<RowSource> rows;
        std::vector<std::size_t> bands; ///< the positions of its bands among all bands
    };

    /// At least one part; together they give every band once. A pixel has data when all parts have data
    /// there.
    explicit JoinedRows(std::vector<Part> sources);

    [[nodiscard]] std::uint32_t GetColumns() const override { return parts.front().rows->GetColumns(); }
    [[nodiscard]] std::uint32_t GetRows() const override { return parts.front().rows->GetRows(); }
    [[nodiscard]] std::size_t GetBands() const override { return allBands; }
    [[nodiscard]] bool Read(std::uint32_t first, std::uint32_t end, SampleRows& rows,
                            Status& status) override;

private:
    std::vector<Part> parts;
    std::size_t allBands = 0;
    SampleRows own; ///< the samples of one part
};

/// An image that has data only where another one also has. Both must outlive this.
class MaskedRows final : public RowSource {
public:
    MaskedRows(RowSource& imageRows, RowSource& otherRows) : image(imageRows), other(otherRows) {}

    [[nodiscard]] std::uint32_t GetColumns() const override { return image.GetColumns(); }
    [[nodiscard]] std::uint32_t GetRows() const override { return image.GetRows(); }
    [[nodiscard]] std::size_t GetBands() const override { return image.GetBands(); }
    [[nodiscard]] bool Read(std::uint32_t first, std::uint32_t end, SampleRows& rows,
                            Status& status) override;

private:
    RowSource& image;
    RowSource& other;
    SampleRows mask;
};

/// Clears in `valid` what is not set in `other`.
void KeepCommon(std::span<unsigned char> valid, std::span<const unsigned char> other);

/// How many rows to read at a time when a row has this many numbers.
[[nodiscard]] std::uint32_t ChooseStrip(std::uint64_t numbersOfARow);

/// Calls `function` with the first and end row of each strip until it returns false.
template <class Function>
bool ForStrips(const RowSource& rows, const Function& function) {
    const std::uint32_t strip = ChooseStrip(std::uint64_t{rows.GetColumns()} * rows.GetBands());
    for (std::uint32_t row = 0; row < rows.GetRows(); row += strip)
        if (!function(row, std::min(row + strip, rows.GetRows()))) return false;
    return true;
}

} // namespace imagery
