#include "rasterhost/writing/CogWriter.h"

#include "rasterhost/writing/CogOptions.h"

#include <oneapi/tbb/task_arena.h>
#include <tiff.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace rasterhost {

namespace {

/// Rows of the full size that are added to the overviews at a time.
constexpr std::uint32_t stepRows = 256;

/// Rows of a level that are held at a time. Of the full size: the rows being added. Of an overview: a row of
/// tiles, the rows added to it, and the rows within reach of the kernel.
std::uint32_t RowsToHold(const std::vector<CogLevel>& levels, std::size_t number, std::uint32_t tileRows) {
    constexpr std::uint32_t reach = 24;
    if (levels.size() == 1) return 0;
    return std::min(levels[number].rows, (number == 0 ? stepRows : tileRows + stepRows / 2) + reach);
}

std::vector<CogLevel> PlannedLevels(const OutputPlan& plan) {
    return LevelsOf(plan.options, plan.columns, plan.rows, plan.layout.tileRows);
}

std::uint64_t CountTileBytes(const OutputPlan& plan) {
    std::uint64_t bytes = 0;
    for (const CogLevel& level : PlannedLevels(plan))
        bytes += std::uint64_t{level.columns} * level.rows * plan.GetPixelBytes();
    return bytes;
}

} // namespace

CogWriter::CogWriter(const OutputPlan& outputPlan, const std::string& fileName, const std::string& spoolName)
    : plan(outputPlan), file(fileName), spool(spoolName) {}

CogWriter::~CogWriter() = default;

std::unique_ptr<CogWriter> CogWriter::Open(const std::string& file, const std::string& spoolName,
                                           const OutputPlan& plan) {
    std::unique_ptr<CogWriter> writer(new CogWriter(plan, file, spoolName));
    auto tags = TiffDirectory::ReadFirst(file);
    if (!tags) return nullptr;
    writer->main = std::move(*tags);
    const auto number = [&](std::uint16_t tag, std::uint64_t otherwise) {
        return static_cast<std::uint16_t>(writer->main.GetNumber(tag, otherwise));
    };
    TileForm form;
    form.columns = number(TIFFTAG_TILEWIDTH, 0);
    form.rows = number(TIFFTAG_TILELENGTH, 0);
    form.bits = number(TIFFTAG_BITSPERSAMPLE, 1);
    form.samples = number(TIFFTAG_SAMPLESPERPIXEL, 1);
    form.compression = number(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    const TileCodec* codec = FindTileCodec(form.compression);
    const bool isAsPlanned = codec && form.columns == plan.layout.tileColumns &&
                             form.rows == plan.layout.tileRows && form.bits == plan.bits &&
                             form.samples == plan.rules.GetFileBands();
    if (!isAsPlanned) return nullptr;
    if (codec->hasPredictor) form.predictor = number(TIFFTAG_PREDICTOR, PREDICTOR_NONE);
    codec->SetLevel(plan.pixelOptions, form);
    writer->packer = std::make_unique<TilePacker>(form);
    writer->places = PlannedLevels(plan);
    const SampleForm samples{plan.rules.GetFileBands(), plan.bits, plan.rules.noData};
    for (std::size_t i = 0; i < writer->places.size(); ++i) {
        const CogLevel& level = writer->places[i];
        writer->levels.push_back(
            {LevelRows(samples, level.columns, level.rows, RowsToHold(writer->places, i, form.rows)),
             OutputMask(level.columns), 0});
    }
    return writer;
}

bool CogWriter::Pack(std::uint32_t rowCount, const unsigned char* tiles, PackedTiles& packed) const {
    return packer->Pack(packer->CountTiles(plan.columns, rowCount), tiles, packed);
}

bool CogWriter::Spool(const unsigned char* tiles, std::size_t count, PackedTiles& packed, std::size_t level) {
    if (packer->Compresses()) return spool.Add(packed, places[level].tiles);
    const std::size_t bytes = packer->GetForm().GetBytes();
    for (std::size_t tile = 0; tile < count; ++tile)
        if (!spool.Add(tiles + tile * bytes, bytes, places[level].tiles)) return false;
    return true;
}

bool CogWriter::Write(std::uint32_t, std::uint32_t rowCount, unsigned char* tiles, const OutputMask& mask,
                      PackedTiles& packed) {
    if (!Spool(tiles, packer->CountTiles(plan.columns, rowCount), packed, 0)) return false;
    if (levels.size() == 1) return true;
    const TileForm& form = packer->GetForm();
    const std::size_t tilesAcross = packer->CountTiles(plan.columns, 1);
    for (std::uint32_t row = 0; row < rowCount;) {
        const std::uint32_t inTiles = row % form.rows;
        const std::uint32_t count = std::min({stepRows, form.rows - inTiles, rowCount - row});
        AddRows(count, inTiles, tiles + row / form.rows * tilesAcross * form.GetBytes(), mask, row);
        if (!Advance()) return false;
        row += count;
    }
    return true;
}

/// Adds rows of a row of tiles, the first of which has row `maskRow` of the mask.
void CogWriter::AddRows(std::uint32_t rowCount, std::uint32_t rowInTiles, const unsigned char* tiles,
                        const OutputMask& mask, std::uint32_t maskRow) {
    const TileForm& form = packer->GetForm();
    LevelRows& rows = levels.front().rows;
    const std::uint32_t first = rows.GetEnd();
    rows.Append(rowCount);
    for (std::uint32_t row = 0; row < rowCount; ++row) {
        const unsigned char* from = tiles + (rowInTiles + row) * form.GetRowBytes();
        unsigned char* to = rows.GetSamples(first + row);
        for (std::size_t at = 0; at < rows.GetRowBytes(); at += form.GetRowBytes(), from += form.GetBytes())
            std::memcpy(to + at, from, std::min(form.GetRowBytes(), rows.GetRowBytes() - at));
    }
    // GDAL uses a last band as a mask only in files of two or four bands; elsewhere it resamples it like any
    // other band.
    const std::uint32_t bands = plan.rules.GetFileBands();
    const bool isMasked =
        mask.GetPixelsWithoutData() > 0 && (!plan.rules.hasAlpha || bands == 2 || bands == 4);
    for (std::uint32_t row = 0; isMasked && row < rowCount; ++row)
        mask.ExpandRow(maskRow + row, rows.GetValid(first + row));
}

/// Makes everything that the rows so far allow.
bool CogWriter::Advance() {
    for (std::size_t level = 1; level < levels.size(); ++level) {
        Level& finer = levels[level - 1];
        Level& made = levels[level];
        const std::uint32_t first = made.rows.GetEnd(), end = CountReducible(finer.rows, made.rows);
        const Marking marking = level == 1 || plan.rules.hasAlpha ? Marking::Any : Marking::Most;
        bool isMarked = false;
        if (!Reduce(finer.rows, made.rows, end, marking, isMarked)) return false;
        for (std::uint32_t row = first; row < end; ++row)
            made.mask.AddRow(isMarked ? made.rows.GetValid(row) : nullptr);
        if (!PackRows(level)) return false;
        const std::uint32_t needed = FirstNeeded(finer.rows, made.rows, end);
        finer.rows.DropBefore(level == 1 ? needed : std::min(needed, finer.packedRows));
    }
    levels.back().rows.DropBefore(levels.back().packedRows);
    return true;
}

/// Compresses the complete rows of tiles of an overview.
bool CogWriter::PackRows(std::size_t number) {
    const TileForm& form = packer->GetForm();
    Level& level = levels[number];
    LevelRows& rows = level.rows;
    const std::size_t tiles = packer->CountTiles(rows.GetColumns(), 1);
    while (level.packedRows < rows.GetRows()) {
        const std::uint32_t end = std::min(level.packedRows + form.rows, rows.GetRows());
        if (rows.GetEnd() < end) return true;
        const bool isFull = end - level.packedRows == form.rows && rows.GetColumns() % form.columns == 0;
        tileRow.resize(tiles * form.GetBytes());
        if (!isFull) std::fill(tileRow.begin(), tileRow.end(), static_cast<unsigned char>(0));
        for (std::uint32_t row = level.packedRows; row < end; ++row) {
            const unsigned char* from = rows.GetSamples(row);
            unsigned char* to = tileRow.data() + (row - level.packedRows) * form.GetRowBytes();
            for (std::size_t at = 0; at < rows.GetRowBytes(); at += form.GetRowBytes(), to += form.GetBytes())
                std::memcpy(to, from + at, std::min(form.GetRowBytes(), rows.GetRowBytes() - at));
        }
        if (!packer->Pack(tiles, tileRow.data(), packedRow) ||
            !Spool(tileRow.data(), tiles, packedRow, number))
            return false;
        level.packedRows = end;
    }
    return true;
}

/// Adds the mask tiles of a level to the spool, with one bit per pixel.
bool CogWriter::AddMask(const OutputMask& mask, std::size_t number) {
    TileForm form;
    form.columns = packer->GetForm().columns;
    form.rows = packer->GetForm().rows;
    form.bits = form.samples = 1;
    form.compression = COMPRESSION_ADOBE_DEFLATE;
    const TilePacker maskPacker(form);
    CogLevel& level = places[number];
    const std::size_t tiles = maskPacker.CountTiles(level.columns, 1);
    tileRow.resize(tiles * form.GetBytes());
    for (std::uint32_t top = 0; top < level.rows; top += form.rows) {
        mask.MakeTiles(top, form, tileRow.data());
        if (!maskPacker.Pack(tiles, tileRow.data(), packedRow)) return false;
        if (!spool.Add(packedRow, level.maskTiles)) return false;
    }
    return true;
}

bool CogWriter::Finish(const OutputMask* mask, const std::function<bool(double)>& progress) {
    bool isGood = true;
    oneapi::tbb::task_arena arena(plan.threads);
    arena.execute([&] {
        for (std::size_t level = 0; mask && isGood && level < levels.size(); ++level)
            isGood = AddMask(level == 0 ? *mask : levels[level].mask, level);
    });
    return isGood && WriteCog(file, main, places, spool, BigTiffOf(plan.options), progress);
}

std::uint64_t CogWriter::CountBytes(const OutputPlan& plan) {
    const std::vector<CogLevel> levels = PlannedLevels(plan);
    // Compressed noise may take half as much space again.
    const std::uint64_t spooled = CountTileBytes(plan) * (plan.isCompressed ? 3 : 2) / 2;
    std::uint64_t bytes = std::min(TileSpool::mostHeld, spooled);
    if (levels.size() == 1) return bytes;
    for (std::size_t i = 0; i < levels.size(); ++i)
        bytes += std::uint64_t{levels[i].columns} * RowsToHold(levels, i, plan.layout.tileRows) *
                 (plan.GetPixelBytes() + 1);
    const std::uint64_t tileRow = std::uint64_t{levels[1].columns + plan.layout.tileColumns} *
                                  plan.layout.tileRows * plan.GetPixelBytes();
    return bytes + tileRow * (plan.isCompressed ? 2 : 1) + CountReducing(plan.columns, plan.threads);
}

std::uint64_t CogWriter::CountStored(const OutputPlan& plan) {
    const std::uint64_t bytes = CountTileBytes(plan);
    return 2 * bytes - std::min(TileSpool::mostHeld, bytes);
}

} // namespace rasterhost
