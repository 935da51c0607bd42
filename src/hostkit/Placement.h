#pragma once

#include "fundament/Status.h"
#include "hostkit/Coarsening.h"
#include "hostkit/PlacedWindow.h"
#include "hostkit/Point.h"
#include "hostkit/RowSampler.h"

#include <array>
#include <memory>
#include <optional>

namespace hostkit {

/// How the pixels of an image lie under those of pan: along the axes of pan (AxisPlacement.h), or through a
/// map (MapPlacement.h). Callers need not know which. A placement knows the size of the image, not its
/// samples, so images on the same pixels may share one. Positions count pixels from the corner of an image
/// unless it says "between centres". Any number of threads may read it.
class Placement {
public:
    /// What describes an image.
    using RasterInfo = KOVA::Tessara::Pixmere::RasterInfo;

    Placement(const Placement&) = delete;
    Placement& operator=(const Placement&) = delete;
    virtual ~Placement() = default;

    /// The description of pan.
    [[nodiscard]] const RasterInfo& GetPan() const { return pan; }
    /// Describes the image, or another on the same pixels, with position and pixel size in the map units of
    /// pan. Through a map, these are its extent and the size of a pixel at its middle.
    [[nodiscard]] RasterInfo Describe(const RasterInfo& image) const;

    /// True when the axes are parallel to pan's.
    [[nodiscard]] virtual bool RunsAlong() const = 0;
    /// Displaces the content: samples are taken this far to the right and down, in pixels of the image.
    virtual void Move(const Point& displacement) = 0;
    /// The position on pan of a position on the image; none when it has none.
    [[nodiscard]] virtual std::optional<Point> ToPan(const Point& at) const = 0;
    /// The position on the image of a position on pan; none when it has none.
    [[nodiscard]] virtual std::optional<Point> FromPan(const Point& at) const = 0;
    /// How far one pan pixel to the right, and one pan pixel down, leads on the image, at the middle of pan.
    /// Pan has at least two rows and columns. Not finite when the middle has no position on the image.
    [[nodiscard]] virtual std::array<Point, 2> FindSteps() const = 0;

    /// The pan pixels that may have data. A pixel whose centre lies more than one source pixel outside the
    /// image has none. May be empty.
    [[nodiscard]] virtual PixelRect FindCovered() const = 0;
    /// The smallest window that holds every pixel of `part`, a part of pan, whose centre lies on the image.
    [[nodiscard]] virtual PixelRect FindShared(const PixelRect& part) const = 0;
    /// The pixels of the image that a window of pan is interpolated from.
    [[nodiscard]] virtual PixelRect FindSource(const PixelRect& panWindow, Resampling resampling) const = 0;
    /// Opens a window of pan over samples of the image. `source` describes the image; `block` covers at least
    /// FindSource(). The samples and the placement must outlive the window. Null, with an item, when the
    /// samples do not cover it or the depth is neither 8 nor 16 bits.
    [[nodiscard]] virtual std::unique_ptr<PlacedWindow>
    Open(const PixelRect& panWindow, const RasterInfo& source, const SampleBlock& block,
         Resampling resampling, KOVA::Tessara::Fundament::Status& status) const = 0;

    /// The placement of the image under pan in coarser pixels of both.
    [[nodiscard]] virtual std::unique_ptr<Placement> Coarsen(const Coarsening& look) const = 0;

protected:
    /// `imageInfo` is the size and position that Describe() reports.
    Placement(const RasterInfo& panInfo, const RasterInfo& imageInfo) : pan(panInfo), image(imageInfo) {}

    const RasterInfo pan; ///< its description
    RasterInfo image;     ///< as Describe() reports; only size and position are used
};

/// Opens a window for AxisPlacement and MapPlacement.
template <class Raster, class... Arguments>
[[nodiscard]] std::unique_ptr<PlacedWindow> OpenRaster(KOVA::Tessara::Fundament::Status& status,
                                                       const Arguments&... arguments) {
    auto raster = std::make_unique<Raster>();
    if (raster->Open(arguments...)) return raster;
    status.Append(raster->GetStatus());
    return nullptr;
}

} // namespace hostkit
