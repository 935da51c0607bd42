#pragma once

#include "hostkit/Placement.h"
#include "rasterhost/reading/InputImage.h"
#include "rasterhost/requests/Requests.h"

#include <functional>
#include <memory>
#include <string>

namespace rasterhost {

using Warn = std::function<void(const std::string&)>;

/// Finds how an image lies on the grid of pan, whatever their projections and directions, and checks that it
/// may be a coarser image of the same scene. For images without a position, or instead of it, the request
/// decides (`sameCorner`, `sameFirstCentre`). `role` is "a multispectral" or the like, for messages. Null
/// with an item. Both images must outlive the placement.
[[nodiscard]] std::unique_ptr<hostkit::Placement> PlaceImage(const InputImage& pan, const InputImage& coarse,
                                                             const char* role, const PairRequest& request,
                                                             const Warn& warn, Status& status);

} // namespace rasterhost
