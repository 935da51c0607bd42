#pragma once

#include "host/IRasterWorkspace.h"
#include "host/NameValueMap.h"
#include "host/Object.h"
#include "hostkit/SampledChain.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace hostkit {

/// A workspace over images in memory. It issues chains that bring an image onto the pan grid, and takes them
/// back. Chains that are not given back are destroyed with it. One caller uses it at a time.
class ArrayWorkspace final : public KOVA::Tessara::Global::Object,
                             public KOVA::Tessara::Pixmere::IRasterWorkspace {
public:
    /// What describes an image.
    using RasterInfo = KOVA::Tessara::Pixmere::RasterInfo;

    /// Chains deliver on this grid.
    explicit ArrayWorkspace(const RasterInfo& panGrid);
    ArrayWorkspace(const ArrayWorkspace&) = delete;
    ArrayWorkspace& operator=(const ArrayWorkspace&) = delete;
    ~ArrayWorkspace() override;

    /// Adds an image, or replaces the samples of one. Chains that are already issued keep the samples they
    /// have.
    void SetImage(const std::string& imageId, const SourceImage& image);

    /// Chains issued and not yet taken back.
    [[nodiscard]] std::uint32_t GetOutstandingChains() const;

    int Open(const std::string&) override { return 1; }
    /// Null, with an item in `reasons`, when no image has that ID. The chain obeys the record given to its
    /// Initialize, not `aoi`.
    KOVA::Tessara::Pixmere::IRasterProcessChain*
    GetProcessChain(const std::string& processRasterId, const std::string& imageId,
                    KOVA::Tessara::Pixmere::Aoi* aoi, KOVA::Tessara::Fundament::Status& reasons) override;
    int SetProperties(const KOVA::Tessara::Global::NameValueMap* map) override;
    const KOVA::Tessara::Global::NameValueMap& GetProperties() override { return settings; }
    /// The number of images.
    std::uint32_t GetImageCount() override { return static_cast<std::uint32_t>(images.size()); }
    std::string GetImageId(std::uint32_t position) override; ///< in the order of the IDs; empty past the end
    /// 1 when there is an image of that ID.
    int HasImage(const std::string& imageId) override { return images.contains(imageId) ? 1 : 0; }
    const RasterInfo* GetImageInfo(const std::string& imageId) override;
    int Close() override;
    /// Destroys the chain, clears the holder and returns 1. Returns 0 for a chain that this workspace has not
    /// issued: the chain stays and so does the holder.
    int ReleaseProcessChain(KOVA::Tessara::Pixmere::IRasterProcessChain** holder) override;

private:
    RasterInfo grid;
    std::map<std::string, SourceImage> images;
    std::vector<std::unique_ptr<SampledChain>> chains;
    KOVA::Tessara::Global::NameValueMap settings;
};

} // namespace hostkit
