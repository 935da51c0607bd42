#include "fundament/LocalTime.h"

#include <time.h>

namespace KOVA::Tessara::Fundament {

std::tm LocalTime(std::time_t time) {
    std::tm result{};
    localtime_r(&time, &result);
    return result;
}

} // namespace KOVA::Tessara::Fundament
