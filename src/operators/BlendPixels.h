#pragma once

#include "kernels/BlendRow.h"
#include "pxl/BinaryRowOperatorBase.h"

#include <string>
#include <vector>

namespace PXL {

/// Ids of the items that the blending operators and their creation function record.
namespace BlendStatus {
inline constexpr std::uint32_t NoRgbToYuv = 0x4E01;
inline constexpr std::uint32_t RgbToYuvFailed = 0x4E02;
inline constexpr std::uint32_t NoYuvToRgb = 0x4E03;
inline constexpr std::uint32_t YuvToRgbFailed = 0x4E04;
inline constexpr std::uint32_t NoMethod = 0x4F01;
inline constexpr std::uint32_t UnknownMethod = 0x4F02;
inline constexpr std::uint32_t FormatsDiffer = 0x4F03;
inline constexpr std::uint32_t AuxiliaryNotGray = 0x4F05;
inline constexpr std::uint32_t RowTooLong = 0x4F10;
} // namespace BlendStatus

/// Combines each row of a first input (primary) with that of a second (auxiliary), pixel by pixel.
///
/// Properties, read by Init: "OutputOffset-1" ... (default 127.5), "OutputGain-1" ... (1), and for the inputs
/// "PrimaryOffset", "PrimaryGain", "AuxiliaryOffset", "AuxiliaryGain" (0 and 1), each numbered by band. The
/// value of band 1 is the default for the other bands.
///
/// An operator that works sample by sample is a class that passes its name and its blend to this base. Other
/// operators replace ProcessRow by a row of kernels/BlendRow.h. They replace InitOperator if they check, read
/// or publish anything else, and release in Reset what else they keep.
template <class T>
class BlendPixels : public BinaryRowOperator<T> {
public:
    BlendPixels(const BlendPixels&) = delete;
    BlendPixels& operator=(const BlendPixels&) = delete;

    /// Input 1's description with the operator's bands. Before Init and after a failed Init it has 0 columns.
    ImageInfo GetOutputInfo() override { return outputInfo; }
    bool SetWindow(std::uint32_t col0, std::uint32_t col1) override; ///< true

    /// `fullWidth2` tells that rows of input 2 are wider than the window; no operator uses it. After a
    /// failure, ProcessRow returns null until Init and SetWindow succeed.
    virtual bool Init(const ImageInfo& input1, const ImageInfo& input2, bool fullWidth2);
    /// Sets the vector target for the next Init. It must be able to run here. Without it, Init chooses.
    void UseSimdTarget(kernels::SimdTarget target) { simd.given = target; }
    T* ProcessRow(const T* row1, const T* row2, std::uint32_t row) override; ///< the blend of the samples
    virtual bool Reset(); ///< frees what Init made; the status becomes empty, its source the operator's name
    virtual ~BlendPixels();

protected:
    /// `blend` is used only by operators that do not replace ProcessRow.
    explicit BlendPixels(const char* operatorName, kernels::SampleBlend blend = kernels::SampleBlend::Sum);

    /// What Init does between the common checks and the common metadata. Here it checks that both inputs and
    /// the output have the same bands, reads gains and offsets, and publishes those of the output.
    virtual bool InitOperator();
    virtual bool ReadGainsAndOffsets(); ///< fills the maps from the properties; always true

    /// Steps of an InitOperator. False, with an item in `status`.
    bool CheckBandsEqual();
    bool DescribeOutput(std::uint64_t bands); ///< sets outputInfo
    bool MakeOutput(std::uint64_t bands);     ///< sets outputInfo and outputBuffer
    void PublishOutputMaps();                 ///< "outputGains", "outputOffsets", while metadata is enabled
    void PublishInputMaps();                  ///< the same for "input1" and "input2"

    [[nodiscard]] bool CanProcess(const T* row1, const T* row2) const {
        return row1 && row2 && windowWidth != 0 && !outputBuffer.empty();
    }

    kernels::BlendKernels<T> rows = {}; ///< chosen by Init
    kernels::SimdChoice simd;
    ImageInfo input1Info;
    ImageInfo input2Info;
    ImageInfo outputInfo;
    bool input2FullWidth = false;
    std::vector<T> outputBuffer; ///< columns x bands of the output
    std::uint32_t input1Bands = 0;
    std::uint32_t input2Bands = 0;
    std::uint32_t outputBands = 0;
    std::uint32_t windowWidth = 0;              ///< pixels; 0 while no window is set
    std::vector<kernels::LinearMap> input1Maps; ///< one per band
    std::vector<kernels::LinearMap> input2Maps;
    std::vector<kernels::LinearMap> outputMaps;

private:
    std::vector<kernels::LinearMap> ReadMaps(const std::string& family, double defaultOffset,
                                             std::uint32_t bands);
    void PublishMaps(const std::string& family, const std::vector<kernels::LinearMap>& maps);

    const char* const name;
    const kernels::SampleBlend sampleBlend;
    kernels::BlendMaps<T> sampleMaps;
};

using BlendPixels8 = BlendPixels<unsigned char>;
using BlendPixels16 = BlendPixels<unsigned short>;

} // namespace PXL
