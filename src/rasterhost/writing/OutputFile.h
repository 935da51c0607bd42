#pragma once

#include "rasterhost/requests/Requests.h"
#include "rasterhost/scene/Scene.h"
#include "rasterhost/writing/OutputDescription.h"
#include "rasterhost/writing/OutputMask.h"
#include "rasterhost/writing/OutputPlan.h"
#include "rasterhost/writing/OutputWindow.h"
#include "rasterhost/writing/TileSink.h"
#include "rasterhost/writing/WorkFolder.h"

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class CPLStringList;
class GDALDataset;

namespace rasterhost {

class CogWriter;

/// The fused image while it is written, in a folder that moves it to its place when it is complete. For a
/// format that GDAL makes only by copying, a GeoTIFF is written there to copy from.
class OutputFile {
public:
    /// Creates the file with the size and position of the scene's part, and the names and colours of the
    /// bands. Null with an item. The folder outlives it.
    [[nodiscard]] static std::unique_ptr<OutputFile> Create(const SharpenRequest& request, const Scene& scene,
                                                            const OutputPlan& plan, WorkFolder& folder,
                                                            const OutputMetadata& metadata, Status& status);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    /// What GDAL warned of when it made the file, such as a creation option's value that it ignores; or
    /// empty.
    [[nodiscard]] const std::string& GetWarning() const { return warning; }
    /// A window of up to this many rows, laid out as Write wants it.
    [[nodiscard]] OutputWindow MakeWindow(std::uint32_t mostRows) const;
    /// The share of the whole work that is left to Finish: it copies the whole image, or compressed tiles.
    [[nodiscard]] double GetShareOfFinish() const {
        return plan.IsCopied() ? 0.5 : plan.writesCog ? 0.1 : 0.0;
    }
    /// True when GDAL writes the windows, which one thread at a time may do.
    [[nodiscard]] bool IsWrittenByGdal() const { return dataset != nullptr; }

    /// Compresses a window whose rows are all there, where that can be done before they are written. Any
    /// number of threads at a time.
    [[nodiscard]] bool Pack(OutputWindow& window, Status& status) const;
    /// Writes the next window, which was packed, and which of its pixels have data: a byte each, or null when
    /// all have.
    [[nodiscard]] bool Write(OutputWindow& window, const unsigned char* valid, Status& status);
    /// Among the pixels written so far.
    [[nodiscard]] std::uint64_t GetPixelsWithoutData() const { return mask.GetPixelsWithoutData(); }
    /// Of a picture, once it is finished: what each band was stretched from.
    [[nodiscard]] const std::vector<std::array<double, 2>>& GetStretches() const { return stretches; }
    /// Adds the mask, copies if need be, and gives the file its name. `progress` gets the fraction done of
    /// the copying, may be empty, and cancels by returning false.
    [[nodiscard]] bool Finish(const std::function<bool(double)>& progress, Status& status);

private:
    OutputFile(const SharpenRequest& request, const OutputPlan& outputPlan, WorkFolder& workFolder);

    bool WritePixels(OutputWindow& window, const unsigned char* valid);
    bool OpenTiles(const CPLStringList& options);
    [[nodiscard]] bool HasMask() const {
        return GetPixelsWithoutData() > 0 && !plan.rules.noData && !plan.rules.hasAlpha;
    }
    bool FailAt(const OutputWindow& window, const std::string& what, Status& status) const;
    bool CloseAll();
    bool AddMask(Status& status);
    bool FinishCog(const std::function<bool(double)>& progress, Status& status);
    bool Copy(const std::function<bool(double)>& progress, Status& status);
    bool FailToComplete(const std::string& reason, Status& status) const;

    WorkFolder& folder;
    const bool overwrite;
    const OutputPlan plan;
    const std::string writtenFile;
    std::string warning;
    std::vector<std::array<double, 2>> stretches;
    OutputMask mask;
    GDALDataset* dataset = nullptr;  ///< null while `tiles` has the file, and when it is closed
    std::unique_ptr<TileSink> tiles; ///< null when GDAL writes the pixels
    CogWriter* cog = nullptr;        ///< the same where it is one
};

} // namespace rasterhost
