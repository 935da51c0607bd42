#pragma once

#include <cstdarg>
#include <cstddef>

namespace KOVA::Tessara::Fundament {

/// vsnprintf in the "C" locale, whatever locale the process or thread has set. One file per platform.
int FormatClassic(char* buffer, std::size_t size, const char* format, std::va_list arguments);

} // namespace KOVA::Tessara::Fundament
