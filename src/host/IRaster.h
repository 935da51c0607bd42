#pragma once

#include "host/IObject.h"
#include "host/RasterInfo.h"

#include <cstdint>

namespace KOVA::Tessara::Global {
class NameValueMap;
}

namespace KOVA::Tessara::Pixmere {

struct Aoi;

/// A raster that delivers rows. Window and row numbers are absolute; end columns and end rows are exclusive.
/// A row holds exactly the window's pixels from left to right, bands interleaved by pixel, without padding.
/// It stays valid until the next call on the raster.
class IRaster : public virtual Global::IObject {
public:
    /// Prepares the raster. Call it after the settings and before the first row.
    virtual int Init() = 0;
    /// Sets the window that rows are read from, within the raster.
    virtual int SetWindow(std::uint32_t col0, std::uint32_t row0, std::uint32_t col1, std::uint32_t row1) = 0;
    virtual int SetWorkspace(void* workspace) = 0; ///< an IRasterWorkspace*, converted before it became void*
    /// A row of the window. Null, with an item, when it lies outside the window or cannot be read.
    virtual const unsigned char* GetRow(std::uint32_t row) = 0;
    /// The description of the whole raster; null when there is none. It lives as long as the raster. Init may
    /// change it.
    virtual const RasterInfo* GetRasterInfo() = 0;
    /// Adds settings, before Init; the map is copied. 0 for null; the plug-in also refuses an empty map.
    virtual int SetProperties(const Global::NameValueMap* map) = 0;
    virtual int SetAoi(Aoi* aoi) = 0; ///< kept, not copied
    /// The colour map, owned by the raster, and the number of its entries; null when there is none.
    virtual unsigned short** GetColorMap(unsigned int& count) = 0;
    /// Sets a colour map with `count` entries; the caller keeps its ownership. The rasters of hostkit ignore
    /// it.
    virtual int SetColorMap(unsigned short** map, unsigned int count) = 0;

protected:
    IRaster();
    IRaster(const IRaster&);
    IRaster& operator=(const IRaster&);
    ~IRaster() override;
};

} // namespace KOVA::Tessara::Pixmere
