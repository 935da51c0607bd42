#pragma once

#include "host/Aoi.h"
#include "host/IRasterProcessChain.h"
#include "host/IRasterWorkspace.h"
#include "kernels/Simd.h"
#include "operators/ImageViaBinaryRowOperator.h"
#include "pansharp/PanSharp.h"
#include "plugin/RasterProcess.h"
#include "pxl/SimpleImage.h"

#include <memory>

namespace KOVA::Tessara::Pixmere {

/// The raster process that the plug-in gives to the host. It fuses the input raster (panchromatic) with a
/// multispectral raster and optionally one infrared band. It gets these from process chains of the workspace.
///
/// The host calls SetProperties, SetInputRaster, SetWorkspace and SetAoi, then Init. Then, for each window,
/// it calls SetWindow, GetRow for rows of that window, and GetMetadata at any time. A row has window columns
/// x "outputNBands" samples of the input's depth, and belongs to the process until its next call. Nothing
/// that the host passes in is owned. The size of every raster is checked.
///
/// Properties: "Method", "MSImageID", "AdditionalBandID", "_key_Process_RasterId_", "outputNBands",
/// "ReSampleMS", "ReSampleIR", "generateMetadata". All properties are also passed to the image of the method.
class PansharpRaster : public RasterProcess {
public:
    PansharpRaster() = default;
    ~PansharpRaster() override;

    /// Loads the properties. Returns 0 for null or an empty map.
    int SetProperties(const Global::NameValueMap* map) override;
    /// Null removes the workspace: its chains are not given back unless it is set again, so it may be
    /// destroyed. A workspace that is replaced by another gets its chains back and must live until then.
    int SetWorkspace(void* newWorkspace) override;
    const Global::NameValueMap& GetMetadata() override; ///< with the current metadata of the method

protected:
    int InitProcess() override;
    int SetProcessWindow(std::uint32_t col0, std::uint32_t row0, std::uint32_t col1,
                         std::uint32_t row1) override;
    const unsigned char* GetProcessRow(std::uint32_t row) override;
    virtual int Reset(); ///< releases everything and empties the status; returns 1

private:
    struct Window {
        std::uint32_t col0 = 0;
        std::uint32_t row0 = 0;
        std::uint32_t col1 = 0;
        std::uint32_t row1 = 0;
        [[nodiscard]] Size GetSize() const { return {col1 - col0, row1 - row0}; }
    };

    /// The images of one pixel type. SimpleImages adapt the host's rasters without owning them.
    template <class T>
    struct Pipeline {
        PXL::RasterImage<T> msImage;
        PXL::RasterImage<T> panImage;
        PXL::RasterImage<T> irImage;
        std::unique_ptr<PXL::BlendPixels<T>> mergeOperator;
        std::unique_ptr<PXL::BinaryRowImage<T>>
            mergedImage; ///< the multispectral bands, then the infrared one
        std::unique_ptr<PXL::PanSharpImage<T>> panSharpImage;
        PXL::Image<T>* msSource = nullptr; ///< the multispectral input of panSharpImage

        void Clear();
    };

    template <class T>
    Pipeline<T>& GetPipeline();

    // One set per pixel type, bound by InitProcess.
    template <class T>
    int OpenPipeline(const Window& window);
    template <class T>
    const unsigned char* GetPipelineRow(std::uint32_t row);
    template <class T>
    int CollectPipelineMetadata();
    template <class T>
    void BindPixelType();

    // Steps of OpenPipeline, in order. Each returns false, with items in the status, on failure.
    template <class T>
    bool BuildPipeline();
    bool OpenInfrared();
    template <class T>
    bool OpenMultispectral();
    template <class T>
    bool MergeInfrared();
    bool CheckInfrared(std::uint32_t msBits, std::uint32_t irBits);
    template <class T>
    bool CheckInputs();
    template <class T>
    bool CreateFusion();

    void ReadProperties();
    bool CheckWindow(const Window& window);
    void PrepareRequest(const Window& window);
    void RequestInPixels(double vertical1, double vertical2, const Window& window);
    bool ObtainChains(const Window& window);
    bool InitializeChain(IRasterProcessChain& chain, const std::string& message);
    bool Covers(IRaster* raster, const char* role, const Size& least);
    void ReleaseWindow() noexcept;
    void ReleaseChain(IRasterProcessChain*& chain) noexcept;

    bool Fail(std::uint32_t id, const std::string& message, const Fundament::Status* reasons = nullptr);
    void AddOnce(std::uint32_t id, const std::string& message);
    void AppendOnce(const Fundament::Status& reasons);

    int (PansharpRaster::*pipelineOpener)(const Window&) = nullptr;
    const unsigned char* (PansharpRaster::*rowReader)(std::uint32_t) = nullptr;
    int (PansharpRaster::*metadataCollector)() = nullptr;
    std::uint32_t boundBits = 0; ///< depth that they are bound for

    kernels::SimdTarget simdTarget = 0;
    std::string method;
    std::string processRasterId;
    std::string msImageId;
    std::string additionalBandId;
    bool generateMetadata = false;
    bool reSampleMS = true;
    bool reSampleIR = true;

    IRaster* panRaster = nullptr;
    IRaster* msRaster = nullptr;
    IRaster* irRaster = nullptr;
    IRasterProcessChain* msChain = nullptr;
    IRasterProcessChain* irChain = nullptr;
    IRasterWorkspace* chainSource = nullptr; ///< the workspace that issued the chains
    bool sourceTaken = false;                ///< that workspace was removed, and may be destroyed

    RasterInfo workInfo;
    Aoi workAoi; ///< the request as given to the chains
    Window currentWindow;
    bool windowOpen = false; ///< the last SetWindow succeeded

    Pipeline<unsigned char> pipeline8;
    Pipeline<unsigned short> pipeline16;
};

} // namespace KOVA::Tessara::Pixmere
