#pragma once

#include "rasterhost/ProcessSettings.h"
#include "rasterhost/TileWriter.h"

#include <memory>
#include <string>
#include <vector>

class GDALDataset;

namespace rasterhost {

/// False with an item when the output cannot go where the request says: it exists, is an input, its folder is
/// missing, or the format cannot be written.
[[nodiscard]] bool CheckOutput(const SharpenRequest& request, const Scene& scene, Status& status);

/// The fused image in the making. It is written beside its final name, under one that tells whose it is, and
/// takes the final name when it is complete; until then it is removed with this object.
class OutputFile {
public:
    /// Metadata entries, in order.
    using Metadata = std::vector<std::pair<std::string, std::string>>;

    /// Creates the file with pan's size and position, and the names and colours of the bands. Null with an
    /// item.
    [[nodiscard]] static std::unique_ptr<OutputFile> Create(const SharpenRequest& request, const Scene& scene,
                                                            int threads, const Metadata& metadata,
                                                            Status& status);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    /// Rows of one block of the file.
    [[nodiscard]] std::uint32_t GetBlockRows() const { return blockRows; }

    /// Writes whole rows, interleaved by pixel and packed.
    [[nodiscard]] bool Write(std::uint32_t firstRow, std::uint32_t rows, unsigned char* samples,
                             Status& status);
    /// Closes the file and gives it its name.
    [[nodiscard]] bool Finish(Status& status);

private:
    OutputFile(const SharpenRequest& request, const Scene& scene);
    bool WritePixels(std::uint32_t firstRow, std::uint32_t rows, unsigned char* samples);
    bool TakeTiles(const SharpenRequest& request);
    bool CloseAll();
    void Describe(const Scene& scene, const Metadata& metadata);
    bool Rename(Status& status);

    std::string finalName;
    std::string workName;
    std::string format;
    std::uint32_t columns;
    std::uint32_t bands;
    std::uint32_t sampleBytes;
    std::uint32_t blockRows = 1;
    bool isDone = false;
    GDALDataset* dataset = nullptr;    ///< null while `tiles` has the file, and when it is closed
    std::unique_ptr<TileWriter> tiles; ///< null when GDAL writes the pixels
};

} // namespace rasterhost
