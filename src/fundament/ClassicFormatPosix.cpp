#include "fundament/ClassicFormat.h"

#include <clocale>
#include <cstdio>
#include <locale.h>

namespace KOVA::Tessara::Fundament {

int FormatClassic(char* buffer, std::size_t size, const char* format, std::va_list arguments) {
    // The "C" locale is a constant of the C library: this call allocates nothing.
    const locale_t classic = newlocale(LC_ALL_MASK, "C", nullptr);
    const locale_t before = uselocale(classic);
    const int length = std::vsnprintf(buffer, size, format, arguments);
    uselocale(before);
    freelocale(classic);
    return length;
}

} // namespace KOVA::Tessara::Fundament
