#include "rasterhost/reading/InputImage.h"

#include "fundament/Text.h"
#include "hostkit/Coarsening.h"
#include "hostkit/RequestRecord.h"
#include "rasterhost/reading/DescribeFiles.h"
#include "rasterhost/reading/FileState.h"
#include "rasterhost/reading/NetworkFile.h"
#include "rasterhost/requests/GdalErrors.h"

#include <cpl_conv.h>
#include <gdal_priv.h>

#include <algorithm>
#include <map>
#include <set>

namespace rasterhost {

using imagery::ZeroCollar;

using hostkit::PixelRect;
using KOVA::Tessara::Fundament::ToLower;

InputImage::~InputImage() = default;

std::unique_ptr<InputImage> InputImage::Open(const std::vector<InputBand>& inputs, const char* role,
                                             const SampleOptions& sampleOptions, Status& status) {
    std::unique_ptr<InputImage> image(new InputImage);
    ImageDescription made;
    made.options = sampleOptions;
    for (const InputBand& input : inputs) {
        GDALDataset* dataset = image->OpenFile(input.file, role, status);
        if (!dataset || !AddBands(input, *dataset, role, made, status)) return nullptr;
    }
    std::vector<GDALDataset*> datasets;
    for (const OpenFileEntry& file : image->files) {
        made.files.push_back(file.name);
        datasets.push_back(file.dataset.get());
    }
    if (!DescribeAll(datasets, role, made, status)) return nullptr;
    image->description = std::make_shared<const ImageDescription>(std::move(made));
    return image->FindHandles(status) ? std::move(image) : nullptr;
}

std::unique_ptr<InputImage> InputImage::Open(std::shared_ptr<const ImageDescription> known, Status& status) {
    std::unique_ptr<InputImage> image(new InputImage);
    image->description = std::move(known);
    for (const std::string& file : image->description->files)
        if (!image->OpenFile(file, "same", status)) return nullptr;
    return image->FindHandles(status) ? std::move(image) : nullptr;
}

/// Finds the bands of the description in the files.
bool InputImage::FindHandles(Status& status) {
    const RasterInfo& info = description->info;
    for (const SourceBand& source : description->bands) {
        const auto file = std::find_if(files.begin(), files.end(),
                                       [&](const OpenFileEntry& entry) { return entry.name == source.file; });
        GDALDataset& dataset = *file->dataset;
        const bool isSame = dataset.GetRasterXSize() == static_cast<int>(info.cols) &&
                            dataset.GetRasterYSize() == static_cast<int>(info.rows) &&
                            dataset.GetRasterCount() >= std::max(source.number, source.transparency) &&
                            dataset.GetRasterBand(source.number)->GetRasterDataType() == source.type;
        if (!isSame)
            return Fail(status, HostStatus::InputNotOpened,
                        "'%s' has changed: its size, bands or samples differ from before",
                        source.file.c_str());
        GDALRasterBand* band = dataset.GetRasterBand(source.number);
        GDALRasterBand* mask = source.mask == MaskKind::Mask ? band->GetMaskBand()
                               : source.mask == MaskKind::Transparency
                                   ? dataset.GetRasterBand(source.transparency)
                                   : nullptr;
        handles.push_back({&dataset, band, mask});
    }
    OpenBesideGdal();
    return true;
}

/// Only where one file holds all bands: each reader keeps the file open once more.
void InputImage::OpenBesideGdal() {
    if (files.size() > 1 || description->options.scale) return;
    const OpenFileEntry& file = files.front();
    const GDALDriver* driver = file.dataset->GetDriver();
    if (!driver || !EQUAL(driver->GetDescription(), "GTiff")) return;
    const std::vector<SourceBand>& bands = description->bands;
    if (file.dataset->GetRasterCount() == static_cast<int>(bands.size()))
        plain = PlainTiff::Open(file.name, *file.dataset);
    if (bands.front().mask == MaskKind::Mask) plainMask = MaskTiff::Open(file.name, *handles.front().mask);
    for (BandHandles& handle : handles) {
        handle.plain = plain.get();
        if (handle.mask == handles.front().mask) handle.plainMask = plainMask.get();
    }
}

namespace {

/// Opening a pipe would wait for its writer forever.
bool CheckKind(const std::string& file, const char* role, Status& status) {
    const FileState state = LookAt(file);
    return !state.exists || state.isFile || state.isFolder ||
           Fail(status, HostStatus::InputNotOpened,
                "the %s '%s' is a pipe or a device; write its data into a file, and name that file", role,
                file.c_str());
}

} // namespace

GDALDataset* InputImage::OpenFile(const std::string& name, const char* role, Status& status) {
    for (const OpenFileEntry& entry : files)
        if (entry.name == name) return entry.dataset.get();
    if (!CheckKind(name, role, status)) return nullptr;
    const GdalErrors errors;
    GDALDataset* dataset = OpenRaster(name, true, ThroughKept::Yes);
    if (!dataset) {
        const FileState state = LookAt(name);
        if (state.isEmpty) {
            Fail(status, HostStatus::InputNotOpened,
                 "the %s file '%s' is empty; was it copied or downloaded to its end?", role, name.c_str());
            return nullptr;
        }
        Fail(status, HostStatus::InputNotOpened,
             "the %s file '%s' cannot be opened; check the name and that it is a raster%s", role,
             name.c_str(), errors.Reason().c_str());
        return nullptr;
    }
    files.push_back({name, std::shared_ptr<GDALDataset>(dataset, GDALClose)});
    return dataset;
}

std::vector<std::string> InputImage::GetFiles() const {
    std::set<std::string> names;
    for (const OpenFileEntry& file : files) {
        names.insert(file.name);
        for (const std::string& name : ListFiles(*file.dataset))
            names.insert(name);
    }
    return {names.begin(), names.end()};
}

std::unique_ptr<InputImage> InputImage::WithBands(std::shared_ptr<const ImageDescription> known) const {
    std::unique_ptr<InputImage> image(new InputImage);
    image->description = std::move(known);
    image->files = files;
    Status impossible; // these bands were found before
    return image->FindHandles(impossible) ? std::move(image) : nullptr;
}

InputImage* InputImage::FindOverview(unsigned level) {
    const auto [entry, isNew] = overviews.try_emplace(level);
    if (isNew) entry->second = OpenOverview(level);
    return entry->second.get();
}

namespace {

/// The overview of that size, or one pixel smaller across or down: some programs drop a last half pixel.
GDALRasterBand* OverviewOf(GDALRasterBand& band, const InputImage::RasterInfo& info) {
    const auto fits = [](int pixels, std::uint32_t wanted) {
        return pixels > 0 && (wanted - static_cast<std::uint32_t>(pixels)) <= 1;
    };
    for (int i = 0; i < band.GetOverviewCount(); ++i) {
        GDALRasterBand* overview = band.GetOverview(i);
        if (overview && fits(overview->GetXSize(), info.cols) && fits(overview->GetYSize(), info.rows))
            return overview;
    }
    return nullptr;
}

} // namespace

std::unique_ptr<InputImage> InputImage::OpenOverview(unsigned level) const {
    if (description->collar) return nullptr;
    std::unique_ptr<InputImage> image(new InputImage);
    ImageDescription coarse = *description;
    coarse.info = hostkit::CoarseInfo(description->info, hostkit::WholeImage(description->info), level);
    const GdalErrors silence;
    for (std::size_t i = 0; i < handles.size(); ++i) {
        GDALRasterBand* band = OverviewOf(*handles[i].band, coarse.info);
        if (!band) return nullptr;
        GDALRasterBand* mask = nullptr;
        if (coarse.bands[i].mask == MaskKind::Transparency) mask = OverviewOf(*handles[i].mask, coarse.info);
        if (coarse.bands[i].mask == MaskKind::Mask && (band->GetMaskFlags() & GMF_ALL_VALID) == 0)
            mask = band->GetMaskBand();
        if (coarse.bands[i].mask != MaskKind::None && !mask) return nullptr;
        if (i > 0 && (band->GetXSize() != image->handles.front().band->GetXSize() ||
                      band->GetYSize() != image->handles.front().band->GetYSize()))
            return nullptr;
        image->handles.push_back({nullptr, band, mask});
    }
    coarse.info.cols = static_cast<std::uint32_t>(image->handles.front().band->GetXSize());
    coarse.info.rows = static_cast<std::uint32_t>(image->handles.front().band->GetYSize());
    image->description = std::make_shared<const ImageDescription>(std::move(coarse));
    image->files = files;
    return image;
}

void InputImage::SetCollar(std::shared_ptr<const ZeroCollar> found) {
    ImageDescription with = *description;
    with.collar = std::move(found);
    description = std::make_shared<const ImageDescription>(std::move(with));
}

std::vector<std::pair<std::string, GDALDataset*>> InputImage::GetDatasets() const {
    std::vector<std::pair<std::string, GDALDataset*>> datasets;
    for (const OpenFileEntry& file : files)
        datasets.emplace_back(file.name, file.dataset.get());
    return datasets;
}

void InputImage::Reorder(const std::vector<std::size_t>& order) {
    description = std::make_shared<const ImageDescription>(description->WithBands(order));
    std::vector<BandHandles> reordered;
    reordered.reserve(order.size());
    for (const std::size_t position : order)
        reordered.push_back(handles[position]);
    handles = std::move(reordered);
}

namespace {

/// True for a mask or an overview in a separate file.
bool LiesApart(GDALRasterBand& band) {
    const std::string file = ToLower(band.GetDataset() ? band.GetDataset()->GetDescription() : "");
    return file.ends_with(".msk") || file.ends_with(".ovr");
}

} // namespace

std::vector<std::pair<std::string, ByteRange>> InputImage::FindBytes(const PixelRect& rect) const {
    std::vector<std::pair<std::string, ByteRange>> found;
    std::map<std::string, std::uint64_t> sizes;
    for (std::size_t i = 0; i < handles.size(); ++i) {
        const std::string& file = description->bands[i].file;
        if (!IsOnNetwork(file)) continue;
        if (!sizes.contains(file)) sizes[file] = LookAt(file).bytes;
        for (GDALRasterBand* band : {handles[i].band, handles[i].mask})
            if (band && !LiesApart(*band))
                for (const ByteRange& range : FindByteRanges(*band, rect, sizes[file]))
                    found.emplace_back(file, range);
    }
    return found;
}

bool InputImage::Read(const PixelRect& rect, unsigned char* out, Status& status) {
    const BytesAtHand bytes(FindBytes(rect));
    return BandReader(*description, handles).Read(rect, out, status);
}

bool InputImage::ReadValid(const PixelRect& rect, const unsigned char* samples, unsigned char* valid,
                           Status& status) {
    if (!BandReader(*description, handles).ReadValid(rect, samples, valid, status)) return false;
    if (description->collar) description->collar->Clear(rect, valid);
    return true;
}

} // namespace rasterhost
