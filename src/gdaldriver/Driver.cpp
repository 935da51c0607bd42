#include "gdaldriver/DescriptionFiles.h"
#include "gdaldriver/SceneDataset.h"
#include "rasterhost/serving/SceneRecordJson.h"

#include <gdal_priv.h>

#include <memory>
#include <string_view>

namespace gdaldriver {

namespace {

constexpr const char* driverName = "PANSHARP";

/// GDAL asks drivers from libraries before all others, so anything that is not clearly ours is left to them.
int Identify(GDALOpenInfo* how) {
    return how->nHeaderBytes > 0 &&
           rasterhost::LooksLikeRecord(std::string_view(reinterpret_cast<const char*>(how->pabyHeader),
                                                        static_cast<std::size_t>(how->nHeaderBytes)));
}

/// While it lives, this thread counts as opening a description.
class Opening {
public:
    Opening() { isOpening = true; }
    Opening(const Opening&) = delete;
    Opening& operator=(const Opening&) = delete;
    ~Opening() { isOpening = false; }

    [[nodiscard]] static bool IsGoingOn() { return isOpening; }

private:
    static inline thread_local bool isOpening = false;
};

GDALDataset* Open(GDALOpenInfo* how) {
    if (!Identify(how)) return nullptr;
    if (Opening::IsGoingOn()) { // an input leads back to a description, by whatever name
        CPLError(CE_Failure, CPLE_NotSupported,
                 "'%s' describes a sharpened scene and cannot be an input of another one; name its images",
                 how->pszFilename);
        return nullptr;
    }
    const Opening opening;
    if (how->eAccess == GA_Update) {
        CPLError(CE_Failure, CPLE_NotSupported,
                 "'%s' describes a sharpened scene and cannot be changed; open it for reading only",
                 how->pszFilename);
        return nullptr;
    }
    return SceneDataset::OpenDescription(how->pszFilename, *how).release();
}

} // namespace

} // namespace gdaldriver

/// GDAL calls this when it has loaded the library.
extern "C" CPL_DLL void GDALRegister_PANSHARP() {
    using namespace gdaldriver;
    if (!GDAL_CHECK_VERSION(driverName) || GDALGetDriverByName(driverName)) return;
    auto driver = std::make_unique<GDALDriver>();
    driver->SetDescription(driverName);
    driver->SetMetadataItem(GDAL_DCAP_RASTER, "YES");
    driver->SetMetadataItem(GDAL_DCAP_VIRTUALIO, "YES");
    driver->SetMetadataItem(GDAL_DMD_LONGNAME, "Pansharp scene, sharpened as it is read");
    driver->SetMetadataItem(GDAL_DMD_EXTENSION, "pansharp");
    driver->SetMetadataItem(GDAL_DMD_EXTENSIONS, "pansharp");
    driver->SetMetadataItem(GDAL_DMD_OPENOPTIONLIST,
                            "<OpenOptionList><Option name='NUM_THREADS' type='string' default='1' "
                            "description='Threads for large reads: a number, or ALL_CPUS. Without it, "
                            "GDAL_NUM_THREADS is used.'/></OpenOptionList>");
    driver->pfnIdentify = Identify;
    driver->pfnOpen = Open;
    driver->pfnDelete = DeleteDescription;
    driver->pfnRename = RenameDescription;
    driver->pfnCopyFiles = CopyDescription;
    GetGDALDriverManager()->RegisterDriver(driver.release());
}
