#pragma once

#include "hostkit/ImageSource.h"
#include "rasterhost/reading/BandReader.h"
#include "rasterhost/reading/FetchedBytes.h"
#include "rasterhost/reading/ImageDescription.h"
#include "rasterhost/reading/MaskTiff.h"
#include "rasterhost/reading/PlainTiff.h"
#include "rasterhost/requests/HostStatus.h"
#include "rasterhost/requests/Requests.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace rasterhost {

/// Bands of one size and position, from one file or several: a description, and the open files.
class InputImage final : public hostkit::ImageSource {
public:
    /// Opens the files and checks that the bands can be served: 8 or 16 bits, all of one size, depth,
    /// position and projection. Signed 16-bit samples are served unchanged and must not be negative. An input
    /// without a band number gives all bands of the file except transparency. Null with an item that names
    /// the file. `role` is "pan" or the like, for messages.
    [[nodiscard]] static std::unique_ptr<InputImage> Open(const std::vector<InputBand>& inputs,
                                                          const char* role,
                                                          const SampleOptions& sampleOptions, Status& status);
    InputImage(const InputImage&) = delete;
    InputImage& operator=(const InputImage&) = delete;
    ~InputImage() override;

    /// Opens the files of an image that was described before, for one more thread. Null, with an item, when a
    /// file is gone or no longer has its bands.
    [[nodiscard]] static std::unique_ptr<InputImage> Open(std::shared_ptr<const ImageDescription> known,
                                                          Status& status);

    [[nodiscard]] const std::shared_ptr<const ImageDescription>& GetDescription() const {
        return description;
    }
    [[nodiscard]] const RasterInfo& GetInfo() const override { return description->info; }
    [[nodiscard]] std::string GetName() const override { return description->GetName(); }
    /// All files that the inputs consist of, as GDAL lists them.
    [[nodiscard]] std::vector<std::string> GetFiles() const;
    /// All files by name. They stay open as long as the image.
    [[nodiscard]] std::vector<std::pair<std::string, GDALDataset*>> GetDatasets() const;
    /// The bytes that reading a rectangle reads of files on servers, by file name. Empty when the format does
    /// not tell. Nobody else may use the image at the same time.
    [[nodiscard]] std::vector<std::pair<std::string, ByteRange>>
    FindBytes(const hostkit::PixelRect& rect) const;
    /// The file of the first band, which gives the position.
    [[nodiscard]] GDALDataset& GetDataset() const { return *handles.front().dataset; }

    /// The bands of this image that a description has, read from the same open files. So it must not be used
    /// while another thread reads this image.
    [[nodiscard]] std::unique_ptr<InputImage> WithBands(std::shared_ptr<const ImageDescription> known) const;

    /// Reorders the bands to those at these positions, counted from 0; other bands are dropped.
    void Reorder(const std::vector<std::size_t>& order);

    /// The overview of the image in pixels of 2^level x 2^level, level 1 or more, as the files contain it;
    /// perhaps without a last column or row that would be less than a whole pixel. Null when a band or a mask
    /// has no such overview, and for an image with a collar, which overviews do not show. Owned by this.
    [[nodiscard]] InputImage* FindOverview(unsigned level);

    [[nodiscard]] bool MayLackData() const override { return description->MayLackData(); }
    [[nodiscard]] bool Read(const hostkit::PixelRect& rect, unsigned char* out, Status& status) override;
    [[nodiscard]] bool ReadValid(const hostkit::PixelRect& rect, const unsigned char* samples,
                                 unsigned char* valid, Status& status) override;

    /// Replaces the description by one with a collar, whose pixels have no data.
    void SetCollar(std::shared_ptr<const imagery::ZeroCollar> found);

private:
    InputImage() = default;
    GDALDataset* OpenFile(const std::string& name, const char* role, Status& status);
    bool FindHandles(Status& status);
    void OpenBesideGdal();
    [[nodiscard]] std::unique_ptr<InputImage> OpenOverview(unsigned level) const;

    struct OpenFileEntry {
        std::string name;
        std::shared_ptr<GDALDataset> dataset;
    };

    std::shared_ptr<const ImageDescription> description;
    std::vector<OpenFileEntry> files;
    std::unique_ptr<PlainTiff> plain;    ///< of the only file; null when it stores samples in another form
    std::unique_ptr<MaskTiff> plainMask; ///< the same for its mask
    std::vector<BandHandles> handles;    ///< of the description's bands
    std::map<unsigned, std::unique_ptr<InputImage>> overviews; ///< by level, those that were asked for
};

} // namespace rasterhost
