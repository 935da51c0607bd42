#include "operators/BlendPixels.h"

#include "fundament/Numbers.h"
#include "fundament/Text.h"
#include "pxl/WorkingMemory.h"

namespace PXL {

using Fundament::FormatString;
using kernels::LinearMap;

template <class T>
BlendPixels<T>::BlendPixels(const char* operatorName, kernels::SampleBlend blend)
    : name(operatorName), sampleBlend(blend) {
    BlendPixels::Reset();
}

template <class T>
BlendPixels<T>::~BlendPixels() = default;

template <class T>
bool BlendPixels<T>::Reset() {
    this->status.Reset(0, {}, name, {});
    outputInfo = ImageInfo();
    outputBuffer = {};
    windowWidth = 0;
    input1Maps = input2Maps = outputMaps = {};
    sampleMaps = {};
    return true;
}

template <class T>
bool BlendPixels<T>::Init(const ImageInfo& input1, const ImageInfo& input2, bool fullWidth2) {
    input1Info = input1;
    input2Info = input2;
    input2FullWidth = fullWidth2;
    this->Reset();
    if (input1Info.bitsPerSample != input2Info.bitsPerSample) {
        this->status.Insert(
            BlendStatus::FormatsDiffer,
            FormatString("input image formats do not match; images have different bit-depths (%u and %u)",
                         input1Info.bitsPerSample, input2Info.bitsPerSample));
        return false;
    }
    rows = kernels::BlendKernelsFor<T>(simd.Get());
    input1Bands = input1Info.bands;
    input2Bands = input2Info.bands;
    if (!InitOperator()) {
        outputInfo = ImageInfo();
        outputBuffer = {};
        return false;
    }
    if (this->metadataEnabled) {
        this->metadata["input1NumChannels"] = FormatString("%u", input1Bands);
        this->metadata["input2NumChannels"] = FormatString("%u", input2Bands);
        this->metadata["outputNumChannels"] = FormatString("%u", outputBands);
    }
    return true;
}

template <class T>
bool BlendPixels<T>::SetWindow(std::uint32_t col0, std::uint32_t col1) {
    this->SetColumns(col0, col1, outputInfo.cols);
    windowWidth = this->endColumn - this->firstColumn;
    return true;
}

template <class T>
bool BlendPixels<T>::InitOperator() {
    if (!CheckBandsEqual() || !MakeOutput(input1Bands)) return false;
    ReadGainsAndOffsets();
    sampleMaps = kernels::BlendMaps<T>(sampleBlend, input1Maps, input2Maps, outputMaps);
    PublishOutputMaps();
    return true;
}

template <class T>
T* BlendPixels<T>::ProcessRow(const T* row1, const T* row2, std::uint32_t) {
    if (!CanProcess(row1, row2)) return nullptr;
    rows.samples(row1, row2, outputBuffer.data(), windowWidth, outputBands, sampleMaps);
    return outputBuffer.data();
}

template <class T>
bool BlendPixels<T>::CheckBandsEqual() {
    if (input1Bands == input2Bands) return true;
    this->status.Insert(
        BlendStatus::FormatsDiffer,
        FormatString("input image formats do not match; images have different number of bands (%u and %u)",
                     input1Bands, input2Bands));
    return false;
}

template <class T>
bool BlendPixels<T>::DescribeOutput(std::uint64_t bands) {
    if (!RowFits(input1Info.cols, bands, sizeof(T))) {
        this->status.Insert(
            BlendStatus::RowTooLong,
            FormatString("a row of %u columns and %llu bands is too long: at most %u bands and %u MiB",
                         input1Info.cols, static_cast<unsigned long long>(bands), mostBands,
                         static_cast<unsigned>(mostRowBytes >> 20)));
        return false;
    }
    outputInfo = input1Info;
    outputInfo.bands = outputBands = static_cast<std::uint32_t>(bands);
    return true;
}

template <class T>
bool BlendPixels<T>::MakeOutput(std::uint64_t bands) {
    if (!DescribeOutput(bands)) return false;
    outputBuffer.assign(std::size_t{outputInfo.cols} * outputBands, 0);
    return true;
}

template <class T>
bool BlendPixels<T>::ReadGainsAndOffsets() {
    outputMaps = ReadMaps("Output", 127.5, outputBands);
    input1Maps = ReadMaps("Primary", 0.0, input1Bands);
    input2Maps = ReadMaps("Auxiliary", 0.0, input2Bands);
    return true;
}

template <class T>
std::vector<LinearMap> BlendPixels<T>::ReadMaps(const std::string& family, double defaultOffset,
                                                std::uint32_t bands) {
    std::vector<LinearMap> maps(bands);
    LinearMap whenMissing = {.gain = 1.0, .offset = defaultOffset};
    for (std::uint32_t b = 0; b < bands; ++b) {
        const std::string number = FormatString("-%u", b + 1);
        maps[b].offset =
            Fundament::StringToDouble(this->properties[family + "Offset" + number], whenMissing.offset);
        maps[b].gain =
            Fundament::StringToDouble(this->properties[family + "Gain" + number], whenMissing.gain);
        whenMissing = maps[0];
    }
    return maps;
}

template <class T>
void BlendPixels<T>::PublishOutputMaps() {
    PublishMaps("output", outputMaps);
}

template <class T>
void BlendPixels<T>::PublishInputMaps() {
    PublishMaps("input1", input1Maps);
    PublishMaps("input2", input2Maps);
}

template <class T>
void BlendPixels<T>::PublishMaps(const std::string& family, const std::vector<LinearMap>& maps) {
    if (!this->metadataEnabled) return;
    std::vector<double> gains;
    std::vector<double> offsets;
    for (const LinearMap& map : maps) {
        gains.push_back(map.gain);
        offsets.push_back(map.offset);
    }
    this->metadata[family + "Gains"] = NumberList(gains);
    this->metadata[family + "Offsets"] = NumberList(offsets);
}

template class BlendPixels<unsigned char>;
template class BlendPixels<unsigned short>;

} // namespace PXL
