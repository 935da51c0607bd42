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

/// Where a process finds the other images of its scene. Crosses the border as void*: convert to
/// IRasterWorkspace* first. The plug-in uses GetProcessChain and ReleaseProcessChain.
class PANSHARP_EXPORT IRasterWorkspace : public virtual Global::IObject {
public:
    IRasterWorkspace();
    IRasterWorkspace(const IRasterWorkspace&);
    IRasterWorkspace& operator=(const IRasterWorkspace&);
    ~IRasterWorkspace() override;

    virtual int Open(const std::string& name) = 0;
    /// The chain that delivers an image for the request, or null with the reasons in `status`.
    virtual IRasterProcessChain* GetProcessChain(const std::string& processRasterId,
                                                 const std::string& imageId, Aoi* aoi,
                                                 Fundament::Status& status) = 0;
    virtual int SetProperties(const Global::NameValueMap* map) = 0;
    virtual const Global::NameValueMap& GetProperties() = 0;
    virtual std::uint32_t GetImageCount() = 0;
    virtual std::string GetImageId(std::uint32_t position) = 0;
    virtual int HasImage(const std::string& imageId) = 0;
    virtual const RasterInfo* GetImageInfo(const std::string& imageId) = 0;
    virtual int Close() = 0;
    /// Takes a chain back and clears the holder. A null holder, or one that holds null, is accepted.
    virtual int ReleaseProcessChain(IRasterProcessChain** holder) = 0;
};

} // namespace KOVA::Tessara::Pixmere
