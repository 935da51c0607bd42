#pragma once

#include "host/IRaster.h"
#include "host/Object.h"
#include "hostkit/SampleBlock.h"

namespace hostkit {

/// What the rasters of a host have in common: a description, a window that is checked, and the calls that are
/// the same for all. A derived class supplies GetRow and says what window it can take.
class RasterBase : public KOVA::Tessara::Global::Object, public KOVA::Tessara::Pixmere::IRaster {
public:
    /// What describes a raster.
    using RasterInfo = KOVA::Tessara::Pixmere::RasterInfo;

    RasterBase(const RasterBase&) = delete;
    RasterBase& operator=(const RasterBase&) = delete;
    ~RasterBase() override;

    int Init() override { return 1; }
    int SetWorkspace(void*) override { return 1; }
    const RasterInfo* GetRasterInfo() override { return &info; }
    int SetProperties(const KOVA::Tessara::Global::NameValueMap* map) override;
    int SetAoi(KOVA::Tessara::Pixmere::Aoi*) override { return 1; }
    unsigned short** GetColorMap(unsigned int& count) override; ///< none: null and 0
    int SetColorMap(unsigned short**, unsigned int) override { return 1; }

    /// Fails, with an item, for a window that is empty or not within the pixels that the raster has; the
    /// window before stays.
    int SetWindow(std::uint32_t col0, std::uint32_t row0, std::uint32_t col1, std::uint32_t row1) override;

protected:
    /// `source` names the raster in its items.
    explicit RasterBase(const char* source);

    /// Called with a window within `available`; false, with an item, when it cannot be had.
    virtual bool OpenWindow(const PixelRect& wanted);
    /// True when a row lies in the window; records an item when not.
    bool HoldsRow(std::uint32_t row);
    /// Empties the status and records an item. Always false.
    bool Fail(std::uint32_t id, const std::string& message);

    RasterInfo info;     ///< of the whole raster
    PixelRect available; ///< the pixels that windows may cover
    PixelRect window;    ///< the one that is set; within `available`

private:
    const char* statusSource;
};

} // namespace hostkit
