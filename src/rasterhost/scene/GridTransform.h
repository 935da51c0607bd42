#pragma once

#include "hostkit/MapPlacement.h"
#include "rasterhost/reading/InputImage.h"

#include <memory>
#include <optional>

namespace rasterhost {

/// The exact transform between the pixels of pan and those of another image, from their positions,
/// projections or control points. One thread may use it at a time.
class GridTransform final : public hostkit::PixelTransform {
public:
    using Point = hostkit::Point;

    /// Null, with an item, when there is no transform between the two. The images must outlive it.
    [[nodiscard]] static std::unique_ptr<GridTransform> Make(const InputImage& pan, const InputImage& image,
                                                             Status& status);
    GridTransform(const GridTransform&) = delete;
    GridTransform& operator=(const GridTransform&) = delete;
    ~GridTransform() override;

    [[nodiscard]] std::optional<Point> FromPan(const Point& panPixel) const override;
    [[nodiscard]] std::optional<Point> ToPan(const Point& imagePixel) const override;

    /// True when the axes of the two are parallel, so that the image is a rectangle of pan's grid.
    [[nodiscard]] bool RunsAlong() const;

    /// A map of all of pan. Its control points are spaced so that interpolating between them errs by less
    /// than 1/100 pixel of the image, checked midway. Empty, with an item, when it would need too many.
    [[nodiscard]] std::optional<hostkit::PixelMap> MakeMap(Status& status) const;

private:
    GridTransform(const InputImage& panImage, const InputImage& otherImage)
        : pan(panImage), image(otherImage) {}
    [[nodiscard]] std::vector<Point> FindPoints(std::uint32_t step) const;
    [[nodiscard]] bool IsFine(const std::vector<Point>& points, std::uint32_t step) const;

    const InputImage& pan;
    const InputImage& image;
    void* transformer = nullptr; ///< GDAL's, from the image to pan
    /// The displacement of 360 degrees on pan, in pan pixels; empty unless its coordinates are longitudes.
    std::optional<Point> turn;
};

/// Places an image on the grid of pan, whatever their projections and directions: along pan's axes if the two
/// are parallel, else through a map. Null, with an item, when there is no transform or no position. Both
/// images must outlive the placement.
[[nodiscard]] std::unique_ptr<hostkit::Placement> PlaceByTransform(const InputImage& pan,
                                                                   const InputImage& image, Status& status);

} // namespace rasterhost
