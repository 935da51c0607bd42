#pragma once

#include <ctime>

namespace KOVA::Tessara::Fundament {

/// std::localtime into a record of the caller's, since the standard one shares a static record between
/// threads. One file per platform.
std::tm LocalTime(std::time_t time);

} // namespace KOVA::Tessara::Fundament
