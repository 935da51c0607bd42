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

/// Fetches what will be read of files on servers, by several requests at a time. Does nothing for other
/// files. Used by one thread.
class ReadAhead {
public:
    /// With `readsOnce`, what was read is not read again and is dropped first when room is needed.
    explicit ReadAhead(bool readsOnce = false) : isReadAgain(!readsOnce) {}
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;
    ~ReadAhead(); ///< cancels what has not been fetched

    /// Asks for the blocks under a rectangle, to be read in step `step`; steps have ascending numbers. Nobody
    /// else may use the image during the call.
    void Ask(const hostkit::ImageSource& image, const hostkit::PixelRect& rect, std::uint64_t step);
    /// False when the bytes on their way and not yet read fill the room.
    [[nodiscard]] bool HasRoom();
    /// Waits until all that was asked for up to a step has arrived or failed. Bytes of earlier steps count as
    /// read.
    void Wait(std::uint64_t step);
    /// Reads steps 0 to `count` - 1 in order, and asks for later ones in advance. False when `read` returned
    /// false.
    [[nodiscard]] bool InSteps(std::size_t count, const std::function<void(std::size_t)>& ask,
                               const std::function<bool(std::size_t)>& read);
    /// True when anything lies on a server.
    [[nodiscard]] bool IsUsed() const { return !threads.empty(); }

private:
    /// What is held for a step.
    struct Step {
        std::deque<FetchedBytes::Piece> pieces;
        std::size_t next = 0; ///< the next piece to be examined
        std::size_t open = 0; ///< missing pieces that are not yet fetched
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
