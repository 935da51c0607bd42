#pragma once

#include <atomic>
#include <cstddef>
#include <memory>

namespace view {

/// A limit on the bytes that all replies take together. Any number of threads may use it; shares may outlive
/// it.
class MemoryBudget {
public:
    explicit MemoryBudget(std::size_t mostBytes)
        : left(std::make_shared<std::atomic<std::size_t>>(mostBytes)) {}

    /// A share, given back when its last owner is gone. Null when not enough is left.
    [[nodiscard]] std::shared_ptr<const void> Take(std::size_t bytes) {
        std::size_t now = left->load();
        do {
            if (bytes > now) return nullptr;
        } while (!left->compare_exchange_weak(now, now - bytes));
        return {left.get(), [kept = left, bytes](const void*) { *kept += bytes; }};
    }

private:
    const std::shared_ptr<std::atomic<std::size_t>> left;
};

} // namespace view
