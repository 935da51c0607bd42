#pragma once

#include "rasterhost/reading/ZeroCollar.h"
#include "rasterhost/serving/RecordPart.h"

#include <memory>

namespace rasterhost {

/// A collar as an object of a description: its runs packed, deflated and in base64. Null when they take more
/// than 256 KB, deflated.
[[nodiscard]] RecordPart::Json CollarToJson(const ZeroCollar& collar);

/// Throws RecordFault.
[[nodiscard]] std::shared_ptr<const ZeroCollar> CollarFromJson(const RecordPart& part);

} // namespace rasterhost
