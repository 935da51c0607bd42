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

/// The fused image while it is written, in a work folder that moves it to its place when it is complete. For
/// a format that GDAL makes only by copying, a GeoTIFF is written there first.
class OutputFile {
public:
    /// Creates the file with the size and position of the scene's part, and the names and colours of the
    /// bands. Null with an item. The folder must outlive it.
    [[nodiscard]] static std::unique_ptr<OutputFile> Create(const SharpenRequest& request, const Scene& scene,
                                                            const OutputPlan& plan, WorkFolder& folder,
                                                            const OutputMetadata& metadata, Status& status);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    /// GDAL's warning when it created the file, for example about an ignored creation option; empty for none.
    [[nodiscard]] const std::string& GetWarning() const { return warning; }
    /// A window of up to this many rows, in the layout that Write takes.
    [[nodiscard]] OutputWindow MakeWindow(std::uint32_t mostRows) const;
    /// The share of the total work that is left to Finish, which copies the whole image or compressed tiles.
    [[nodiscard]] double GetShareOfFinish() const {
        return plan.IsCopied() ? 0.5 : plan.writesCog ? 0.1 : 0.0;
    }
    /// True when GDAL writes the windows; only one thread at a time may then write.
    [[nodiscard]] bool IsWrittenByGdal() const { return dataset != nullptr; }

    /// True when Pack or Write share their work among the threads of the arena that they are called in.
    [[nodiscard]] bool SharesWork() const { return tiles && tiles->SharesWork(); }

    /// Compresses a window with all its rows, if that can be done before they are written. Any number of
    /// threads may call it. False with an item.
    [[nodiscard]] bool Pack(OutputWindow& window, Status& status) const;
    /// Writes the next window after Pack. False with an item.
    [[nodiscard]] bool Write(OutputWindow& window, Status& status);
    /// The number of pixels without data among those written so far.
    [[nodiscard]] std::uint64_t GetPixelsWithoutData() const { return pixelsWithoutData; }
    /// Of a finished picture: per band, the range that was stretched.
    [[nodiscard]] const std::vector<std::array<double, 2>>& GetStretches() const { return stretches; }
    /// Adds the mask, copies if needed, and gives the file its name. `progress` gets the fraction of the
    /// copying that is done and cancels by returning false; it may be empty. False with an item.
    [[nodiscard]] bool Finish(const std::function<bool(double)>& progress, Status& status);

private:
    OutputFile(const SharpenRequest& request, const OutputPlan& outputPlan, WorkFolder& workFolder);

    bool WritePixels(OutputWindow& window);
    bool OpenTiles(const CPLStringList& options);
    /// Whether only a mask can show where there is no data.
    [[nodiscard]] bool NeedsMask() const { return !plan.rules.noData && !plan.rules.hasAlpha; }
    [[nodiscard]] bool HasMask() const { return GetPixelsWithoutData() > 0 && NeedsMask(); }
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
    OutputMask mask; ///< of the rows so far, if NeedsMask()
    std::uint64_t pixelsWithoutData = 0;
    GDALDataset* dataset = nullptr;  ///< null while `tiles` writes the file, and once it is closed
    std::unique_ptr<TileSink> tiles; ///< null when GDAL writes the pixels
    CogWriter* cog = nullptr;        ///< the same object, if it is one
};

} // namespace rasterhost
