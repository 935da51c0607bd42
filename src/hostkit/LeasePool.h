#pragma once

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace hostkit {

/// Lends objects that serve one thread at a time. A limited number is out at a time; others wait for one to
/// come back. Objects have a key. Those that came back are kept for the next caller who asks for their key,
/// up to the same limit; the ones unused for longest go first.
template <class Object, class Key>
class LeasePool {
public:
    /// At least one at a time.
    explicit LeasePool(std::size_t mostObjects) : most(std::max<std::size_t>(mostObjects, 1)) {
        idle.reserve(most + 1); // taking one back does not fail
    }
    LeasePool(const LeasePool&) = delete;
    LeasePool& operator=(const LeasePool&) = delete;

    /// An object on loan, which goes back with this. Null where none could be made.
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
        /// False where none could be made.
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

    /// An object of that key that waits, or one that `make` makes, which answers with a unique_ptr and is
    /// called on this thread.
    template <class Make>
    [[nodiscard]] Lease Take(const Key& key, const Make& make) {
        Lease lease(*this, key, FindIdle(key)); // gives the place back, whatever `make` throws
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
    std::vector<std::pair<Key, std::unique_ptr<Object>>> idle; ///< the one unused for longest first
};

} // namespace hostkit
