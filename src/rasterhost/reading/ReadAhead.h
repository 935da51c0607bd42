#pragma once

#include "hostkit/ImageSource.h"
#include "rasterhost/reading/FetchedBytes.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace rasterhost {

/// Fetches what is going to be read of files on servers, several requests at a time. Does nothing for other
/// files. Used by one thread.
class ReadAhead {
public:
    /// `readsOnce`: what was read is not read again, and goes first where room is needed.
    explicit ReadAhead(bool readsOnce = false) : isReadAgain(!readsOnce) {}
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;
    ~ReadAhead(); ///< drops what has not been fetched

    /// Asks for the blocks beneath a rectangle, to be read as step `step`, one of ascending numbers. Nobody
    /// else uses the image meanwhile.
    void Ask(const hostkit::ImageSource& image, const hostkit::PixelRect& rect, std::uint64_t step);
    /// False when as much is on its way, or not yet read, as there is room for.
    [[nodiscard]] bool HasRoom();
    /// Returns when nothing that was asked for up to a step is on its way any more. What belongs to steps
    /// before is taken as read.
    void Wait(std::uint64_t step);
    /// Reads steps 0 to `count` - 1 in order, and asks for further ones before. False when `read` returned
    /// false.
    [[nodiscard]] bool InSteps(std::size_t count, const std::function<void(std::size_t)>& ask,
                               const std::function<bool(std::size_t)>& read);
    /// True when anything lies on a server.
    [[nodiscard]] bool IsUsed() const { return !threads.empty(); }

private:
    /// What is held for a step.
    struct Step {
        std::deque<FetchedBytes::Piece> pieces;
        std::size_t next = 0; ///< of the pieces, that no thread has looked at
        std::size_t open = 0; ///< missing pieces that are not fetched yet
        std::uint64_t newBytes = 0;
    };

    void StartThreads();
    [[nodiscard]] std::uint64_t CountHeld() const;
    [[nodiscard]] std::pair<Step*, FetchedBytes::Piece*> FindMissing();
    void Work();

    const bool isReadAgain;
    FetchedBytes& bytes = FetchedBytes::Get();
    std::mutex mutex;
    std::condition_variable isWanted, isFetched;
    std::map<std::uint64_t, Step> steps;
    bool isOver = false;
    std::vector<std::thread> threads;
};

} // namespace rasterhost
