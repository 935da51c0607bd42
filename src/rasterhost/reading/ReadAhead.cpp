#include "rasterhost/reading/ReadAhead.h"

#include "rasterhost/reading/InputImage.h"

#include <algorithm>
#include <system_error>

namespace rasterhost {

ReadAhead::~ReadAhead() {
    {
        const std::lock_guard lock(mutex);
        isOver = true;
        for (const auto& [piece, step] : queue)
            bytes.Forget(piece.place);
        queue.clear();
    }
    isWanted.notify_all();
    for (std::thread& thread : threads)
        thread.join();
    for (const auto& [number, step] : steps)
        for (const FetchedBytes::Piece& piece : step.pieces)
            bytes.Release(piece.place, isReadAgain);
}

void ReadAhead::Ask(const hostkit::ImageSource& image, const hostkit::PixelRect& rect, std::uint64_t step) {
    const auto* input = dynamic_cast<const InputImage*>(&image);
    if (!input) return;
    for (const auto& [file, range] : input->FindBytes(rect)) {
        const std::lock_guard lock(mutex);
        const std::uint64_t held = CountHeld(), most = bytes.GetBound() / 2;
        Step& of = steps[step];
        for (const FetchedBytes::Piece& piece : bytes.Claim(file, range, most - std::min(most, held))) {
            of.pieces.push_back(piece);
            if (!piece.isNew) continue;
            queue.emplace_back(piece, step);
            ++of.open;
            of.newBytes += piece.end - piece.place.second;
        }
        StartThreads();
        isWanted.notify_all();
    }
}

void ReadAhead::StartThreads() {
    try {
        while (threads.size() < FetchedBytes::mostRequests)
            threads.emplace_back([this] { Work(); });
    } catch (const std::system_error&) {
        if (!threads.empty()) return;
        for (const auto& [piece, step] : queue) // the reader has all to itself
            bytes.Forget(piece.place);
        queue.clear();
        for (auto& [number, step] : steps)
            step.open = 0;
    }
}

std::uint64_t ReadAhead::CountHeld() const {
    std::uint64_t held = 0;
    for (const auto& [number, step] : steps)
        held += step.newBytes;
    return held;
}

bool ReadAhead::HasRoom() {
    const std::lock_guard lock(mutex);
    return CountHeld() < bytes.GetBound() / 4;
}

void ReadAhead::Wait(std::uint64_t step) {
    std::unique_lock lock(mutex);
    isFetched.wait(lock, [&] {
        return std::all_of(steps.begin(), steps.upper_bound(step),
                           [](const auto& entry) { return entry.second.open == 0; });
    });
    for (auto read = steps.begin(); read != steps.lower_bound(step); read = steps.erase(read))
        for (const FetchedBytes::Piece& piece : read->second.pieces)
            bytes.Release(piece.place, isReadAgain);
}

bool ReadAhead::InSteps(std::size_t count, const std::function<void(std::size_t)>& ask,
                        const std::function<bool(std::size_t)>& read) {
    for (std::size_t step = 0, next = 0; step < count; ++step) {
        next = std::max(next, step); // one that there was no room for has been read
        while (next < count && (next == 0 || IsUsed()) && HasRoom())
            ask(next++);
        if (IsUsed()) Wait(step);
        if (!read(step)) return false;
    }
    return true;
}

void ReadAhead::Work() {
    std::unique_lock lock(mutex);
    while (true) {
        isWanted.wait(lock, [this] { return isOver || !queue.empty(); });
        if (isOver) return;
        const auto [piece, step] = queue.front();
        queue.pop_front();
        lock.unlock();
        bytes.Fetch(piece);
        lock.lock();
        --steps[step].open;
        isFetched.notify_all();
    }
}

} // namespace rasterhost
