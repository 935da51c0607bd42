#pragma once

#include <string>

namespace KOVA::Tessara::Fundament {

/// The local date and time in milliseconds, such as 2024-03-07T14:05:09.042.
[[nodiscard]] std::string GetTimeStamp();

} // namespace KOVA::Tessara::Fundament
