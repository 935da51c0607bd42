#pragma once

#include "kernels/FusionRow.h"
#include "kernels/Simd.h"
#include "pansharp/BandParameter.h"
#include "pxl/ImageBase.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace PXL {

/// Ids of the items that the pan-sharpening images and their creation function record.
namespace PanSharpStatus {
inline constexpr std::uint32_t InputsMissing = 0x3901;
inline constexpr std::uint32_t UnknownMethod = 0x3902;
inline constexpr std::uint32_t PanNotGray = 0x3904;
inline constexpr std::uint32_t DepthsDiffer = 0x3905;
inline constexpr std::uint32_t BeyondEnd = 0x3906;
inline constexpr std::uint32_t TooFewBands = 0x3907;
inline constexpr std::uint32_t NoOutputBands = 0x3908;
inline constexpr std::uint32_t PanWindowFailed = 0x390D;
inline constexpr std::uint32_t WindowDoesNotFit = 0x3910;
inline constexpr std::uint32_t NoWindow = 0x3911;
inline constexpr std::uint32_t RowNotCovered = 0x3912;
inline constexpr std::uint32_t NoInputRow = 0x3913;
inline constexpr std::uint32_t RowTooLong = 0x3914;
inline constexpr std::uint32_t PanWithoutBand = 0x3915;
} // namespace PanSharpStatus

/// Reads the weights from their properties: 1 / bands each; 0 for a text that is not a number.
/// "AdditionalBandWeight" replaces the weight of the last band.
void ReadKovaWeights(const ParameterTexts& texts, std::span<double> weights);

inline constexpr PansharpBandParameter kovaWeights[] = {
    {{"BandWeight-N", "double", "1 / bands", "weight of multispectral band N in the simulated pan"},
     {"AdditionalBandWeight", "double", "",
      "replaces the weight of the last band, the infrared one when there is one"},
     -unbounded,
     unbounded,
     PansharpFit::Share,
     &ToProperties,
     &FromProperties<ReadKovaWeights>}};

inline constexpr PansharpMethod kovaMethod = {
    .keyword = "KOVA",
    .summary = "adds the difference between pan and a weighted sum of the bands to every band",
    .formula = "out[c] = ms[c] + (pan - sum of ms[b] * weight[b])",
    .advice = "keeps the differences between the bands, with any number of bands, when pan is "
              "close to a weighted sum of them",
    .minimumBands = 1,
    .fusedBands = 0,
    .isRecommended = 0,
    .additionalBand = PansharpAdditionalBand::Infrared,
    .bandParameterCount = std::size(kovaWeights),
    .bandParameters = kovaWeights,
    .scalarParameterCount = 0,
    .scalarParameters = nullptr};

template <class Base>
class PanSharp;

/// Fuses a multispectral image, already on the pan grid, with a one-band panchromatic image of the same
/// depth. It is the base of all methods, and the method "KOVA" itself (kernels/KovaRow.h).
///
/// The multispectral image covers exactly the window: its row k and column j lie at row firstRow + k and
/// column firstColumn + j of pan. SetWindow sets the window of pan only. Both inputs must outlive this image
/// and are not owned.
///
/// A method is a class that derives from this one and replaces Init: it calls PrepareInit, reads its weights,
/// and calls FinishInit with its row kernel from RowFor. What it keeps besides, it releases in Reset.
template <class Info, class T, class Traits>
class PanSharp<ImageBase<Info, T*, Traits>> : public ImageBase<Info, T*, Traits> {
public:
    using InputImage = ImageBase<Info, T*, Traits>;

    PanSharp();
    PanSharp(const PanSharp&) = delete;
    PanSharp& operator=(const PanSharp&) = delete;

    /// The output: pan's size and georeferencing, "outputNBands" bands, "ColorSpace" "Gray" for one band,
    /// "RGB" for three, else "Unknown". Only meaningful after Init.
    Info GetInfo() override { return outputInfo; }

    /// The fused row: window columns x output bands. `row` is a row of pan. Null, with an item, past pan's
    /// last row, where the multispectral image has no such row, without a window, and when an input has no
    /// row.
    T* GetRow(std::uint32_t row) override;
    T* GetNextRow() override { return this->GetRow(nextRow); }

    /// Sets the window of pan. Fails when pan refuses it, or when it does not lie within pan's columns and
    /// rows and within the size of the multispectral image. Rows can be read only after a success.
    bool SetWindow(std::uint32_t col0, std::uint32_t row0, std::uint32_t col1, std::uint32_t row1) override;

    /// Reads "outputNBands" (default 3) and the weights.
    virtual bool Init(InputImage* multispectral, InputImage* pan);
    /// Sets the vector target for the next Init. It must be able to run here. Without it, Init chooses.
    void UseSimdTarget(kernels::SimdTarget target) { simd.given = target; }
    /// For a multispectral image whose last band is stored apart. `source` is called for a row instead of
    /// that image. It returns the row of the other bands and the row of the last; either may be null on
    /// failure.
    using ApartRows = std::pair<const T*, const T*>;
    void TakeRowsApart(std::function<ApartRows(std::uint32_t row)> source) { apartRows = std::move(source); }
    virtual bool Reset(); ///< releases what Init made; the status becomes empty, with source "Pansharp"
    virtual ~PanSharp();

    /// The method's row kernel for a vector target.
    static kernels::FuseRow<T> RowFor(kernels::SimdTarget target);

protected:
    /// The first part of Init. Resets, makes the checks that all methods share (inputs, depths, at least
    /// `fewestBands` bands, working memory) and fills the members below. After a failure the image gives no
    /// rows until Init succeeds.
    bool PrepareInit(InputImage* multispectral, InputImage* pan, std::uint32_t fewestBands = 1);

    /// The first `count` values of a parameter, from the properties that its description names.
    [[nodiscard]] std::vector<double> ReadValues(const PansharpBandParameter& parameter, std::uint32_t count);

    /// The last part of Init. Sets the output's colour space and row buffer, and the kernel that GetRow calls
    /// with `bandWeights`, one per multispectral band, and with the gains, which the method keeps.
    void FinishInit(kernels::FuseRow<T> kernel, const kernels::InjectionGains* gains = nullptr);
    void PublishBands(); ///< KOVA's metadata: bands and weights, while metadata is enabled

    kernels::SimdChoice simd;
    InputImage* msImage = nullptr;
    InputImage* panImage = nullptr;
    Info panInfo;
    Info msInfo;
    Info outputInfo;
    std::vector<T> outputRow;
    std::vector<double> bandWeights;
    std::uint32_t outputBandCount = 0;
    std::uint32_t msBandCount = 0;

private:
    bool CheckBands(std::uint32_t fewestBands); ///< the last check of PrepareInit
    /// The input rows of an output row; advances `nextRow`. False, with an item, when one is missing.
    bool FetchRows(std::uint32_t row, kernels::FusionRows<T>& rows);

    std::uint32_t windowColumns = 0; ///< 0 while no window is set
    std::uint32_t windowFirstRow = 0;
    std::uint32_t nextRow = 0;
    std::function<ApartRows(std::uint32_t)> apartRows;
    kernels::FuseRow<T> fuseRow = nullptr;
    const kernels::InjectionGains* injection = nullptr;
};

template <class T>
using PanSharpImage = PanSharp<Image<T>>;
using PanSharp8 = PanSharpImage<unsigned char>;
using PanSharp16 = PanSharpImage<unsigned short>;

} // namespace PXL
