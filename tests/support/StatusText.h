#pragma once

#include "fundament/Status.h"
#include "fundament/Text.h"

#include <string>

namespace support {

/// All items as "id source|message; ..." in order, the id in hexadecimal: a whole status in one comparison.
inline std::string StatusText(const KOVA::Tessara::Fundament::Status& status) {
    std::string text;
    for (std::uint32_t i = 0; i < status.GetCount(); ++i) {
        const auto& item = status.GetItem(i);
        text += (i == 0 ? "" : "; ") +
                KOVA::Tessara::Fundament::FormatString("%lX ", static_cast<unsigned long>(item.id)) +
                item.source + "|" + item.message;
    }
    return text;
}

} // namespace support
