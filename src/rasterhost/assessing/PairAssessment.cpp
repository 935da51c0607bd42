#include "rasterhost/assessing/PairAssessment.h"

#include "hostkit/RequestRecord.h"
#include "imagery/DegradedRows.h"
#include "quality/NoReference.h"
#include "rasterhost/assessing/CompareRows.h"
#include "rasterhost/assessing/InParts.h"
#include "rasterhost/requests/CacheLimit.h"

#include <algorithm>
#include <array>
#include <list>
#include <numeric>

namespace rasterhost {

using imagery::DegradedRows;
using imagery::DegradeOnto;
using imagery::ImageRows;
using imagery::KeepCommon;
using imagery::NumberRows;
using imagery::RowSource;
using imagery::SampleRows;
using imagery::UpsampledRows;

using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

constexpr const char* assessedNames[] = {"fused", "bilinear"};
constexpr std::size_t assessedImages = std::size(assessedNames);

/// The images as one thread reads them.
struct PairReaders {
    std::unique_ptr<InputImage> fused, pan, multispectral;
    std::unique_ptr<ImageRows> panRows, multispectralRows;
    std::array<std::unique_ptr<RowSource>, assessedImages> rows;    ///< on the grid of pan
    std::array<std::unique_ptr<DegradedRows>, assessedImages> seen; ///< on the multispectral grid
    std::unique_ptr<DegradedRows> seenPan;
    std::array<SampleRows, assessedImages> samples;
    std::array<NumberRows, assessedImages> numbers;
    SampleRows truth, pansSamples;
    NumberRows pansNumbers;
};

/// What is found at the multispectral pixels.
struct CoarseIndices {
    CoarseIndices(std::size_t columns, std::size_t bands, std::size_t side) : scale(columns, bands, 1, side) {
        for (std::size_t image = 0; image < assessedImages; ++image) {
            consistency.emplace_back(columns, bands);
            blurred.emplace_back(columns, bands, quality::blockSide);
        }
    }
    void Append(CoarseIndices& below) {
        scale.Append(below.scale);
        for (auto [own, other] = std::pair(consistency.begin(), below.consistency.begin());
             own != consistency.end(); ++own, ++other)
            own->Append(*other);
        for (auto [own, other] = std::pair(blurred.begin(), below.blurred.begin()); own != blurred.end();
             ++own, ++other)
            own->Append(*other);
    }

    quality::ScaleIndices scale;
    std::list<quality::Comparison> consistency;    ///< one per image
    std::list<quality::HypercomplexIndex> blurred; ///< likewise
};

/// At the pixels of pan.
struct FineIndices {
    FineIndices(std::size_t columns, std::size_t bands)
        : scale(columns, bands, assessedImages, quality::blockSide) {}
    void Append(FineIndices& below) {
        scale.Append(below.scale);
        pixels += below.pixels;
    }

    quality::ScaleIndices scale;
    std::uint64_t pixels = 0;
};

class PairAssessment {
public:
    PairAssessment(const Scene& pairScene, const InputImage& fusedImage, const SensorBlur& sensorBlur,
                   double gridRatio)
        : scene(pairScene), fused(fusedImage), blur(sensorBlur), ratio(gridRatio), fine(scene.pan->GetInfo()),
          coarse(scene.GetMultispectral().GetInfo()), bands(coarse.bandsPerPixel),
          coarseSide(quality::CoarseBlockSide(ratio)) {}

    bool Run(int threads, std::vector<PairIndices>& found, Status& status) const {
        CoarseIndices atCoarse(coarse.cols, bands, coarseSide);
        FineIndices atFine(fine.cols, bands);
        // Parts end with whole blocks of all sizes.
        constexpr std::size_t leastRows = 256;
        const std::size_t unit = std::lcm(coarseSide, quality::blockSide);
        const auto leastCoarse = static_cast<std::size_t>(static_cast<double>(leastRows) / ratio);
        const auto open = [this](Status& reasons) { return Open(reasons); };
        const auto run = [&](std::size_t rows, std::size_t partRows, auto see, auto& all) {
            return InParts(
                threads, (rows + partRows - 1) / partRows, open,
                [&](PairReaders& readers, std::size_t part, Status& reasons) {
                    const std::size_t first = part * partRows;
                    return (this->*see)(readers, first, std::min(first + partRows, rows), reasons);
                },
                [&all](auto& made) { all.Append(made); }, status);
        };
        return run(coarse.rows, unit * std::max<std::size_t>(leastCoarse / unit, 1),
                   &PairAssessment::SeeCoarse, atCoarse) &&
               run(fine.rows, leastRows, &PairAssessment::SeeFine, atFine) &&
               Find(atCoarse, atFine, found, status);
    }

private:
    std::unique_ptr<PairReaders> Open(Status& status) const {
        auto readers = std::make_unique<PairReaders>();
        const PlacedImage& placed = scene.GetMultispectral();
        readers->fused = InputImage::Open(fused.GetDescription(), status);
        readers->pan = readers->fused ? InputImage::Open(scene.pan->GetDescription(), status) : nullptr;
        readers->multispectral =
            readers->pan ? InputImage::Open(placed.image->GetDescription(), status) : nullptr;
        if (!readers->multispectral) return nullptr;
        readers->panRows = std::make_unique<ImageRows>(*readers->pan);
        readers->multispectralRows = std::make_unique<ImageRows>(*readers->multispectral);
        readers->rows[0] = std::make_unique<ImageRows>(*readers->fused);
        readers->rows[1] =
            std::make_unique<UpsampledRows>(*readers->multispectral, *placed.placement,
                                            hostkit::WholeImage(fine), hostkit::Resampling::Bilinear, true);
        const auto degrade = [this](RowSource& rows, std::span<const double> transfers) {
            return std::make_unique<DegradedRows>(
                DegradeOnto(rows, fine, coarse, hostkit::WholeImage(coarse), transfers));
        };
        for (std::size_t image = 0; image < assessedImages; ++image)
            readers->seen[image] = degrade(*readers->rows[image], blur.multispectral);
        readers->seenPan = degrade(*readers->panRows, std::span(&blur.pan, 1));
        return readers;
    }

    std::unique_ptr<CoarseIndices> SeeCoarse(PairReaders& readers, std::size_t first, std::size_t end,
                                             Status& status) const {
        constexpr std::size_t rowsAtOnce = 8;
        auto found = std::make_unique<CoarseIndices>(coarse.cols, bands, coarseSide);
        for (std::size_t top = first; top < end; top += rowsAtOnce) {
            const auto from = static_cast<std::uint32_t>(top);
            const auto to = static_cast<std::uint32_t>(std::min(top + rowsAtOnce, end));
            if (!readers.multispectralRows->Read(from, to, readers.truth, status) ||
                !readers.seenPan->ReadNumbers(from, to, readers.pansNumbers, status))
                return nullptr;
            std::vector<unsigned char>& valid = readers.truth.valid;
            for (std::size_t image = 0; image < assessedImages; ++image) {
                if (!readers.seen[image]->ReadNumbers(from, to, readers.numbers[image], status))
                    return nullptr;
                KeepCommon(valid, readers.numbers[image].valid);
            }
            KeepCommon(readers.pansNumbers.valid, valid);
            for (std::size_t row = 0; row < to - from; ++row)
                AddCoarseRow(readers, row * coarse.cols, *found);
        }
        return found;
    }

    /// `at` is the first pixel of the row.
    void AddCoarseRow(const PairReaders& readers, std::size_t at, CoarseIndices& found) const {
        const unsigned short* truth = readers.truth.samples.data() + at * bands;
        const unsigned char* valid = readers.truth.valid.data() + at;
        auto consistency = found.consistency.begin();
        auto blurred = found.blurred.begin();
        for (std::size_t image = 0; image < assessedImages; ++image) {
            const double* seen = readers.numbers[image].numbers.data() + at * bands;
            consistency++->AddRow(seen, truth, valid);
            blurred++->AddRow(std::array<quality::Channels, 2>{{{seen, bands}, {truth, bands}}}, valid);
        }
        const double* pan = readers.pansNumbers.numbers.data() + at;
        found.scale.AddRow(std::array<quality::Channels, 2>{{{truth, bands}, {pan, 1}}},
                           readers.pansNumbers.valid.data() + at);
    }

    std::unique_ptr<FineIndices> SeeFine(PairReaders& readers, std::size_t first, std::size_t end,
                                         Status& status) const {
        constexpr std::size_t rowsAtOnce = 16;
        auto found = std::make_unique<FineIndices>(fine.cols, bands);
        for (std::size_t top = first; top < end; top += rowsAtOnce) {
            const auto from = static_cast<std::uint32_t>(top);
            const auto to = static_cast<std::uint32_t>(std::min(top + rowsAtOnce, end));
            if (!readers.panRows->Read(from, to, readers.pansSamples, status)) return nullptr;
            std::vector<unsigned char>& valid = readers.pansSamples.valid;
            for (std::size_t image = 0; image < assessedImages; ++image) {
                if (!readers.rows[image]->Read(from, to, readers.samples[image], status)) return nullptr;
                KeepCommon(valid, readers.samples[image].valid);
            }
            for (std::size_t at = 0; at < valid.size(); at += fine.cols) {
                std::vector<quality::Channels> row;
                for (const SampleRows& rows : readers.samples)
                    row.push_back({rows.samples.data() + at * bands, bands});
                row.push_back({readers.pansSamples.samples.data() + at, 1});
                found->scale.AddRow(row, valid.data() + at);
            }
            found->pixels += valid.size() - static_cast<std::size_t>(std::count(
                                                valid.begin(), valid.end(), static_cast<unsigned char>(0)));
        }
        return found;
    }

    bool Find(CoarseIndices& atCoarse, FineIndices& atFine, std::vector<PairIndices>& found,
              Status& status) const {
        const auto fineScale = atFine.scale.Find(), coarseScale = atCoarse.scale.Find();
        auto consistency = atCoarse.consistency.begin();
        auto blurred = atCoarse.blurred.begin();
        for (std::size_t image = 0; image < assessedImages; ++image) {
            PairIndices indices;
            indices.name = assessedNames[image];
            indices.consistency = consistency++->Find(ratio);
            indices.pixels = atFine.pixels;
            if (indices.consistency.pixels == 0 || indices.pixels == 0)
                return Fail(status, HostStatus::InputsDoNotFit,
                            "no multispectral pixel has data around it in all images; there is "
                            "nothing to assess");
            indices.spectralDistortion =
                quality::Distortion(fineScale[image].ofBands, coarseScale[0].ofBands);
            indices.spatialDistortion = quality::Distortion(fineScale[image].withPan, coarseScale[0].withPan);
            indices.qnr = (1.0 - indices.spectralDistortion) * (1.0 - indices.spatialDistortion);
            indices.spectralDistortionOfBlur = 1.0 - blurred++->Find();
            indices.hqnr = (1.0 - indices.spectralDistortionOfBlur) * (1.0 - indices.spatialDistortion);
            found.push_back(std::move(indices));
        }
        return true;
    }

    const Scene& scene;
    const InputImage& fused;
    const SensorBlur& blur;
    const double ratio;
    const RasterInfo& fine;
    const RasterInfo coarse;
    const std::size_t bands, coarseSide;
};

} // namespace

bool AssessPair(const Scene& scene, const InputImage& fused, const SensorBlur& blur, double ratio,
                std::vector<PairIndices>& found, Status& status) {
    const std::initializer_list<const InputImage*> inputs = {&fused, scene.pan.get(),
                                                             scene.GetMultispectral().image.get()};
    const int threads = StripThreads(inputs, 0);
    const CacheLimit cache(StripCache(inputs, threads));
    return PairAssessment(scene, fused, blur, ratio).Run(threads, found, status);
}

} // namespace rasterhost
