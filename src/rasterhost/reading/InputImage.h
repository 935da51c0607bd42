#pragma once

#include "hostkit/ImageSource.h"
#include "rasterhost/reading/BandReader.h"
#include "rasterhost/reading/FetchedBytes.h"
#include "rasterhost/reading/ImageDescription.h"
#include "rasterhost/requests/HostStatus.h"
#include "rasterhost/requests/Requests.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace rasterhost {

/// Bands of one size and position, taken from one file or several: a description, and the open files to read
/// it from.
class InputImage final : public hostkit::ImageSource {
public:
    /// Opens the files and checks that the bands can be served: 8 or 16 bits, all of one size, depth,
    /// position and projection, north up. Signed 16-bit samples are served as they are and have to be 0 or
    /// more. A file named without a band gives all its bands but transparency. Null with an item that names
    /// the file. `role` is "pan" or the like.
    [[nodiscard]] static std::unique_ptr<InputImage> Open(const std::vector<InputBand>& inputs,
                                                          const char* role,
                                                          const SampleOptions& sampleOptions, Status& status);
    InputImage(const InputImage&) = delete;
    InputImage& operator=(const InputImage&) = delete;
    ~InputImage() override;

    /// Opens the files of an image that was described before, for one more thread. Null with an item when one
    /// is gone or no longer has its bands.
    [[nodiscard]] static std::unique_ptr<InputImage> Open(std::shared_ptr<const ImageDescription> known,
                                                          Status& status);

    [[nodiscard]] const std::shared_ptr<const ImageDescription>& GetDescription() const {
        return description;
    }
    [[nodiscard]] const RasterInfo& GetInfo() const override { return description->info; }
    [[nodiscard]] std::string GetName() const override { return description->GetName(); }
    /// Every file that an input consists of, as GDAL lists them.
    [[nodiscard]] std::vector<std::string> GetFiles() const;
    /// Every file by its name, open for as long as the image.
    [[nodiscard]] std::vector<std::pair<std::string, GDALDataset*>> GetDatasets() const;
    /// What reading a rectangle reads of files on servers, by the names of the files; empty where their
    /// format does not tell. Nobody else uses the image meanwhile.
    [[nodiscard]] std::vector<std::pair<std::string, ByteRange>>
    FindBytes(const hostkit::PixelRect& rect) const;
    /// The file of the first band; for its position.
    [[nodiscard]] GDALDataset& GetDataset() const { return *handles.front().dataset; }

    /// Those bands of this image that a description has, read from the files that this one has open: not
    /// while another thread reads this one.
    [[nodiscard]] std::unique_ptr<InputImage> WithBands(std::shared_ptr<const ImageDescription> known) const;

    /// Puts the bands into another order and leaves out those that `order`, positions counted from 0, does
    /// not name.
    void Reorder(const std::vector<std::size_t>& order);

    /// The image in pixels of 2^level x 2^level, level 1 or more, as its files have it beside the whole,
    /// perhaps without a last column or row that would be less than a whole pixel. Null where one has no such
    /// overview of a band or of what tells no data, and with a collar, which overviews do not show. Good
    /// for as long as this.
    [[nodiscard]] InputImage* FindOverview(unsigned level);

    [[nodiscard]] bool MayLackData() const override { return description->MayLackData(); }
    [[nodiscard]] bool Read(const hostkit::PixelRect& rect, unsigned char* out, Status& status) override;
    [[nodiscard]] bool ReadValid(const hostkit::PixelRect& rect, const unsigned char* samples,
                                 unsigned char* valid, Status& status) override;

    /// Describes the image again, with more pixels that count as no data than are declared.
    void SetCollar(std::shared_ptr<const imagery::ZeroCollar> found);

private:
    InputImage() = default;
    GDALDataset* OpenFile(const std::string& name, const char* role, Status& status);
    bool FindHandles(Status& status);
    [[nodiscard]] std::unique_ptr<InputImage> OpenOverview(unsigned level) const;

    struct OpenFileEntry {
        std::string name;
        std::shared_ptr<GDALDataset> dataset;
    };

    std::shared_ptr<const ImageDescription> description;
    std::vector<OpenFileEntry> files;
    std::vector<BandHandles> handles;                          ///< of the description's bands
    std::map<unsigned, std::unique_ptr<InputImage>> overviews; ///< by level, as far as they were asked for
};

} // namespace rasterhost
