#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <semaphore>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace rasterhost {

/// Bytes `first` to `second` - 1 of a file.
using ByteRange = std::pair<std::uint64_t, std::uint64_t>;

/// What was fetched of files on servers, for all threads of the process, up to a bound (128 MB, or
/// CPL_VSIL_CURL_CACHE_SIZE) that what is on its way counts towards. Files are read through it by the name
/// KeptName, and forgotten when the last reader has closed them.
class FetchedBytes {
    struct Part;
    struct File;

public:
    static constexpr std::ptrdiff_t mostRequests = 8; ///< at a time: what a server gives one client

    /// A part of a file, held as long as this lives. A missing one that is not fetched by then is forgotten:
    /// its readers ask the server themselves.
    class Piece {
    public:
        Piece() = default; ///< none, to be moved into
        Piece(Piece&&) noexcept = default;
        Piece& operator=(Piece&&) = delete;
        ~Piece();

        /// Neither here nor on its way: whoever claimed it calls Fetch.
        [[nodiscard]] bool IsMissing() const { return isMissing; }
        /// For one that is missing.
        [[nodiscard]] std::uint64_t CountBytes() const;

    private:
        friend FetchedBytes;
        std::shared_ptr<File> file;
        std::shared_ptr<Part> part;
        std::uint64_t first = 0;
        bool isMissing = false, isReadAgain = false;
    };

    /// Never destroyed: files may be closed as the program ends.
    static FetchedBytes& Get();

    /// The parts that a range consists of, with whole grains of GDAL's at its ends. Stops where missing ones
    /// have `mostMissing` bytes or more, or all that is held fills the bound. None for a file that nobody
    /// reads by KeptName. Where there is no room, parts that nobody holds go: first those that are not read
    /// again, then those that were held longest ago.
    [[nodiscard]] std::vector<Piece> Claim(const std::string& name, ByteRange range, bool isReadAgain,
                                           std::uint64_t mostMissing = UINT64_MAX);
    /// Asks the server for a missing piece. One that cannot be had is forgotten: its reader asks again, and
    /// tells why.
    void Fetch(Piece& piece) noexcept;

    /// Copies what is here from a byte of the file on, and waits for what is on its way. Returns the number
    /// of bytes; when there are none, `size` is lowered to the number up to the next part.
    [[nodiscard]] std::size_t Read(const std::string& name, std::uint64_t offset, char* out,
                                   std::size_t& size);
    void CountReader(const std::string& name);
    void DropReader(const std::string& name);

    [[nodiscard]] std::uint64_t GetBound() const { return bound; }

private:
    struct Part {
        std::uint64_t end = 0;
        std::unique_ptr<char[]> bytes; ///< null while on its way
        unsigned holds = 0;
        std::uint64_t stamp = 0; ///< the least goes first
    };
    struct File {
        std::string name;
        std::map<std::uint64_t, std::shared_ptr<Part>> parts; ///< by first byte, without overlap
        std::uint64_t size = UINT64_MAX;                      ///< as far as known
        unsigned readers = 0;
    };

    FetchedBytes();
    void Hold(Part& part, File& file, std::uint64_t first);
    void Release(const Piece& piece) noexcept;
    [[nodiscard]] static bool IsListed(const Piece& piece);
    void Forget(const Piece& piece);
    void MakeRoom();

    const std::uint64_t bound, grain, pieceBytes;
    std::uint64_t kept = 0, held = 0, clock = 0; ///< bytes of all parts, and of those that somebody holds
    std::mutex mutex;
    std::condition_variable hasCome;
    std::counting_semaphore<> requests{mostRequests};
    std::map<std::string, std::shared_ptr<File>> files;
    std::set<std::tuple<std::uint64_t, File*, std::uint64_t>> free; ///< parts that may go: stamp, first byte
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

private:
    std::vector<FetchedBytes::Piece> pieces;
};

} // namespace rasterhost
