#pragma once

#include "hostkit/PixelMap.h"
#include "hostkit/PlacedWindow.h"
#include "kernels/MappedRow.h"

#include <optional>
#include <vector>

namespace hostkit {

/// A source image brought onto a window of the pan grid through a map, pixel by pixel. At equal positions the
/// samples equal those of SampledRaster. Data reach at most one source pixel beyond the edge of the source,
/// and less than one beyond pixels without data.
class MappedRaster final : public PlacedWindow {
public:
    MappedRaster();

    /// Opens a window over source samples. They must cover the map's SourceRect() and, like the map, outlive
    /// the raster. False, with an item, when they do not cover it or the depth is neither 8 nor 16 bits.
    [[nodiscard]] bool Open(const RasterInfo& pan, const PixelRect& panWindow, const RasterInfo& sourceInfo,
                            const SampleBlock& source, const PixelMap& map, Resampling resampling);

    /// Computes a row of the window. Null, with an item, outside it. Valid until the next call.
    const unsigned char* GetRow(std::uint32_t row) override;
    const Reach* FindReach(std::uint32_t row) override;

private:
    /// Consecutive columns of which the same is known.
    struct Run {
        std::size_t end; ///< exclusive
        Reach reach;     ///< of all of them; Some when they differ
        bool isWithin;   ///< no position lies more than about a pixel outside the source
    };

    /// The first pixels with data of a row of the source at hand, by column of the source.
    struct DataRun {
        std::uint32_t first;
        std::uint32_t end; ///< exclusive
    };

    void FindDataRuns();
    void Look(std::uint32_t row);
    void LookAt(std::size_t first, std::size_t end);
    [[nodiscard]] std::size_t LineOf(std::size_t column) const;
    [[nodiscard]] kernels::MappedPath PathFrom(std::size_t column) const;
    [[nodiscard]] Run FindCommon(std::size_t first, std::size_t end) const;
    [[nodiscard]] Reach FindData(const PixelRect& rect) const;
    [[nodiscard]] Reach FindOne(std::size_t column) const;
    [[nodiscard]] bool HasAll(std::size_t column, int before, int after) const;
    template <class T>
    void SampleRow(T* out) const;
    template <class T>
    void SampleMixed(std::size_t first, const Run& run, T* out) const;
    template <class T>
    [[nodiscard]] kernels::MappedRow<T> ChooseRow() const;
    template <class T>
    [[nodiscard]] kernels::MappedSource<T> GetSource() const;

    const PixelMap* pixelMap = nullptr;
    Resampling kind = Resampling::Bilinear;
    PixelRect panRect;
    SampleBlock samples;
    std::uint32_t sourceColumns = 0;
    std::uint32_t sourceRows = 0;
    std::vector<DataRun> dataRuns;          ///< of the rows at hand, if they may lack data
    std::optional<std::uint32_t> seen;      ///< the row that was examined last
    bool hasGaps = false;                   ///< whether that row has gaps
    std::vector<std::size_t> starts;        ///< columns of the window where straight lines of positions begin
    std::vector<kernels::MappedLine> lines; ///< of the row
    std::vector<double> x, y;               ///< positions of the row, in runs of Reach::Some only
    std::vector<Reach> reach;               ///< of each
    std::vector<Run> runs;                  ///< of the row
    std::vector<unsigned short> output;     ///< read as bytes when the depth is 8 bits
};

} // namespace hostkit
