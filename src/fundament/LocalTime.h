#pragma once

#include <ctime>

namespace KOVA::Tessara::Fundament {

/// std::localtime with a result of the caller's own: the standard function shares a static record between
/// threads. One file per platform.
std::tm LocalTime(std::time_t time);

} // namespace KOVA::Tessara::Fundament
