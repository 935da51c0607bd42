#pragma once

#include "hostkit/ImageSource.h"
#include "hostkit/Placement.h"
#include "quality/Comparison.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// Compares an image with the pair that it was made from, by the indices of docs/quality.md that need no
/// truth.
namespace imagery {

/// The Gaussian blur of the sensors: modulation transfer at the Nyquist frequency of the multispectral
/// pixels, above 0 and below 1.
struct SensorBlur {
    std::vector<double> multispectral = {0.3}; ///< one per band, or one for all
    double pan = 0.15;
};

/// The fault in a blur for this many bands; empty when there is none.
[[nodiscard]] std::string FindFault(const SensorBlur& blur, std::size_t bands);

/// The indices of an image.
struct PairIndices {
    std::string name;                      ///< "fused" or "bilinear"
    quality::ReferenceIndices consistency; ///< of the degraded image against the multispectral image
    std::uint64_t pixels = 0;              ///< pan pixels at which it was compared with pan
    double spectralDistortion = 0.0;       ///< D_lambda
    double spatialDistortion = 0.0;        ///< D_S
    double qnr = 0.0;
    double spectralDistortionOfBlur = 0.0; ///< D_lambda of Khan: 1 - Q2n of the consistency
    double hqnr = 0.0;
};

/// The images as read by one thread. The fused one has the pixels of pan and the multispectral bands.
struct PairImages {
    std::unique_ptr<hostkit::ImageSource> fused, pan, multispectral;
};

/// How the images lie on each other, and the blur of their sensors.
struct PairView {
    hostkit::ImageSource::RasterInfo fine,
        coarse;                          ///< of pan and of the multispectral image, in the same units
    const hostkit::Placement& placement; ///< of the multispectral image under pan; must outlive the
                                         ///< comparison
    SensorBlur blur;                     ///< has no fault
    double ratio = 0.0;                  ///< for ERGAS and the block size, 1 or more
};

/// Compares the fused image, and plain bilinear upsampling, with the pair, at pixels where all have data.
/// Works in parts, which may be computed in parallel and are combined in order. Each row is read once for
/// both scales.
class PairComparison {
public:
    using Status = KOVA::Tessara::Fundament::Status;
    struct Readers;     ///< what one thread reads with
    struct PartIndices; ///< the indices of a part

    explicit PairComparison(const PairView& pairView);
    PairComparison(const PairComparison&) = delete;
    PairComparison& operator=(const PairComparison&) = delete;
    ~PairComparison();

    /// `open(status)` returns the images for one more thread; null for one that cannot be opened. `inParts`
    /// is called like rasterhost::InParts, without the number of threads. False, with an item, when an image
    /// cannot be read.
    template <class Open, class InParts>
    [[nodiscard]] bool Run(const Open& open, const InParts& inParts, Status& status) {
        using ReadersPointer = std::shared_ptr<Readers>;
        const auto openReaders = [&](Status& reasons) -> ReadersPointer { return Read(open(reasons)); };
        return inParts(
            parts, openReaders,
            [this](Readers& readers, std::size_t part, Status& reasons) {
                return See(readers, part, reasons);
            },
            [this](PartIndices& below) { Append(below); }, status);
    }

    /// The indices of the fused image, then of bilinear upsampling. Empty when no multispectral pixel has
    /// data around it in all images.
    [[nodiscard]] std::vector<PairIndices> Find();

private:
    struct CoarseIndices;
    struct FineIndices;
    [[nodiscard]] std::shared_ptr<Readers> Read(PairImages images) const;
    [[nodiscard]] std::shared_ptr<PartIndices> See(Readers& readers, std::size_t part, Status& status) const;
    [[nodiscard]] std::size_t FineRow(std::size_t row, std::size_t unit) const;
    bool SeeCoarse(Readers& readers, std::size_t first, std::size_t end, PartIndices& found,
                   Status& status) const;
    bool SeeFine(Readers& readers, std::size_t first, std::size_t end, PartIndices& found,
                 Status& status) const;
    void AddCoarseRow(const Readers& readers, std::size_t at, PartIndices& found) const;
    void Append(PartIndices& below);

    PairView view;
    std::size_t bands, coarseSide;
    std::size_t coarseRows = 0, parts = 0; ///< rows per part, and the number of parts
    std::unique_ptr<PartIndices> all;
};

} // namespace imagery
