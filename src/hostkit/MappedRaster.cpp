#include "hostkit/MappedRaster.h"

#include "fundament/Text.h"
#include "hostkit/HostKitStatus.h"
#include "hostkit/MaskedSample.h"
#include "hostkit/RequestRecord.h"
#include "kernels/BilinearRow.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace hostkit {

using KOVA::Tessara::Fundament::FormatString;

namespace {

/// How many columns are examined together, at most and at least.
constexpr std::uint32_t columnsAtOnce = 512;
constexpr std::size_t fewestAtOnce = 16;
/// A larger share of the source around a column takes longer to examine than its halves.
constexpr std::uint64_t mostPixelsPerColumn = 16;

/// Between two columns whose positions lie on the source and on a straight line, roundings move no other off
/// the line by more than this share of the source's size. The control points are at most some hundred columns
/// away, so their positions are below as many sizes, and a position has few roundings of 2^-53 of that.
constexpr double mostRounding = 0x1p-36;

/// The range of the positions on straight lines whose ends are added.
class PositionRange {
public:
    explicit PositionRange(double mostError) : error(mostError) {}

    void Add(double position) {
        isNumber = isNumber && !std::isnan(position);
        least = std::min(least, position);
        most = std::max(most, position);
    }
    /// False also when a position is not a number.
    [[nodiscard]] bool LiesWithin(double from, double to) const {
        return isNumber && Least() >= from && Most() <= to;
    }

    [[nodiscard]] double Least() const { return least - error; }
    [[nodiscard]] double Most() const { return most + error; }

private:
    double least = HUGE_VAL, most = -HUGE_VAL;
    double error;
    bool isNumber = true;
};

/// The pixel of the source at or before a position.
std::uint32_t ClampIndex(double position, std::uint32_t pixels) {
    return static_cast<std::uint32_t>(std::clamp(position, 0.0, pixels - 1.0));
}

} // namespace

MappedRaster::MappedRaster() : PlacedWindow("Host.MappedRaster") {}

bool MappedRaster::Open(const RasterInfo& pan, const PixelRect& panWindow, const RasterInfo& sourceInfo,
                        const SampleBlock& source, const PixelMap& map, Resampling resampling) {
    if (sourceInfo.bitsPerBand != 8 && sourceInfo.bitsPerBand != 16)
        return Fail(HostKitStatus::DepthNotSupported,
                    FormatString("samples of %u bits cannot be interpolated; 8 and 16 bits can",
                                 sourceInfo.bitsPerBand));
    if (!source.samples ||
        !source.rect.Contains(map.SourceRect(panWindow, sourceInfo.cols, sourceInfo.rows, resampling)))
        return Fail(HostKitStatus::SourceNotCovered,
                    "the samples at hand do not cover what the window needs");
    info = WindowInfo(pan, panWindow);
    info.bandsPerPixel = sourceInfo.bandsPerPixel;
    info.bitsPerBand = sourceInfo.bitsPerBand;
    info.colorSpace = sourceInfo.colorSpace;
    available = WholeImage(info);
    window = available;
    pixelMap = &map;
    kind = resampling;
    panRect = panWindow;
    samples = source;
    FindDataRuns();
    sourceColumns = sourceInfo.cols;
    sourceRows = sourceInfo.rows;
    seen.reset();
    starts.clear();
    map.FindLines(panWindow.row0, panWindow.col0, panWindow.col1, lines);
    for (std::size_t start = 0; const kernels::MappedLine& line : lines) {
        starts.push_back(start);
        start += line.pixels;
    }
    x.resize(info.cols);
    y.resize(info.cols);
    reach.resize(info.cols);
    output.resize(std::size_t{info.cols} * info.bandsPerPixel);
    return true;
}

/// Most images lack data only along their edges, so one run of each row tells most.
void MappedRaster::FindDataRuns() {
    dataRuns.clear();
    const std::uint32_t columns = samples.rect.GetColumns();
    for (std::uint32_t row = 0; samples.valid && row < samples.rect.GetRows(); ++row) {
        const unsigned char* valid = samples.valid + std::size_t{row} * columns;
        const unsigned char* end = valid + columns;
        const unsigned char* first = std::find_if(valid, end, [](unsigned char has) { return has != 0; });
        const void* gap = std::memchr(first, 0, static_cast<std::size_t>(end - first));
        const unsigned char* last = gap ? static_cast<const unsigned char*>(gap) : end;
        dataRuns.push_back({samples.rect.col0 + static_cast<std::uint32_t>(first - valid),
                            samples.rect.col0 + static_cast<std::uint32_t>(last - valid)});
    }
}

/// Whether all, some or none of the pixels of a rectangle have data. It lies within those at hand.
Reach MappedRaster::FindData(const PixelRect& rect) const {
    bool isAll = true, isNone = true;
    const std::size_t columns = rect.GetColumns();
    for (std::uint32_t row = rect.row0; row < rect.row1; ++row) {
        const std::size_t number = row - samples.rect.row0;
        const DataRun& run = dataRuns[number];
        const unsigned char* valid =
            samples.valid + number * samples.rect.GetColumns() + (rect.col0 - samples.rect.col0);
        const bool isInRun = run.first <= rect.col0 && run.end >= rect.col1;
        isAll = isAll && (isInRun || std::memchr(valid, 0, columns) == nullptr);
        isNone = isNone && !isInRun &&
                 std::all_of(valid, valid + columns, [](unsigned char has) { return has == 0; });
        if (!isAll && !isNone) return Reach::Some;
    }
    return isAll ? Reach::All : Reach::None;
}

/// True when all pixels from `before` a position to `after` it have data.
bool MappedRaster::HasAll(std::size_t column, int before, int after) const {
    if (!samples.valid) return true;
    const double left = std::floor(x[column]), top = std::floor(y[column]);
    return FindData({ClampIndex(left - before, sourceColumns), ClampIndex(top - before, sourceRows),
                     ClampIndex(left + after, sourceColumns) + 1, ClampIndex(top + after, sourceRows) + 1}) ==
           Reach::All;
}

Reach MappedRaster::FindOne(std::size_t column) const {
    const bool isWithin = x[column] >= -1.5 && x[column] <= sourceColumns + 0.5 && y[column] >= -1.5 &&
                          y[column] <= sourceRows + 0.5;
    if (!isWithin) return Reach::None;
    if (HasAll(column, 0, 1)) return Reach::All;
    unsigned short none = 0;
    return SampleMasked(samples, 0, kernels::ClampTap(kernels::SplitPosition(x[column]), sourceColumns),
                        kernels::ClampTap(kernels::SplitPosition(y[column]), sourceRows), &none)
               ? Reach::Some
               : Reach::None;
}

std::size_t MappedRaster::LineOf(std::size_t column) const {
    return static_cast<std::size_t>(std::upper_bound(starts.begin(), starts.end(), column) - starts.begin()) -
           1;
}

kernels::MappedPath MappedRaster::PathFrom(std::size_t column) const {
    const std::size_t line = LineOf(column);
    return {&lines[line], column - starts[line]};
}

/// What these columns have in common, found from the rectangle that they lie in. All when every pixel that
/// they are interpolated from has data; Some when each column must be examined.
MappedRaster::Run MappedRaster::FindCommon(std::size_t first, std::size_t end) const {
    const double rounding = mostRounding * (1.0 * sourceColumns + sourceRows);
    PositionRange across(rounding), down(rounding);
    const auto see = [&](const kernels::MappedLine& line, double atX, double atY) {
        across.Add(line.Shrink(atX));
        down.Add(line.Shrink(atY));
    };
    const auto seeColumn = [&](std::size_t line, std::size_t column) {
        double atX = 0.0, atY = 0.0;
        kernels::FillLineScalar(kernels::MappedPath{&lines[line], column - starts[line]}.Next(1), &atX, &atY);
        across.Add(atX);
        down.Add(atY);
    };
    std::size_t line = LineOf(first);
    seeColumn(line, first);
    for (; line + 1 < lines.size() && starts[line + 1] < end; ++line) {
        see(lines[line], lines[line].toX, lines[line].toY);
        see(lines[line + 1], lines[line + 1].fromX, lines[line + 1].fromY);
    }
    seeColumn(line, end - 1);
    if (!across.LiesWithin(-1.5, sourceColumns + 0.5) || !down.LiesWithin(-1.5, sourceRows + 0.5))
        return {end, Reach::Some, false};
    if (!samples.valid) return {end, Reach::All, true};
    const double before = kind == Resampling::Cubic ? 1.0 : 0.0;
    const PixelRect& at = samples.rect; // the pixels beyond it are not needed
    const PixelRect rect{std::max(ClampIndex(across.Least() - before, sourceColumns), at.col0),
                         std::max(ClampIndex(down.Least() - before, sourceRows), at.row0),
                         std::min(ClampIndex(across.Most() + 1.0 + before, sourceColumns) + 1, at.col1),
                         std::min(ClampIndex(down.Most() + 1.0 + before, sourceRows) + 1, at.row1)};
    const std::uint64_t pixels = std::uint64_t{rect.GetRows()} * rect.GetColumns();
    if (pixels > mostPixelsPerColumn * (end - first)) return {end, Reach::Some, true};
    return {end, FindData(rect), true};
}

/// Adds the runs of these columns. Columns that differ are examined again in halves.
void MappedRaster::LookAt(std::size_t first, std::size_t end) {
    const Run found = FindCommon(first, end);
    if (found.reach == Reach::Some && end - first > fewestAtOnce) {
        const std::size_t middle = first + (end - first) / 2;
        LookAt(first, middle);
        LookAt(middle, end);
        return;
    }
    if (!runs.empty() && runs.back().reach == found.reach && runs.back().isWithin == found.isWithin)
        runs.back().end = end;
    else
        runs.push_back(found);
    Reach* const at = reach.data();
    if (found.reach == Reach::Some) {
        static const kernels::FillLine fillLine = kernels::FillLineFor(kernels::ChosenSimdTarget());
        PathFrom(first).Fill(fillLine, end - first, &x[first], &y[first]);
        for (std::size_t column = first; column < end; ++column)
            at[column] = FindOne(column);
    } else {
        std::fill(at + first, at + end, found.reach);
    }
    const auto lacks = [](Reach of) { return of != Reach::All; };
    hasGaps = hasGaps || (found.reach != Reach::All && std::any_of(at + first, at + end, lacks));
}

/// Finds the lines of a row and its reach of data, once per row.
void MappedRaster::Look(std::uint32_t row) {
    if (seen == row) return;
    runs.clear();
    hasGaps = false;
    pixelMap->FindLines(panRect.row0 + row, panRect.col0, panRect.col1, lines);
    for (std::uint32_t first = 0, end = 0; first < info.cols; first = end) {
        end = std::min(first + columnsAtOnce, info.cols);
        LookAt(first, end);
    }
    seen = row;
}

template <class T>
kernels::MappedSource<T> MappedRaster::GetSource() const {
    return {reinterpret_cast<const T*>(samples.samples),
            samples.rowStride,
            (samples.rect.GetRows() - 1) * samples.rowStride + samples.rect.GetColumns() * PixelBytes(info),
            samples.rect.col0,
            samples.rect.row0,
            sourceColumns,
            sourceRows,
            info.bandsPerPixel};
}

template <class T>
kernels::MappedRow<T> MappedRaster::ChooseRow() const {
    static const kernels::MappedRows<T> rows = kernels::MappedRowsFor<T>(kernels::ChosenSimdTarget());
    return kind == Resampling::Cubic ? rows.cubic : rows.bilinear;
}

/// Samples columns that were examined one by one. If all of them lie on the source they are interpolated
/// together; then those without all neighbours are corrected.
template <class T>
void MappedRaster::SampleMixed(std::size_t first, const Run& run, T* out) const {
    const std::uint32_t bands = info.bandsPerPixel;
    const kernels::MappedSource<T> source = GetSource<T>();
    if (run.isWithin) ChooseRow<T>()(source, PathFrom(first), run.end - first, out);
    for (std::size_t column = first; column < run.end; ++column, out += bands) {
        const bool isCubic = kind == Resampling::Cubic && reach[column] == Reach::All && HasAll(column, 1, 2);
        if (reach[column] == Reach::None)
            std::fill_n(out, bands, T{0});
        else if (reach[column] == Reach::Some)
            SampleMasked(samples, bands, kernels::ClampTap(kernels::SplitPosition(x[column]), sourceColumns),
                         kernels::ClampTap(kernels::SplitPosition(y[column]), sourceRows), out);
        else if (run.isWithin && isCubic == (kind == Resampling::Cubic))
            continue;
        else if (isCubic)
            kernels::MappedCubicScalar(source, &x[column], &y[column], 1, out);
        else
            kernels::MappedBilinearScalar(source, &x[column], &y[column], 1, out);
    }
}

template <class T>
void MappedRaster::SampleRow(T* out) const {
    const kernels::MappedSource<T> source = GetSource<T>();
    const kernels::MappedRow<T> sample = ChooseRow<T>();
    std::size_t first = 0;
    for (const Run& run : runs) {
        T* to = out + first * source.bands;
        const std::size_t count = run.end - first;
        if (run.reach == Reach::All)
            sample(source, PathFrom(first), count, to);
        else if (run.reach == Reach::None)
            std::fill_n(to, count * source.bands, T{0});
        else
            SampleMixed(first, run, to);
        first = run.end;
    }
}

const unsigned char* MappedRaster::GetRow(std::uint32_t row) {
    try {
        if (!HoldsRow(row)) return nullptr;
        Look(row);
        auto* bytes = reinterpret_cast<unsigned char*>(output.data());
        if (info.bitsPerBand == 8)
            SampleRow(bytes);
        else
            SampleRow(output.data());
        return bytes + std::size_t{window.col0} * PixelBytes(info);
    } catch (...) {
        return nullptr;
    }
}

const Reach* MappedRaster::FindReach(std::uint32_t row) {
    Look(row);
    return hasGaps ? reach.data() : nullptr;
}

} // namespace hostkit
