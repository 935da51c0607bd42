#pragma once

#include "host/Export.h"
#include "host/IObject.h"
#include "host/RasterInfo.h"

#include <cstdint>
#include <string>

namespace KOVA::Tessara::Global {
class NameValueMap;
}

namespace KOVA::Tessara::Pixmere {

class IRasterProcessChain;
struct Aoi;

/// Where a process finds the other images of its scene. It crosses the border as void*: convert it to
/// IRasterWorkspace* first. The plug-in uses only GetProcessChain and ReleaseProcessChain.
class PANSHARP_EXPORT IRasterWorkspace : public virtual Global::IObject {
public:
    IRasterWorkspace();
    IRasterWorkspace(const IRasterWorkspace&);
    IRasterWorkspace& operator=(const IRasterWorkspace&);
    ~IRasterWorkspace() override;

    /// Opens the workspace of that name.
    virtual int Open(const std::string& name) = 0;
    /// The chain that delivers an image for the request, or null with the reasons in `status`.
    virtual IRasterProcessChain* GetProcessChain(const std::string& processRasterId,
                                                 const std::string& imageId, Aoi* aoi,
                                                 Fundament::Status& status) = 0;
    /// Replaces the settings by a copy of the map. 0 for null.
    virtual int SetProperties(const Global::NameValueMap* map) = 0;
    /// The settings; lives as long as the workspace.
    virtual const Global::NameValueMap& GetProperties() = 0;
    /// The number of its images.
    virtual std::uint32_t GetImageCount() = 0;
    /// ID of the image at a position counted from 0; empty past the end.
    virtual std::string GetImageId(std::uint32_t position) = 0;
    /// Nonzero when there is an image of that ID.
    virtual int HasImage(const std::string& imageId) = 0;
    /// The description of an image; null when there is none. Valid until the image is set again or the
    /// workspace is closed.
    virtual const RasterInfo* GetImageInfo(const std::string& imageId) = 0;
    /// Releases all images, and the chains that are not yet given back.
    virtual int Close() = 0;
    /// Takes a chain back and clears the holder. A null holder, or one that holds null, is accepted.
    virtual int ReleaseProcessChain(IRasterProcessChain** holder) = 0;
};

} // namespace KOVA::Tessara::Pixmere
