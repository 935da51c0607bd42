#include "capi/FuseRows.h"

#include "capi/JobGaps.h"
#include "fundament/Text.h"
#include "hostkit/ArrayRaster.h"
#include "hostkit/AxisPlacement.h"
#include "hostkit/LowPassFeed.h"
#include "hostkit/MethodTable.h"
#include "hostkit/WindowWorker.h"

#include <algorithm>
#include <optional>

namespace capi {

using hostkit::PixelRect;
using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::Status;

namespace {

bool Cancel(Status& status, const std::string& message) {
    status.Add(CStatus::Cancelled, message, CStatus::Source);
    return false;
}

bool TakeCallbacks(const pansharp_rows* given, pansharp_rows& rows, Status& status) {
    return TakeStructure({"rows", "pansharp_rows", offsetof(pansharp_rows, window)}, given, rows, status) &&
           ((rows.read && rows.write) ||
            Refuse(status, "rows.read or rows.write is null; give both functions"));
}

/// The window within pan; all of pan if none is given.
bool FindWindow(const FuseJob& job, const pansharp_window& given, PixelRect& window, Status& status) {
    window = hostkit::WholeImage(job.pan.info);
    if (given.columns == 0 && given.rows == 0 && given.column == 0 && given.row == 0) return true;
    if (given.columns == 0 || given.rows == 0 || given.column >= window.col1 || given.row >= window.row1 ||
        given.columns > window.col1 - given.column || given.rows > window.row1 - given.row)
        return Refuse(
            status, FormatString(
                        "rows.window starts at column %u, row %u and has %u columns and %u rows; it must lie "
                        "within the %u columns and %u rows of pan",
                        given.column, given.row, given.columns, given.rows, window.col1, window.row1));
    window = {given.column, given.row, given.column + given.columns, given.row + given.rows};
    return true;
}

/// Takes from the job what a method that compares pan with its low-pass needs to know of the whole scene.
bool SettleGiven(FuseJob& job, Status& status) {
    if (!hostkit::UsesLowPass(*job.method)) return true;
    if (job.known.gains.empty() || !job.known.transfer || !job.lowPassMean)
        return Refuse(
            status,
            FormatString("the method %s needs job.transfer, gains and low_pass_mean, which cannot be fitted "
                         "to a window; give what pansharp_fit found in the scene, or choose another method",
                         job.method->keyword));
    fitting::DetailFit& found = job.detail;
    found.gains = job.known.gains;
    found.transfer = *job.known.transfer;
    found.lowPassMean = *job.lowPassMean;
    return SettleDetail(found, job, status);
}

/// A worker that reads its images through the callback.
class Asker {
public:
    Asker(const hostkit::PluginLibrary& plugin, const FuseJob& fuseJob, const pansharp_rows& callbacks,
          Status& status)
        : job(fuseJob), rows(callbacks), panRaster(job.pan.info, {}), finish(job),
          worker(plugin, job.properties, job.pan.info, panRaster, status) {
        if (job.lowPass) lowPass.emplace(job.lowPass, job.pan.info, job.resampling);
    }

    [[nodiscard]] bool Start(Status& status) { return worker.Start(status); }

    [[nodiscard]] bool Fuse(const PixelRect& window, Status& status) {
        const PixelRect panRect = lowPass ? lowPass->SetWindow(window) : window;
        const auto pan = Ask(PANSHARP_PAN, job.pan, panRect, panBuffer, status);
        if (!pan) return false;
        panRaster.SetBlock(*pan);
        if (lowPass) lowPass->Offer(*pan, worker.GetWorkspace());
        if (!SetImage(PANSHARP_MULTISPECTRAL, hostkit::multispectralId, job.multispectral, window,
                      multispectralBuffer, status) ||
            (job.infrared && !SetImage(PANSHARP_INFRARED, hostkit::infraredId, *job.infrared, window,
                                       infraredBuffer, status)) ||
            !worker.OpenWindow(window, status))
            return false;
        Layout layout = {window.GetColumns(), 1, static_cast<std::uint32_t>(job.outputBands.size()),
                         job.pan.info.bitsPerBand / 8};
        if (!FillStrides(layout)) return Refuse(status, "a row of the window is too long");
        fused.resize(std::size_t{layout.columns} * layout.bands);
        for (std::uint32_t row = window.row0; row < window.row1; ++row) {
            const unsigned char* samples = worker.GetRow(row, status);
            if (!samples) return false;
            StoreRow(finish.Finish(samples, nullptr, layout.columns), job.processBands, job.outputBands,
                     reinterpret_cast<unsigned char*>(fused.data()), layout, 0);
            if (const int answer = rows.write(row, fused.data(), rows.data))
                return Cancel(status, FormatString("rows.write returned %d for row %u", answer, row));
        }
        return true;
    }

private:
    std::optional<hostkit::SampleBlock> Ask(pansharp_source image, const InputImage& input,
                                            const PixelRect& rect, std::vector<unsigned short>& buffer,
                                            Status& status) {
        const std::uint32_t sampleBytes = input.layout.sampleBytes;
        const std::size_t rowBytes = std::size_t{rect.GetColumns()} * input.layout.bands * sampleBytes;
        buffer.resize((rowBytes * rect.GetRows() + 1) / 2);
        const pansharp_window part = {rect.col0, rect.row0, rect.GetColumns(), rect.GetRows()};
        if (const int answer = rows.read(image, &part, buffer.data(), rows.data)) {
            Cancel(status,
                   FormatString(
                       "rows.read returned %d for %u columns and %u rows at column %u, row %u of image %u",
                       answer, part.columns, part.rows, part.column, part.row, static_cast<unsigned>(image)));
            return std::nullopt;
        }
        const auto* samples = reinterpret_cast<const unsigned char*>(buffer.data());
        if (input.layout.bandOrder.empty()) return hostkit::SampleBlock{samples, rowBytes, rect};
        Layout layout{rect.GetColumns(), rect.GetRows(), input.layout.bands, sampleBytes};
        if (!FillStrides(layout)) return std::nullopt; // never: the buffer holds them
        layout.bandOrder = input.layout.bandOrder;
        hostkit::SampleBlock block =
            MakeBlock(samples, layout, {0, 0, layout.columns, layout.rows}, orderedBuffer);
        block.rect = rect;
        return block;
    }

    bool SetImage(pansharp_source image, const char* id, const InputImage& input, const PixelRect& window,
                  std::vector<unsigned short>& buffer, Status& status) {
        const PixelRect needed =
            hostkit::AxisPlacement(job.pan.info, input.info).FindSource(window, job.resampling);
        const auto block = Ask(image, input, needed, buffer, status);
        if (block) worker.GetWorkspace().SetImage(id, {input.info, *block, job.resampling});
        return block.has_value();
    }

    const FuseJob& job;
    const pansharp_rows& rows;
    std::vector<unsigned short> panBuffer, multispectralBuffer, orderedBuffer, infraredBuffer, fused;
    std::optional<hostkit::LowPassFeed> lowPass;
    hostkit::ArrayRaster panRaster;
    RowFinish finish;
    hostkit::WindowWorker worker; ///< made after pan, so destroyed before it
};

} // namespace

pansharp_result FuseRows(const hostkit::PluginLibrary& plugin, FuseJob& job, const pansharp_rows* given,
                         Status& status) {
    pansharp_rows rows;
    PixelRect window;
    if (!TakeCallbacks(given, rows, status) || !FindWindow(job, rows.window, window, status) ||
        !SettleGiven(job, status))
        return PANSHARP_BAD_ARGUMENT;
    Asker asker(plugin, job, rows, status);
    if (!asker.Start(status)) return PANSHARP_FAILED;
    // Parts that keep the pixels in memory within some megabytes.
    const std::uint32_t step = std::max(16u, (1u << 20) / window.GetColumns());
    for (std::uint32_t row = window.row0; row < window.row1;) {
        const std::uint32_t end = row + std::min(step, window.row1 - row);
        const std::uint32_t items = status.GetCount();
        if (!asker.Fuse({window.col0, row, window.col1, end}, status))
            return status.GetCount() > items && status.GetItem(items).id == CStatus::Cancelled
                       ? PANSHARP_CANCELLED
                       : PANSHARP_FAILED;
        row = end;
        if (job.progress && job.progress(end - window.row0, window.GetRows(), job.progressData) != 0) {
            Cancel(status, FormatString("cancelled by the progress callback after %u of %u rows",
                                        end - window.row0, window.GetRows()));
            return PANSHARP_CANCELLED;
        }
    }
    return PANSHARP_OK;
}

} // namespace capi
