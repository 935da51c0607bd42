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
/// A row holds the window's pixels from left to right, bands interleaved by pixel, and exactly those samples:
/// no padding may be read. It stays valid until the next call on the raster.
class IRaster : public virtual Global::IObject {
public:
    /// Prepares the raster, once its settings are there; rows are asked for after it.
    virtual int Init() = 0;
    /// The pixels that rows are going to be asked of, within the raster.
    virtual int SetWindow(std::uint32_t col0, std::uint32_t row0, std::uint32_t col1, std::uint32_t row1) = 0;
    virtual int SetWorkspace(void* workspace) = 0; ///< an IRasterWorkspace*, converted before it became void*
    /// A row of the window. Null, with an item, when it lies outside or cannot be had.
    virtual const unsigned char* GetRow(std::uint32_t row) = 0;
    /// The description of the whole raster; null when there is none. It lives as long as the raster, and may
    /// change in Init.
    virtual const RasterInfo* GetRasterInfo() = 0;
    /// Adds settings, before Init; the map is copied. 0 for null; the plug-in refuses an empty map too.
    virtual int SetProperties(const Global::NameValueMap* map) = 0;
    virtual int SetAoi(Aoi* aoi) = 0; ///< kept, not copied
    /// The colour map, not the caller's, and the number of its entries; null when there is none.
    virtual unsigned short** GetColorMap(unsigned int& count) = 0;
    /// Hands over a colour map with `count` entries. It stays the caller's. The rasters of hostkit ignore it.
    virtual int SetColorMap(unsigned short** map, unsigned int count) = 0;

protected:
    IRaster();
    IRaster(const IRaster&);
    IRaster& operator=(const IRaster&);
    ~IRaster() override;
};

} // namespace KOVA::Tessara::Pixmere
