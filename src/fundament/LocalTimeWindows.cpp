#include "fundament/LocalTime.h"

#include <time.h>

namespace KOVA::Tessara::Fundament {

std::tm LocalTime(std::time_t time) {
    std::tm result{};
    localtime_s(&result, &time);
    return result;
}

} // namespace KOVA::Tessara::Fundament
