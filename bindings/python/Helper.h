#pragma once

#include "Calls.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace python {

/// A thread that works for the thread that first needed it, one job after another. Libraries keep data per
/// thread, such as what PROJ has read of its database; reusing the thread keeps it. Reading it anew is half
/// the cost of a small window.
class Helper {
public:
    /// Runs `work` on the helper while the calling thread runs `meanwhile`, and waits for both. Neither may
    /// throw.
    static void Run(const std::function<void()>& work, const std::function<void()>& meanwhile) {
        thread_local Owner owner;
        Helper& helper = owner.Get();
        if (helper.isBusy) { // called from within `meanwhile`
            std::thread another(work);
            meanwhile();
            another.join();
            return;
        }
        helper.Give(&work);
        meanwhile();
        helper.Wait();
    }

private:
    /// In a forked process the helper stayed in the parent: it is neither used nor ended.
    struct Owner {
        Owner() = default;
        Owner(const Owner&) = delete;
        Owner& operator=(const Owner&) = delete;
        ~Owner() {
            if (helper && helper->forks == Calls::Forks()) delete helper;
        }
        Helper& Get() {
            if (!helper || helper->forks != Calls::Forks()) helper = new Helper;
            return *helper;
        }

        Helper* helper = nullptr;
    };

    Helper() : thread([this] { Loop(); }) {}
    ~Helper() {
        {
            const std::lock_guard lock(mutex);
            isEnding = true;
            changed.notify_all();
        }
        thread.join();
    }

    void Give(const std::function<void()>* given) {
        isBusy = true;
        const std::lock_guard lock(mutex);
        work = given;
        changed.notify_all();
    }

    void Wait() {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return !work; });
        isBusy = false;
    }

    void Loop() {
        std::unique_lock lock(mutex);
        for (;;) {
            changed.wait(lock, [this] { return work || isEnding; });
            if (!work) return;
            lock.unlock();
            (*work)();
            lock.lock();
            work = nullptr;
            changed.notify_all();
        }
    }

    const unsigned forks = Calls::Forks();
    bool isBusy = false; ///< used by the owning thread only
    std::mutex mutex;    ///< guards the following members
    std::condition_variable changed;
    const std::function<void()>* work = nullptr;
    bool isEnding = false;
    std::thread thread; ///< last, since it uses all of these
};

} // namespace python
