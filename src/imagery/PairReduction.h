#pragma once

#include "imagery/DegradedRows.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace imagery {

/// A pair as coarser sensors would see it, so that the multispectral image is the truth for the fused result
/// (docs/quality.md): pan on the multispectral grid, and the multispectral image coarser by the ratio of the
/// pair. Along a long axis only some windows are used, joined together.
class PairReduction {
public:
    using RasterInfo = KOVA::Tessara::Pixmere::RasterInfo;

    /// Both are described in the same map units.
    PairReduction(const RasterInfo& panInfo, const RasterInfo& multispectralInfo);

    /// Why the pair cannot be reduced; empty when it can. If it cannot, no other member may be used.
    [[nodiscard]] const std::string& GetObstacle() const { return obstacle; }

    [[nodiscard]] double GetRatioX() const { return ratioX; }
    [[nodiscard]] double GetRatioY() const { return ratioY; }
    /// Size of the truth, and of the reduced pan.
    [[nodiscard]] std::uint32_t GetColumns() const { return Length(across); }
    [[nodiscard]] std::uint32_t GetRows() const { return Length(down); }

    /// A rectangle of multispectral pixels, and where its first pixel goes in the truth.
    struct Window {
        hostkit::PixelRect taken;
        std::uint32_t column = 0, row = 0;
    };
    [[nodiscard]] std::vector<Window> GetWindows() const;

    /// Pan on the multispectral grid in a window, with one band. `image` is all of pan and must outlive the
    /// result.
    [[nodiscard]] DegradedRows ReducePan(hostkit::ImageSource& image, const Window& window,
                                         double transfer) const;
    /// An image with the pixels of the truth, degraded. No kernel reaches from one window into another.
    [[nodiscard]] DegradedRows ReduceTruth(RowSource& truthRows, std::span<const double> transfers) const;

private:
    /// A range of multispectral pixels along an axis, and its position in the truth.
    struct Segment {
        std::uint32_t first = 0, end = 0;
        std::uint32_t at = 0;

        [[nodiscard]] std::uint32_t GetLength() const { return end - first; }
    };
    [[nodiscard]] static std::vector<Segment> Divide(std::uint32_t first, std::uint32_t end);
    [[nodiscard]] static std::uint32_t Length(const std::vector<Segment>& segments);
    [[nodiscard]] static quality::GaussianAxis CoarseAxis(const std::vector<Segment>& segments, double ratio,
                                                          std::span<const double> transfers);

    RasterInfo pan, multispectral;
    double ratioX, ratioY;
    std::vector<Segment> across, down;
    std::string obstacle;
};

/// An image in memory.
class HeldImage final : public hostkit::ImageSource {
public:
    /// Its upper left corner lies at (0, 0). At first it has no data.
    HeldImage(std::string imageName, std::uint32_t columns, std::uint32_t rows, std::uint32_t bands,
              std::uint32_t bits, double pixelWidth, double pixelHeight);

    /// Copies all of an image into it, with the upper left pixel at a position. False, with an item, when it
    /// cannot be read.
    [[nodiscard]] bool Put(RowSource& image, std::uint32_t column, std::uint32_t row, Status& status);

    [[nodiscard]] const RasterInfo& GetInfo() const override { return info; }
    [[nodiscard]] std::string GetName() const override { return name; }
    [[nodiscard]] bool MayLackData() const override { return true; }
    [[nodiscard]] bool Read(const hostkit::PixelRect& rect, unsigned char* out, Status& status) override;
    [[nodiscard]] bool ReadValid(const hostkit::PixelRect& rect, const unsigned char* samples,
                                 unsigned char* valid, Status& status) override;

private:
    std::string name;
    RasterInfo info;
    std::vector<unsigned short> samples;
    std::vector<unsigned char> hasData;
};

} // namespace imagery
