#pragma once

#include "host/IRaster.h"
#include "host/Object.h"
#include "hostkit/SampleBlock.h"

namespace hostkit {

/// The common base of a host's rasters: a description, a checked window, and the calls that are the same for
/// all. A derived class supplies GetRow and decides which windows it accepts.
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

    /// Fails, with an item, for a window that is empty or reaches outside the available pixels. The previous
    /// window then stays.
    int SetWindow(std::uint32_t col0, std::uint32_t row0, std::uint32_t col1, std::uint32_t row1) override;

protected:
    /// `source` names the raster in its items.
    explicit RasterBase(const char* source);

    /// Called with a window within `available`. False, with an item, when it cannot be opened.
    virtual bool OpenWindow(const PixelRect& wanted);
    /// True when a row lies in the window. Otherwise false, with an item.
    bool HoldsRow(std::uint32_t row);
    /// Replaces the contents of the status by one item. Always false.
    bool Fail(std::uint32_t id, const std::string& message);

    RasterInfo info;     ///< of the whole raster
    PixelRect available; ///< the pixels within which windows must lie
    PixelRect window;    ///< the current window, within `available`

private:
    const char* statusSource;
};

} // namespace hostkit
