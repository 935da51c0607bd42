#include "fundament/Time.h"

#include "fundament/LocalTime.h"
#include "fundament/Text.h"

#include <chrono>

namespace KOVA::Tessara::Fundament {

std::string GetTimeStamp() {
    using namespace std::chrono;
    const auto now = system_clock::now();
    const auto whole = floor<seconds>(now);
    const std::tm local = LocalTime(system_clock::to_time_t(whole));
    const auto number = [](auto value) { return static_cast<unsigned>(value); };
    return FormatString("%04u-%02u-%02uT%02u:%02u:%02u.%03u", number(local.tm_year + 1900),
                        number(local.tm_mon + 1), number(local.tm_mday), number(local.tm_hour),
                        number(local.tm_min), number(local.tm_sec),
                        number(duration_cast<milliseconds>(now - whole).count()));
}

} // namespace KOVA::Tessara::Fundament
