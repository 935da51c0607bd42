#include "rasterhost/requests/HostStatus.h"

#include "fundament/Text.h"

#include <cstdarg>

namespace rasterhost {

bool Fail(Status& status, std::uint32_t id, const std::string& message) {
    status.Add(id, message, "Host");
    return false;
}

bool Fail(Status& status, std::uint32_t id, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const std::string message = KOVA::Tessara::Fundament::FormatArguments(format, arguments);
    va_end(arguments);
    return Fail(status, id, message);
}

} // namespace rasterhost
