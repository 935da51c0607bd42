#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace rasterhost {

/// Bytes `first` to `second` - 1 of a file.
using ByteRange = std::pair<std::uint64_t, std::uint64_t>;

/// What was fetched of files on servers, for all threads of the process, up to a bound (256 MB, or
/// CPL_VSIL_CURL_CACHE_SIZE). Files are read through it by the name KeptName, and forgotten when the last
/// reader has closed them.
class FetchedBytes {
public:
    static constexpr std::ptrdiff_t mostRequests = 8; ///< at a time: what a server gives one client

    /// A part of a file, by its first byte.
    using Place = std::pair<std::string, std::uint64_t>;
    struct Piece {
        Place place;
        std::uint64_t end;
        bool isNew; ///< neither here nor on its way: whoever claimed it calls Fetch or Forget
    };

    static FetchedBytes& Get();

    /// The parts that a range consists of, with whole grains of GDAL's at its ends. Each is held until
    /// Release. Stops when new ones have `mostNew` bytes or more. None for a file that nobody reads by
    /// KeptName.
    [[nodiscard]] std::vector<Piece> Claim(const std::string& file, ByteRange range, std::uint64_t mostNew);
    /// Asks the server for a new piece. One that cannot be had is forgotten: its reader asks again, and tells
    /// why.
    void Fetch(const Piece& piece);
    void Forget(const Place& place);
    /// Where there is no room, parts that nobody holds go: first those that are not read again, then those
    /// that were released longest ago.
    void Release(const Place& place, bool isReadAgain);

    /// Copies what is here from a byte of the file on, and waits for what is on its way. Returns the number
    /// of bytes; when there are none, `size` is lowered to the number up to the next part.
    [[nodiscard]] std::size_t Read(const std::string& file, std::uint64_t offset, char* out,
                                   std::size_t& size);
    void CountReader(const std::string& file);
    void DropReader(const std::string& file);

    [[nodiscard]] std::uint64_t GetBound() const { return bound; }

private:
    struct Part {
        std::uint64_t end = 0;
        std::shared_ptr<char[]> bytes; ///< null while on its way
        unsigned holds = 0;
        std::uint64_t stamp = 0; ///< the least goes first
    };
    struct File {
        std::map<std::uint64_t, Part> parts; ///< by first byte, without overlap
        unsigned readers = 0;
    };

    FetchedBytes();
    [[nodiscard]] Part* Find(const Place& place);
    void Put(const Place& place, std::shared_ptr<char[]> bytes, std::uint64_t count);
    void MakeRoom();

    const std::uint64_t bound, grain, pieceBytes;
    std::uint64_t kept = 0, clock = 0;
    std::mutex mutex;
    std::condition_variable hasCome;
    std::map<std::string, File> files;
    std::set<std::pair<std::uint64_t, Place>> free; ///< parts that may go, by stamp
};

/// The name by which GDAL reads a file of a server through what was fetched.
[[nodiscard]] std::string KeptName(const std::string& name);
/// The name that KeptName was given; any other name is its own.
[[nodiscard]] std::string NameWithoutKept(const std::string& name);

/// Ranges of files that are read as long as this lives. Those that are missing are fetched first, by several
/// requests at a time.
class BytesAtHand {
public:
    explicit BytesAtHand(const std::vector<std::pair<std::string, ByteRange>>& ranges);
    BytesAtHand(const BytesAtHand&) = delete;
    BytesAtHand& operator=(const BytesAtHand&) = delete;
    ~BytesAtHand();

private:
    std::vector<FetchedBytes::Piece> pieces;
};

} // namespace rasterhost
