#pragma once

#include "hostkit/MapPlacement.h"
#include "rasterhost/reading/InputImage.h"

#include <memory>
#include <optional>

namespace rasterhost {

/// The exact way between the pixels of pan and those of another image, by their positions, projections or
/// control points. Not for two threads at a time.
class GridTransform final : public hostkit::PixelTransform {
public:
    using Point = hostkit::Point;

    /// Null with an item when there is no way from the one to the other. The images outlive it.
    [[nodiscard]] static std::unique_ptr<GridTransform> Make(const InputImage& pan, const InputImage& image,
                                                             Status& status);
    GridTransform(const GridTransform&) = delete;
    GridTransform& operator=(const GridTransform&) = delete;
    ~GridTransform() override;

    [[nodiscard]] std::optional<Point> FromPan(const Point& panPixel) const override;
    [[nodiscard]] std::optional<Point> ToPan(const Point& imagePixel) const override;

    /// True when the axes of the two are parallel, so that the image is a rectangle of pan's grid.
    [[nodiscard]] bool RunsAlong() const;

    /// A map of all of pan, its control points as far apart as interpolating between them errs by less than
    /// 1/100 pixel of the image in the middle between them. None, with an item when they would be too many.
    [[nodiscard]] std::optional<hostkit::PixelMap> MakeMap(Status& status) const;

private:
    GridTransform(const InputImage& panImage, const InputImage& otherImage)
        : pan(panImage), image(otherImage) {}
    [[nodiscard]] std::vector<Point> FindPoints(std::uint32_t step) const;
    [[nodiscard]] bool IsFine(const std::vector<Point>& points, std::uint32_t step) const;

    const InputImage& pan;
    const InputImage& image;
    void* transformer = nullptr; ///< GDAL's, from the image to pan
    /// The way of 360 degrees on pan, in its pixels; none where its coordinates are not longitudes.
    std::optional<Point> turn;
};

/// Places an image on the grid of pan, whatever their projections and directions: along its axes where the
/// two are parallel, else by a map. Null with an item when there is no way, or no place. Both images outlive
/// the placement.
[[nodiscard]] std::unique_ptr<hostkit::Placement> PlaceByTransform(const InputImage& pan,
                                                                   const InputImage& image, Status& status);

} // namespace rasterhost
