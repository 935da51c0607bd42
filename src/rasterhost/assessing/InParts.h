#pragma once

#include "rasterhost/requests/HostStatus.h"

#include <tbb/enumerable_thread_specific.h>
#include <tbb/parallel_pipeline.h>
#include <tbb/task_arena.h>

#include <atomic>
#include <cstddef>
#include <memory>

namespace rasterhost {

/// Processes an image part by part on several threads and takes the results in the order of the parts. At
/// most two results per thread wait to be taken.
///
/// `open` returns what a thread reads with: a unique_ptr, or null with an item. `make(reader, part, status)`
/// returns a unique_ptr, or null with an item. `take(made)` is called by one thread at a time. False, with
/// the items of the part that failed; later parts are skipped.
template <class Open, class Make, class Take>
[[nodiscard]] bool InParts(int threads, std::size_t parts, const Open& open, const Make& make,
                           const Take& take, Status& status) {
    using Reader = decltype(open(status));
    using Made = decltype(make(*open(status), std::size_t{}, status));
    struct Job {
        std::size_t part = 0;
        Made made;
        Status reasons;
    };
    tbb::enumerable_thread_specific<Reader> readers;
    std::size_t next = 0;
    std::atomic<bool> hasFailed{false};
    const auto begin = [&]() -> std::shared_ptr<Job> {
        return next < parts && !hasFailed ? std::make_shared<Job>(Job{next++, {}, {}}) : nullptr;
    };
    const auto hand = [&](tbb::flow_control& flow) {
        std::shared_ptr<Job> job = begin();
        if (!job) flow.stop();
        return job;
    };
    const auto work = [&](std::shared_ptr<Job> job) {
        Reader& reader = readers.local();
        if (!reader) reader = open(job->reasons);
        if (reader) job->made = make(*reader, job->part, job->reasons);
        if (!job->made) hasFailed = true;
        return job;
    };
    bool isDone = true;
    const auto receive = [&](const std::shared_ptr<Job>& job) {
        if (!isDone) return;
        if (job->made)
            take(*job->made);
        else {
            isDone = false;
            status.Append(job->reasons);
        }
    };
    if (threads == 1) { // perhaps because no other can be started
        while (std::shared_ptr<Job> job = begin())
            receive(work(std::move(job)));
        return isDone;
    }
    tbb::task_arena(threads).execute([&] {
        tbb::parallel_pipeline(
            2 * static_cast<std::size_t>(threads),
            tbb::make_filter<void, std::shared_ptr<Job>>(tbb::filter_mode::serial_in_order, hand) &
                tbb::make_filter<std::shared_ptr<Job>, std::shared_ptr<Job>>(tbb::filter_mode::parallel,
                                                                             work) &
                tbb::make_filter<std::shared_ptr<Job>, void>(tbb::filter_mode::serial_in_order, receive));
    });
    return isDone;
}

} // namespace rasterhost
