#pragma once

#include "rasterhost/writing/CogFile.h"
#include "rasterhost/writing/LevelRows.h"
#include "rasterhost/writing/OutputMask.h"
#include "rasterhost/writing/OutputPlan.h"
#include "rasterhost/writing/TileSink.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace rasterhost {

/// Writes a cloud-optimised GeoTIFF in one pass. Overviews are made, as GDAL's driver makes them, while the
/// rows of the full size pass. In the file they stand before the full size, so all tiles wait in a spool.
class CogWriter : public TileSink {
public:
    /// `file` is a GeoTIFF without pixels that GDAL has created with the plan's options and closed. The tags
    /// are taken from it, and Finish replaces it. Null when it cannot be read.
    [[nodiscard]] static std::unique_ptr<CogWriter>
    Open(const std::string& file, const std::string& spoolName, const OutputPlan& plan);
    ~CogWriter() override;

    [[nodiscard]] bool SharesWork() const override { return true; }
    [[nodiscard]] bool Pack(std::uint32_t rowCount, const unsigned char* tiles,
                            PackedTiles& packed) const override;
    [[nodiscard]] bool Write(std::uint32_t firstRow, std::uint32_t rowCount, unsigned char* tiles,
                             const OutputMask& mask, PackedTiles& packed) override;
    [[nodiscard]] bool Close() override { return true; }
    /// Writes the file after all rows have been written. `mask` is that of the full size, or null for a file
    /// without one. `progress` as in WriteCog. False when it is cancelled or cannot be written.
    [[nodiscard]] bool Finish(const OutputMask* mask, const std::function<bool(double)>& progress);

    /// Bytes of memory that a writer of this plan holds.
    [[nodiscard]] static std::uint64_t CountBytes(const OutputPlan& plan);
    /// The most bytes that it stores on disk, before compression: the file, and the tiles that do not fit
    /// into memory.
    [[nodiscard]] static std::uint64_t CountStored(const OutputPlan& plan);

private:
    /// An overview, or the full size, whose tiles do not come from `rows`.
    struct Level {
        LevelRows rows;
        OutputMask mask;
        std::uint32_t packedRows = 0;
    };

    CogWriter(const OutputPlan& outputPlan, const std::string& fileName, const std::string& spoolName);
    bool Spool(const unsigned char* tiles, std::size_t count, PackedTiles& packed, std::size_t level);
    void AddRows(std::uint32_t rowCount, std::uint32_t rowInTiles, const unsigned char* tiles,
                 const OutputMask& mask, std::uint32_t maskRow);
    bool Advance();
    bool PackRows(std::size_t level);
    bool AddMask(const OutputMask& mask, std::size_t level);

    const OutputPlan plan;
    const std::string file;
    TileSpool spool;
    TiffDirectory main;
    std::unique_ptr<TilePacker> packer;
    std::vector<Level> levels;
    std::vector<CogLevel> places;       ///< of the levels
    std::vector<unsigned char> tileRow; ///< one row of tiles of an overview, before compression
    PackedTiles packedRow;
};

} // namespace rasterhost
