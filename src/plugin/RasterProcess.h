#pragma once

#include "host/IRasterProcess.h"
#include "host/Object.h"

namespace KOVA::Tessara::Pixmere {

/// The base of every raster process: the bookkeeping of the host's interface. A derived class supplies
/// SetProperties and the three operations that do the work, called in this order: InitProcess,
/// SetProcessWindow, GetProcessRow. An exception that they throw becomes a failure with an item in the
/// status.
///
/// Input raster, workspace, request record and colour map belong to the host and must outlive their use here.
class PANSHARP_EXPORT RasterProcess : public Global::Object, public virtual IRasterProcess {
public:
    RasterProcess();
    ~RasterProcess() override;

    std::string ToString() override; ///< the properties and the published description, a line each

    int Init() override;
    int SetWindow(std::uint32_t col0, std::uint32_t row0, std::uint32_t col1, std::uint32_t row1) override;
    const unsigned char* GetRow(std::uint32_t row) override;

    /// The same address for the object's whole life; its contents change with Init.
    const RasterInfo* GetRasterInfo() override { return &info; }
    int SetWorkspace(void* newWorkspace) override;
    int SetAoi(Aoi* newAoi) override;
    int SetInputRaster(IRaster* raster) override; ///< null is refused; the previous raster stays

    /// The input raster's colour map. Without an input raster, the one that was set, with `count` unchanged.
    unsigned short** GetColorMap(unsigned int& count) override;
    int SetColorMap(unsigned short** map, unsigned int count) override; ///< the count is not kept

    const Global::NameValueMap& GetMetadata() override { return metadata; }
    ProcessModifierFlags GetModifierFlags() override { return modifierFlags; }
    std::vector<Mapwarp::FGeoTransformers*> GetGeoTransformer() override;

private:
    RasterProcess(const RasterProcess&); // a process is never copied
    RasterProcess& operator=(const RasterProcess&);

    virtual int Close();

protected:
    virtual int InitProcess() = 0;
    virtual int SetProcessWindow(std::uint32_t col0, std::uint32_t row0, std::uint32_t col1,
                                 std::uint32_t row1) = 0;
    virtual const unsigned char* GetProcessRow(std::uint32_t row) = 0;

    /// Called in a catch block: records the exception that is being handled. Does not throw.
    void RecordException(const char* operation) noexcept;

    /// Called at the start of an operation. Of more than 1000 items only the newest 500 are kept, after one
    /// that says so; so the status cannot grow without limit when a host never reads it.
    void BoundStatus();

    RasterInfo info;
    ProcessModifierFlags modifierFlags;
    unsigned short** colorMap = nullptr;
    IRaster* inputRaster = nullptr;
    std::vector<Mapwarp::FGeoTransformers*> geoTransformers;
    void* workspace = nullptr;
    Aoi* aoi = nullptr;
    Global::NameValueMap metadata;
};

} // namespace KOVA::Tessara::Pixmere
