#pragma once

#include "host/Export.h"
#include "host/IRaster.h"
#include "host/NameValueMap.h"
#include "host/ProcessModifierFlags.h"

#include <vector>

namespace KOVA::Tessara::Mapwarp {
class FGeoTransformers; ///< the host's; only passed through
}

namespace KOVA::Tessara::Pixmere {

/// A raster that computes its rows from an input raster: the object that the plug-in gives to the host.
class PANSHARP_EXPORT IRasterProcess : public IRaster {
public:
    IRasterProcess();
    IRasterProcess(const IRasterProcess&);
    IRasterProcess& operator=(const IRasterProcess&);
    ~IRasterProcess() override;

    /// Facts about the last window; empty unless they were asked for. Lives as long as the process.
    virtual const Global::NameValueMap& GetMetadata() = 0;
    /// What the process changes in its raster; all zero here.
    virtual ProcessModifierFlags GetModifierFlags() = 0;
    virtual int SetInputRaster(IRaster* raster) = 0; ///< not owned; null is refused
    /// Geotransformers that the process supplies, not owned; empty here.
    virtual std::vector<Mapwarp::FGeoTransformers*> GetGeoTransformer() = 0;
};

} // namespace KOVA::Tessara::Pixmere
