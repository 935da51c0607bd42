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

/// How the pixels of an image lie under those of pan: along the axes of pan (AxisPlacement.h), or by a map
/// (MapPlacement.h). Callers need not know which. It knows only the size of the image, not its samples, so
/// images with the same pixels may share one. Places count pixels from the corner of an image unless they are
/// said to count between centres. Any number of threads may read it.
class Placement {
public:
    /// What describes an image.
    using RasterInfo = KOVA::Tessara::Pixmere::RasterInfo;

    Placement(const Placement&) = delete;
    Placement& operator=(const Placement&) = delete;
    virtual ~Placement() = default;

    /// The description of pan.
    [[nodiscard]] const RasterInfo& GetPan() const { return pan; }
    /// Describes the image, or one on the same pixels, with its place and pixel size in the map units of pan:
    /// by a map those of what it covers, and of a pixel in its middle.
    [[nodiscard]] RasterInfo Describe(const RasterInfo& image) const;

    /// True when the axes are parallel to pan's.
    [[nodiscard]] virtual bool RunsAlong() const = 0;
    /// Moves the content: samples are taken this far to the right and down, in its own pixels.
    virtual void Move(const Point& way) = 0;
    /// The place on pan of a place on the image; none where there is none.
    [[nodiscard]] virtual std::optional<Point> ToPan(const Point& at) const = 0;
    /// The place on the image of a place on pan; none where there is none.
    [[nodiscard]] virtual std::optional<Point> FromPan(const Point& at) const = 0;
    /// How far one pan pixel to the right leads on the image, and one down, in the middle of pan, which has
    /// two pixels or more either way. Not finite where that has no place on the image.
    [[nodiscard]] virtual std::array<Point, 2> FindSteps() const = 0;

    /// The pan pixels that may have data: a pixel whose centre lies more than one source pixel outside the
    /// image has none. Empty when there are none.
    [[nodiscard]] virtual PixelRect FindCovered() const = 0;
    /// The smallest window that holds all pixels of a part of pan whose centre lies on the image.
    [[nodiscard]] virtual PixelRect FindShared(const PixelRect& part) const = 0;
    /// The pixels of the image that a window of pan is interpolated from.
    [[nodiscard]] virtual PixelRect FindSource(const PixelRect& panWindow, Resampling resampling) const = 0;
    /// Opens a window of pan over samples of the image that `source` describes: at least those of FindSource,
    /// which stay in place as long as the window, as the placement does. Null, with an item, when they are
    /// not there or are neither of 8 nor of 16 bits.
    [[nodiscard]] virtual std::unique_ptr<PlacedWindow>
    Open(const PixelRect& panWindow, const RasterInfo& source, const SampleBlock& block,
         Resampling resampling, KOVA::Tessara::Fundament::Status& status) const = 0;

    /// How the image lies beneath pan in coarser pixels of both.
    [[nodiscard]] virtual std::unique_ptr<Placement> Coarsen(const Coarsening& look) const = 0;

protected:
    /// `imageInfo` is what Describe() is to tell of the image's size and place.
    Placement(const RasterInfo& panInfo, const RasterInfo& imageInfo) : pan(panInfo), image(imageInfo) {}

    const RasterInfo pan; ///< its description
    RasterInfo image;     ///< as Describe() tells; nothing but size and place counts
};

/// What AxisPlacement and MapPlacement do to open a window of theirs.
template <class Raster, class... Arguments>
[[nodiscard]] std::unique_ptr<PlacedWindow> OpenRaster(KOVA::Tessara::Fundament::Status& status,
                                                       const Arguments&... arguments) {
    auto raster = std::make_unique<Raster>();
    if (raster->Open(arguments...)) return raster;
    status.Append(raster->GetStatus());
    return nullptr;
}

} // namespace hostkit
