#include "fundament/ClassicFormat.h"

#include <clocale>
#include <cstdio>
#include <cstring>
#include <locale.h>
#include <string>

namespace KOVA::Tessara::Fundament {

int FormatClassic(char* buffer, std::size_t size, const char* format, std::va_list arguments) {
    if (std::strcmp(std::localeconv()->decimal_point, ".") == 0)
        return std::vsnprintf(buffer, size, format, arguments);
    // Only for this thread, and only while it formats.
    const int before = _configthreadlocale(_ENABLE_PER_THREAD_LOCALE);
    const std::string numbers = std::setlocale(LC_NUMERIC, nullptr);
    std::setlocale(LC_NUMERIC, "C");
    const int length = std::vsnprintf(buffer, size, format, arguments);
    std::setlocale(LC_NUMERIC, numbers.c_str());
    if (before != -1) _configthreadlocale(before);
    return length;
}

} // namespace KOVA::Tessara::Fundament
