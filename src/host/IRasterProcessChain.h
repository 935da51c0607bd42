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

class IRaster;
class IRasterProcess;
struct Aoi;

/// A chain of processes over one image of the workspace. It belongs to the workspace that issued it. Give it
/// back through IRasterWorkspace::ReleaseProcessChain, never through delete. The plug-in uses only Initialize
/// and CreateRaster.
class PANSHARP_EXPORT IRasterProcessChain : public virtual Global::IObject {
public:
    IRasterProcessChain();
    IRasterProcessChain(const IRasterProcessChain&);
    IRasterProcessChain& operator=(const IRasterProcessChain&);

    /// ID of the image that the chain reads.
    virtual std::string GetImageId() = 0;
    /// An IRasterWorkspace*, converted before it became void*; not owned.
    virtual int SetWorkspace(void* workspace) = 0;
    /// Adds settings, before Initialize; the map is copied. 0 for null.
    virtual int SetProperties(const Global::NameValueMap* map) = 0;
    /// The number of its processes.
    virtual std::uint32_t GetProcessCount() = 0;
    /// The process at a position counted from 0, owned by the chain; null past the end.
    virtual IRasterProcess* GetProcess(std::uint32_t position) = 0;
    /// Prepares the chain for a request. The record given here counts, not the one that the chain was
    /// obtained with. A chain that fails may set the record's resultValue.
    virtual int Initialize(Aoi* aoi) = 0;
    /// The description of what the chain delivers; null before a successful Initialize.
    virtual const RasterInfo* GetRasterInfo() = 0;
    /// Sets the raster that the first process reads; not owned. Returns 0 for a chain that has its own.
    virtual int SetInputRaster(IRaster* raster) = 0;
    /// Facts about the run; lives as long as the chain.
    virtual const Global::NameValueMap& GetMetadata() = 0;
    /// Releases the rasters that it made.
    virtual int Close() = 0;
    /// The output raster of the request: size.columns x size.rows pixels, row and column 0 at the request's
    /// first row and column. GetRow needs no SetWindow. The chain owns it.
    virtual IRaster* CreateRaster() = 0;

protected:
    ~IRasterProcessChain() override;
};

} // namespace KOVA::Tessara::Pixmere
