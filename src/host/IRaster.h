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
    virtual int Init() = 0;
    virtual int SetWindow(std::uint32_t col0, std::uint32_t row0, std::uint32_t col1, std::uint32_t row1) = 0;
    virtual int SetWorkspace(void* workspace) = 0; ///< an IRasterWorkspace*, converted before it became void*
    virtual const unsigned char* GetRow(std::uint32_t row) = 0;
    virtual const RasterInfo* GetRasterInfo() = 0;
    virtual int SetProperties(const Global::NameValueMap* map) = 0;
    virtual int SetAoi(Aoi* aoi) = 0; ///< kept, not copied
    virtual unsigned short** GetColorMap(unsigned int& count) = 0;
    virtual int SetColorMap(unsigned short** map, unsigned int count) = 0;

protected:
    IRaster();
    IRaster(const IRaster&);
    IRaster& operator=(const IRaster&);
    ~IRaster() override;
};

} // namespace KOVA::Tessara::Pixmere
