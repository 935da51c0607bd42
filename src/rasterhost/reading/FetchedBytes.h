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

/// The bytes fetched from files on servers, shared by all threads of the process. They are bounded (256 MB,
/// or twice CPL_VSIL_CURL_CACHE_SIZE), including bytes on their way. Files are read through it by their
/// KeptName, and forgotten when the last reader has closed them.
class FetchedBytes {
    struct Part;
    struct File;

public:
    static constexpr std::ptrdiff_t mostRequests = 8; ///< at a time: what a server allows one client

    /// A part of a file, held as long as this lives. A missing part that has not been fetched by then is
    /// forgotten: its readers ask the server themselves.
    class Piece {
    public:
        Piece() = default; ///< holds nothing
        Piece(Piece&&) noexcept = default;
        Piece& operator=(Piece&&) = delete;
        ~Piece();

        /// Neither here nor on its way: whoever claimed it must call Fetch.
        [[nodiscard]] bool IsMissing() const { return isMissing; }
        /// The number of bytes of a missing piece.
        [[nodiscard]] std::uint64_t CountBytes() const;

    private:
        friend FetchedBytes;
        std::shared_ptr<File> file;
        std::shared_ptr<Part> part;
        std::uint64_t first = 0;
        bool isMissing = false, isReadAgain = false;
    };

    /// Never destroyed, since files may still be closed while the program ends.
    static FetchedBytes& Get();

    /// The parts that make up a range, extended to whole blocks of GDAL's size at its ends. Stops when the
    /// missing parts have `mostMissing` bytes or more, or when all that is held fills the bound. Empty for a
    /// file that nobody reads by KeptName. To make room, parts that nobody holds are dropped: first those
    /// that are not read again, then those that were held longest ago.
    [[nodiscard]] std::vector<Piece> Claim(const std::string& name, ByteRange range, bool isReadAgain,
                                           std::uint64_t mostMissing = UINT64_MAX);
    /// Fetches a missing piece from the server. A piece that cannot be fetched is forgotten: its reader asks
    /// again and reports the reason.
    void Fetch(Piece& piece) noexcept;

    /// Copies the bytes that are here, from an offset on, and waits for those on their way. Returns the
    /// number of bytes. If there are none, lowers `size` to the distance to the next part.
    [[nodiscard]] std::size_t Read(const std::string& name, std::uint64_t offset, char* out,
                                   std::size_t& size);
    void CountReader(const std::string& name);
    void DropReader(const std::string& name);

    [[nodiscard]] std::uint64_t GetBound() const { return bound; }

private:
    struct Part {
        std::uint64_t end = 0;
        std::unique_ptr<char[]> bytes; ///< null while it is on its way
        unsigned holds = 0;
        std::uint64_t stamp = 0; ///< the lowest is dropped first
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
    std::uint64_t kept = 0, held = 0, clock = 0; ///< bytes of all parts, and of those that are held
    std::mutex mutex;
    std::condition_variable hasCome;
    std::counting_semaphore<> requests{mostRequests};
    std::map<std::string, std::shared_ptr<File>> files;
    std::set<std::tuple<std::uint64_t, File*, std::uint64_t>> free; ///< parts that may be dropped: stamp,
                                                                    ///< file, first byte
};

/// The name by which GDAL reads a file of a server through the fetched bytes.
[[nodiscard]] std::string KeptName(const std::string& name);
/// The name that KeptName was given. Any other name is returned unchanged.
[[nodiscard]] std::string NameWithoutKept(const std::string& name);

/// Holds ranges of files as long as this lives. Missing ones are fetched first, by several requests at a
/// time.
class BytesAtHand {
public:
    explicit BytesAtHand(const std::vector<std::pair<std::string, ByteRange>>& ranges);
    BytesAtHand(const BytesAtHand&) = delete;
    BytesAtHand& operator=(const BytesAtHand&) = delete;

private:
    std::vector<FetchedBytes::Piece> pieces;
};

} // namespace rasterhost
