#include "rasterhost/writing/CogFile.h"

#include "fundament/Text.h"

#include <cpl_error.h>
#include <cpl_vsi.h>
#include <tiff.h>

#include <algorithm>
#include <array>
#include <memory>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;

namespace {

constexpr std::size_t leader = 4, trailer = 4; // bytes around a tile
constexpr std::uint16_t noDataTag = 42113;     // defined by GDAL

std::string StructureText(bool hasMask) {
    std::string text =
        "LAYOUT=IFDS_BEFORE_DATA\nBLOCK_ORDER=ROW_MAJOR\nBLOCK_LEADER=SIZE_AS_UINT4\n"
        "BLOCK_TRAILER=LAST_4_BYTES_REPEATED\n"
        "KNOWN_INCOMPATIBLE_EDITION=NO\n "; // with room for the YES that GDAL writes on an update
    if (hasMask) text += "MASK_INTERLEAVED_WITH_IMAGERY=YES\n";
    return FormatString("GDAL_STRUCTURAL_METADATA_SIZE=%06zu bytes\n", text.size()) + text;
}

void SetSize(TiffDirectory& directory, const CogLevel& level, std::uint32_t kind) {
    if (kind != 0) directory.Set(TIFFTAG_SUBFILETYPE, TIFF_LONG, {kind});
    const auto set = [&](std::uint16_t tag, std::uint32_t side) {
        directory.Set(tag, side <= 0xFFFFu ? TIFF_SHORT : TIFF_LONG, {side});
    };
    set(TIFFTAG_IMAGEWIDTH, level.columns);
    set(TIFFTAG_IMAGELENGTH, level.rows);
}

TiffDirectory OverviewOf(const TiffDirectory& main) {
    TiffDirectory directory = main;
    directory.Keep({TIFFTAG_BITSPERSAMPLE, TIFFTAG_COMPRESSION, TIFFTAG_PHOTOMETRIC, TIFFTAG_SAMPLESPERPIXEL,
                    TIFFTAG_PLANARCONFIG, TIFFTAG_PREDICTOR, TIFFTAG_TILEWIDTH, TIFFTAG_TILELENGTH,
                    TIFFTAG_EXTRASAMPLES, TIFFTAG_SAMPLEFORMAT, noDataTag});
    return directory;
}

TiffDirectory MaskOf(const TiffDirectory& main) {
    TiffDirectory directory = main;
    directory.Keep({TIFFTAG_PLANARCONFIG, TIFFTAG_TILEWIDTH, TIFFTAG_TILELENGTH});
    directory.Set(TIFFTAG_BITSPERSAMPLE, TIFF_SHORT, {1});
    directory.Set(TIFFTAG_COMPRESSION, TIFF_SHORT, {COMPRESSION_ADOBE_DEFLATE});
    directory.Set(TIFFTAG_PHOTOMETRIC, TIFF_SHORT, {PHOTOMETRIC_MASK});
    directory.Set(TIFFTAG_SAMPLESPERPIXEL, TIFF_SHORT, {1});
    directory.Set(TIFFTAG_SAMPLEFORMAT, TIFF_SHORT, {SAMPLEFORMAT_UINT});
    return directory;
}

class CogLayout {
public:
    CogLayout(const TiffDirectory& main, const std::vector<CogLevel>& fileLevels, bool isBigTiff)
        : levels(fileLevels), isBig(isBigTiff), hasMask(!levels.front().maskTiles.empty()),
          structure(StructureText(hasMask)) {
        for (const bool isMask : {false, true})
            for (std::size_t level = 0; level < levels.size() && (hasMask || !isMask); ++level)
                parts.push_back({level,
                                 isMask,
                                 isMask      ? MaskOf(main)
                                 : level > 0 ? OverviewOf(main)
                                             : main,
                                 {}});
        for (Part& part : parts) {
            const std::uint32_t kind =
                (part.level > 0 ? FILETYPE_REDUCEDIMAGE : 0u) | (part.isMask ? FILETYPE_MASK : 0u);
            SetSize(part.directory, levels[part.level], kind);
            part.offsets.resize(TilesOf(part).size());
            SetTiles(part);
        }
        // The mask of the full size follows the full size; those of overviews follow all overviews.
        std::stable_sort(parts.begin(), parts.end(),
                         [](const Part& a, const Part& b) { return (a.level > 0) < (b.level > 0); });
        PlaceTiles();
    }

    [[nodiscard]] std::uint64_t GetBytes() const { return bytes; }

    [[nodiscard]] std::vector<unsigned char> Head() {
        std::vector<unsigned char> head;
        const std::uint64_t first = FirstDirectory();
        const std::string start = isBig ? std::string("II+\0\x08\0\0\0", 8) : std::string("II*\0", 4);
        head.insert(head.end(), start.begin(), start.end());
        for (std::size_t byte = 0; byte < (isBig ? 8u : 4u); ++byte)
            head.push_back(static_cast<unsigned char>(first >> (8 * byte)));
        head.insert(head.end(), structure.begin(), structure.end());
        head.resize(first);
        for (Part& part : parts) {
            SetTiles(part);
            const std::uint64_t next = head.size() + part.directory.CountBytes(isBig);
            part.directory.Write(isBig, head.size(), &part == &parts.back() ? 0 : next, head);
        }
        return head;
    }

private:
    struct Part {
        std::size_t level;
        bool isMask;
        TiffDirectory directory;
        std::vector<std::uint64_t> offsets;
    };

    [[nodiscard]] std::uint64_t FirstDirectory() const {
        const std::size_t end = (isBig ? 16 : 8) + structure.size();
        return end + end % 2;
    }
    [[nodiscard]] const std::vector<TilePlace>& TilesOf(const Part& part) const {
        return part.isMask ? levels[part.level].maskTiles : levels[part.level].tiles;
    }
    void SetTiles(Part& part) const {
        std::vector<std::uint64_t> sizes;
        for (const TilePlace& tile : TilesOf(part))
            sizes.push_back(tile.bytes);
        part.directory.Set(TIFFTAG_TILEOFFSETS, TIFF_LONG8, part.offsets);
        part.directory.Set(TIFFTAG_TILEBYTECOUNTS, TIFF_LONG, sizes);
    }
    void PlaceTiles() {
        bytes = FirstDirectory();
        for (const Part& part : parts)
            bytes += part.directory.CountBytes(isBig);
        for (std::size_t level = levels.size(); level-- > 0;)
            for (std::size_t tile = 0; tile < levels[level].tiles.size(); ++tile)
                for (Part& part : parts)
                    if (part.level == level) {
                        part.offsets[tile] = bytes + leader;
                        bytes += leader + TilesOf(part)[tile].bytes + trailer;
                    }
    }

    const std::vector<CogLevel>& levels;
    const bool isBig, hasMask;
    const std::string structure;
    std::vector<Part> parts; ///< in the order of their directories
    std::uint64_t bytes = 0;
};

bool Copy(TileSpool& spool, const TilePlace& tile, std::vector<unsigned char>& room, VSILFILE* file) {
    const unsigned char* bytes = spool.Get(tile, room);
    if (!bytes) return false;
    std::array<unsigned char, leader> size{};
    for (std::size_t byte = 0; byte < leader; ++byte)
        size[byte] = static_cast<unsigned char>(tile.bytes >> (8 * byte));
    std::array<unsigned char, trailer> last{};
    std::copy(bytes + tile.bytes - std::min<std::size_t>(trailer, tile.bytes), bytes + tile.bytes,
              last.begin());
    return VSIFWriteL(size.data(), 1, leader, file) == leader &&
           VSIFWriteL(bytes, 1, tile.bytes, file) == tile.bytes &&
           VSIFWriteL(last.data(), 1, trailer, file) == trailer;
}

} // namespace

bool WriteCog(const std::string& name, const TiffDirectory& main, const std::vector<CogLevel>& levels,
              TileSpool& spool, BigTiff bigTiff, const std::function<bool(double)>& progress) {
    constexpr std::uint64_t mostClassic = 0xFFFFFFFFu;
    CogLayout classic(main, levels, false);
    const bool isBig =
        bigTiff == BigTiff::Always || (bigTiff == BigTiff::IfNeeded && classic.GetBytes() > mostClassic);
    if (!isBig && classic.GetBytes() > mostClassic) {
        CPLError(CE_Failure, CPLE_AppDefined,
                 "it is larger than 4 GB, which BIGTIFF=NO does not allow; leave that option out");
        return false;
    }
    CogLayout layout = isBig ? CogLayout(main, levels, true) : std::move(classic);
    // A new file: for one that was emptied, ext4 waits for the disk when the file is closed.
    VSIUnlink(name.c_str());
    std::unique_ptr<VSILFILE, decltype(&VSIFCloseL)> file(VSIFOpenL(name.c_str(), "wb"), &VSIFCloseL);
    if (!file) return false;
    const std::vector<unsigned char> head = layout.Head();
    bool isGood = VSIFWriteL(head.data(), 1, head.size(), file.get()) == head.size();
    std::vector<unsigned char> room;
    auto copy = [&, done = std::uint64_t{head.size()}](const TilePlace& tile) mutable {
        if (!Copy(spool, tile, room, file.get())) return false;
        done += leader + tile.bytes + trailer;
        return !progress || progress(static_cast<double>(done) / static_cast<double>(layout.GetBytes()));
    };
    for (std::size_t level = levels.size(); isGood && level-- > 0;) {
        const CogLevel& each = levels[level];
        for (std::size_t tile = 0; isGood && tile < each.tiles.size(); ++tile)
            isGood = copy(each.tiles[tile]) && (each.maskTiles.empty() || copy(each.maskTiles[tile]));
    }
    return VSIFCloseL(file.release()) == 0 && isGood;
}

} // namespace rasterhost
