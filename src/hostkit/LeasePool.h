#pragma once

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace hostkit {

/// Lends objects that serve one thread at a time. At most a fixed number is lent at once; further callers
/// wait until one comes back. Objects have a key. A returned object is kept for the next caller with the same
/// key. At most the same number is kept; the object unused for longest is dropped first.
template <class Object, class Key>
class LeasePool {
public:
    /// `mostObjects` is how many may be lent at once; 0 counts as 1.
    explicit LeasePool(std::size_t mostObjects) : most(std::max<std::size_t>(mostObjects, 1)) {
        idle.reserve(most + 1); // so that giving back cannot fail
    }
    LeasePool(const LeasePool&) = delete;
    LeasePool& operator=(const LeasePool&) = delete;

    /// An object on loan. The destructor gives it back. Null when none could be made.
    class Lease {
    public:
        /// Leaves `other` empty.
        Lease(Lease&& other) noexcept
            : pool(std::exchange(other.pool, nullptr)), ownKey(other.ownKey),
              object(std::move(other.object)) {}
        Lease& operator=(Lease&&) = delete;
        ~Lease() {
            if (pool) pool->TakeBack(ownKey, std::move(object));
        }
        /// False when no object could be made.
        [[nodiscard]] explicit operator bool() const { return object != nullptr; }
        Object& operator*() const { return *object; }       ///< the object
        Object* operator->() const { return object.get(); } ///< the object

    private:
        friend LeasePool;
        Lease(LeasePool& lender, const Key& key, std::unique_ptr<Object> lent)
            : pool(&lender), ownKey(key), object(std::move(lent)) {}

        LeasePool* pool;
        Key ownKey;
        std::unique_ptr<Object> object;
    };

    /// Lends a kept object with that key, or else one made by `make`. `make` returns a unique_ptr and is
    /// called on this thread. Waits while too many are lent.
    template <class Make>
    [[nodiscard]] Lease Take(const Key& key, const Make& make) {
        Lease lease(*this, key, FindIdle(key)); // frees the slot even if `make` throws
        if (!lease) lease.object = make();
        return lease;
    }

private:
    std::unique_ptr<Object> FindIdle(const Key& key) {
        std::unique_lock lock(mutex);
        returned.wait(lock, [this] { return out < most; });
        ++out;
        for (auto entry = idle.end(); entry != idle.begin();)
            if ((--entry)->first == key) {
                std::unique_ptr<Object> object = std::move(entry->second);
                idle.erase(entry);
                return object;
            }
        return nullptr;
    }
    void TakeBack(const Key& key, std::unique_ptr<Object> object) {
        std::unique_ptr<Object> dropped; // destroyed without the lock
        {
            const std::lock_guard lock(mutex);
            --out;
            if (object) idle.emplace_back(key, std::move(object));
            if (idle.size() > most) {
                dropped = std::move(idle.front().second);
                idle.erase(idle.begin());
            }
        }
        returned.notify_one();
    }

    const std::size_t most;
    std::mutex mutex;
    std::condition_variable returned;
    std::size_t out = 0;
    std::vector<std::pair<Key, std::unique_ptr<Object>>> idle; ///< longest unused first
};

} // namespace hostkit
