#include "rasterhost/reading/ReadAhead.h"

#include "rasterhost/reading/InputImage.h"

#include <algorithm>
#include <exception>

namespace rasterhost {

ReadAhead::~ReadAhead() {
    {
        const std::lock_guard lock(mutex);
        isOver = true;
    }
    isWanted.notify_all();
    for (std::thread& thread : threads)
        thread.join();
}

void ReadAhead::Ask(const hostkit::ImageSource& image, const hostkit::PixelRect& rect, std::uint64_t step) {
    const auto* input = dynamic_cast<const InputImage*>(&image);
    if (!input) return;
    for (const auto& [file, range] : input->FindBytes(rect)) {
        const std::lock_guard lock(mutex);
        const std::uint64_t ahead = CountHeld(), most = bytes.GetBound() / 2;
        Step& of = steps[step];
        for (FetchedBytes::Piece& claimed :
             bytes.Claim(file, range, isReadAgain, most - std::min(most, ahead))) {
            const FetchedBytes::Piece& piece = of.pieces.emplace_back(std::move(claimed));
            if (!piece.IsMissing()) continue;
            ++of.open;
            of.newBytes += piece.CountBytes();
        }
        StartThreads();
        isWanted.notify_all();
    }
}

void ReadAhead::StartThreads() {
    try {
        while (threads.size() < FetchedBytes::mostRequests)
            threads.emplace_back([this] { Work(); });
    } catch (const std::exception&) {
        if (threads.empty()) steps.clear(); // the reader fetches all itself
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
    steps.erase(steps.begin(), steps.lower_bound(step));
}

bool ReadAhead::InSteps(std::size_t count, const std::function<void(std::size_t)>& ask,
                        const std::function<bool(std::size_t)>& read) {
    for (std::size_t step = 0, next = 0; step < count; ++step) {
        next = std::max(next, step); // a step without room was read by the reader itself
        while (next < count && (next == 0 || IsUsed()) && HasRoom())
            ask(next++);
        if (IsUsed()) Wait(step);
        if (!read(step)) return false;
    }
    return true;
}

/// The first piece that no thread has taken; null when there is none.
std::pair<ReadAhead::Step*, FetchedBytes::Piece*> ReadAhead::FindMissing() {
    for (auto& [number, step] : steps)
        while (step.next < step.pieces.size())
            if (FetchedBytes::Piece& piece = step.pieces[step.next++]; piece.IsMissing())
                return {&step, &piece};
    return {};
}

void ReadAhead::Work() {
    std::unique_lock lock(mutex);
    while (true) {
        std::pair<Step*, FetchedBytes::Piece*> taken;
        isWanted.wait(lock, [&] { return isOver || (taken = FindMissing()).first; });
        if (isOver) return;
        lock.unlock();
        bytes.Fetch(*taken.second);
        lock.lock();
        --taken.first->open;
        isFetched.notify_all();
    }
}

} // namespace rasterhost
