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

/// Writes a cloud-optimised GeoTIFF in one pass. Overviews are made while the rows of the full size pass, as
/// GDAL's driver makes them. In such a file they stand before the full size, so all tiles wait in
/// a spool.
class CogWriter : public TileSink {
public:
    /// `file` is a GeoTIFF without pixels that GDAL has made and closed, with the plan's options: the tags
    /// are taken of it, and Finish replaces it. Null when it cannot be read.
    [[nodiscard]] static std::unique_ptr<CogWriter>
    Open(const std::string& file, const std::string& spoolName, const OutputPlan& plan);
    ~CogWriter() override;

    [[nodiscard]] bool Pack(std::uint32_t rowCount, const unsigned char* tiles,
                            PackedTiles& packed) const override;
    [[nodiscard]] bool Write(std::uint32_t firstRow, std::uint32_t rowCount, unsigned char* tiles,
                             const unsigned char* valid, PackedTiles& packed) override;
    [[nodiscard]] bool Close() override { return true; }
    /// Writes the file, after all rows. `mask` is that of the full size, null for a file without one;
    /// `progress` as WriteCog has it. False when it is cancelled or cannot be written.
    [[nodiscard]] bool Finish(const OutputMask* mask, const std::function<bool(double)>& progress);

    /// What a writer of this plan holds in memory.
    [[nodiscard]] static std::uint64_t CountBytes(const OutputPlan& plan);
    /// What it stores, at most, before tiles are compressed: the file, and the tiles that memory does not
    /// hold.
    [[nodiscard]] static std::uint64_t CountStored(const OutputPlan& plan);

private:
    /// An overview, or the full size, whose tiles are not made of its rows.
    struct Level {
        LevelRows rows;
        OutputMask mask;
        std::uint32_t packedRows = 0;
    };

    CogWriter(const OutputPlan& outputPlan, const std::string& fileName, const std::string& spoolName);
    bool Spool(const unsigned char* tiles, std::size_t count, PackedTiles& packed, std::size_t level);
    void AddRows(std::uint32_t rowCount, std::uint32_t rowInTiles, const unsigned char* tiles,
                 const unsigned char* valid);
    bool Advance();
    bool PackRows(std::size_t level);
    bool AddMask(const OutputMask& mask, std::size_t level);

    const OutputPlan plan;
    const std::string file;
    TileSpool spool;
    TiffDirectory main;
    std::unique_ptr<TilePacker> packer;
    std::vector<Level> levels;
    std::vector<CogLevel> places;       ///< of the same
    std::vector<unsigned char> tileRow; ///< of an overview, on its way to be compressed
    PackedTiles packedRow;
};

} // namespace rasterhost
