#pragma once

#include "hostkit/ImageSource.h"
#include "rasterhost/reading/NetworkFile.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace rasterhost {

/// Fetches what is going to be read of files on servers, several requests at a time, into the cache that GDAL
/// has for such files. Bytes that cannot be fetched are left to the reader, who tells why. Does nothing for
/// other files. Used by one thread.
class ReadAhead {
public:
    ReadAhead();
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;
    ~ReadAhead(); ///< drops what has not been fetched

    /// Asks for the blocks beneath a rectangle, to be read as step `step`, one of ascending numbers. Nobody
    /// else uses the image meanwhile.
    void Ask(const hostkit::ImageSource& image, const hostkit::PixelRect& rect, std::uint64_t step);
    /// False when as much is on its way, or not yet read, as the cache is good for.
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
    struct Piece {
        std::string file;
        ByteRange bytes;
        std::uint64_t step;
    };

    void AskBytes(const std::string& file, ByteRange bytes, std::uint64_t step);
    void StartThreads();
    [[nodiscard]] std::uint64_t CountHeld() const;
    static void Fetch(const Piece& piece, std::vector<char>& bytes);
    void Work();

    std::uint64_t cacheBytes, pieceBytes, grain;
    std::map<std::string, std::map<std::uint64_t, std::uint64_t>> asked; ///< by file: first bytes and ends
    std::mutex mutex;
    std::condition_variable isWanted, isFetched;
    std::deque<Piece> queue;
    std::map<std::uint64_t, std::size_t> open;        ///< pieces by step
    std::map<std::uint64_t, std::uint64_t> bytesHeld; ///< by step
    bool isOver = false;
    std::vector<std::thread> threads;
};

} // namespace rasterhost
