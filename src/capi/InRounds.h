#pragma once

#include "fundament/Status.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <system_error>
#include <thread>
#include <vector>

namespace capi {

/// Processes an image part by part on `threads` threads and takes the results in the order of the parts, like
/// rasterhost::InParts but without oneTBB. A round is one part per thread.
template <class Open, class Make, class Take>
[[nodiscard]] bool InRounds(std::uint32_t threads, std::size_t parts, const Open& open, const Make& make,
                            const Take& take, KOVA::Tessara::Fundament::Status& status) {
    using KOVA::Tessara::Fundament::Status;
    struct Slot {
        decltype(open(status)) reader;
        decltype(make(*open(status), std::size_t{}, status)) made;
        Status reasons;
        std::exception_ptr thrown;
    };
    std::vector<Slot> slots(std::clamp<std::size_t>(parts, 1, std::max(threads, 1u)));
    const auto work = [&](Slot& slot, std::size_t part) {
        try {
            if (!slot.reader) slot.reader = open(slot.reasons);
            if (slot.reader) slot.made = make(*slot.reader, part, slot.reasons);
        } catch (...) {
            slot.thrown = std::current_exception();
        }
    };
    for (std::size_t first = 0; first < parts; first += slots.size()) {
        const std::size_t count = std::min(slots.size(), parts - first);
        std::vector<std::jthread> helpers;
        std::size_t begun = 1;
        try {
            for (; begun < count; ++begun)
                helpers.emplace_back([&, begun] { work(slots[begun], first + begun); });
        } catch (const std::system_error&) { // no further thread is available: this one does the rest
        }
        work(slots[0], first);
        for (; begun < count; ++begun)
            work(slots[begun], first + begun);
        helpers.clear();
        for (std::size_t i = 0; i < count; ++i) {
            if (slots[i].thrown) std::rethrow_exception(slots[i].thrown);
            if (!slots[i].made) {
                status.Append(slots[i].reasons);
                return false;
            }
            take(*slots[i].made);
        }
    }
    return true;
}

} // namespace capi
