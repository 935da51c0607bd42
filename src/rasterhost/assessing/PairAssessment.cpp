#include "rasterhost/assessing/PairAssessment.h"

#include "hostkit/RequestRecord.h"
#include "quality/NoReference.h"
#include "rasterhost/assessing/CompareRows.h"
#include "rasterhost/assessing/DegradedRows.h"
#include "rasterhost/assessing/InParts.h"
#include "rasterhost/requests/CacheLimit.h"

#include <algorithm>
#include <list>
#include <numeric>

namespace rasterhost {

using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

constexpr const char* names[] = {"fused", "bilinear"};
constexpr std::size_t images = std::size(names);

/// The images as one thread reads them.
struct PairReaders {
    std::unique_ptr<InputImage> fused, pan, multispectral;
    std::unique_ptr<JoinedRows> both; ///< the fused image and the upsampled one
    std::unique_ptr<ImageRows> panRows, multispectralRows;
    std::unique_ptr<DegradedRows> seenBoth, seenPan; ///< on the multispectral grid
    SampleRows a, b;
    NumberRows seen, seenOfPan;
    std::vector<double> numbers;
    std::vector<unsigned short> samples;
};

/// What is found at the multispectral pixels.
struct CoarseIndices {
    CoarseIndices(std::size_t columns, std::size_t bands, std::size_t side) : scale(columns, bands, 1, side) {
        for (std::size_t image = 0; image < images; ++image) {
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
    FineIndices(std::size_t columns, std::size_t bands) : scale(columns, bands, images, quality::blockSide) {}
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

    bool Run(std::vector<PairIndices>& found, Status& status) const {
        CoarseIndices atCoarse(coarse.cols, bands, coarseSide);
        FineIndices atFine(fine.cols, bands);
        // Parts end with whole blocks of all sizes.
        constexpr std::size_t leastRows = 256;
        const std::size_t unit = std::lcm(coarseSide, quality::blockSide);
        const auto leastCoarse = static_cast<std::size_t>(static_cast<double>(leastRows) / ratio);
        const auto open = [this](Status& reasons) { return Open(reasons); };
        const auto run = [&](std::size_t rows, std::size_t partRows, auto see, auto& all) {
            return InParts((rows + partRows - 1) / partRows, open,
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
        std::vector<std::size_t> own(bands), other(bands);
        std::iota(own.begin(), own.end(), std::size_t{0});
        std::iota(other.begin(), other.end(), bands);
        std::vector<JoinedRows::Part> parts;
        parts.push_back({std::make_unique<ImageRows>(*readers->fused), own});
        parts.push_back(
            {std::make_unique<UpsampledRows>(*readers->multispectral, *placed.placement,
                                             hostkit::WholeImage(fine), hostkit::Resampling::Bilinear, true),
             other});
        readers->both = std::make_unique<JoinedRows>(std::move(parts));
        std::vector<double> transfers = blur.multispectral;
        if (transfers.size() > 1)
            transfers.insert(transfers.end(), blur.multispectral.begin(), blur.multispectral.end());
        const hostkit::PixelRect all = hostkit::WholeImage(coarse);
        readers->seenBoth =
            std::make_unique<DegradedRows>(DegradeOnto(*readers->both, fine, coarse, all, transfers));
        readers->seenPan = std::make_unique<DegradedRows>(
            DegradeOnto(*readers->panRows, fine, coarse, all, std::span(&blur.pan, 1)));
        return readers;
    }

    std::unique_ptr<CoarseIndices> SeeCoarse(PairReaders& readers, std::size_t first, std::size_t end,
                                             Status& status) const {
        constexpr std::size_t rowsAtOnce = 8;
        auto found = std::make_unique<CoarseIndices>(coarse.cols, bands, coarseSide);
        for (std::size_t top = first; top < end; top += rowsAtOnce) {
            const auto from = static_cast<std::uint32_t>(top);
            const auto to = static_cast<std::uint32_t>(std::min(top + rowsAtOnce, end));
            if (!readers.seenBoth->ReadNumbers(from, to, readers.seen, status) ||
                !readers.multispectralRows->Read(from, to, readers.a, status) ||
                !readers.seenPan->ReadNumbers(from, to, readers.seenOfPan, status))
                return nullptr;
            KeepCommon(readers.seen.valid, readers.a.valid);
            KeepCommon(readers.seenOfPan.valid, readers.seen.valid);
            for (std::size_t row = 0; row < to - from; ++row)
                AddCoarseRow(readers, row * coarse.cols, *found);
        }
        return found;
    }

    /// `at` is the first pixel of the row.
    void AddCoarseRow(PairReaders& readers, std::size_t at, CoarseIndices& found) const {
        const std::size_t columns = coarse.cols;
        const unsigned short* truth = readers.a.samples.data() + at * bands;
        const double* seen = readers.seen.numbers.data() + at * images * bands;
        std::vector<double>& numbers = readers.numbers;
        auto consistency = found.consistency.begin();
        auto blurred = found.blurred.begin();
        for (std::size_t image = 0; image < images; ++image) {
            const double* own = seen + image * bands;
            numbers.resize(columns * bands);
            for (std::size_t column = 0; column < columns; ++column)
                std::copy_n(own + column * images * bands, bands, numbers.data() + column * bands);
            consistency++->AddRow(numbers.data(), truth, readers.seen.valid.data() + at);
            numbers.resize(columns * 2 * bands);
            for (std::size_t column = 0; column < columns; ++column)
                std::copy_n(
                    truth + column * bands, bands,
                    std::copy_n(own + column * images * bands, bands, numbers.data() + column * 2 * bands));
            blurred++->AddRow(numbers.data(), readers.seen.valid.data() + at);
        }
        numbers.resize(columns * (bands + 1));
        for (std::size_t column = 0; column < columns; ++column)
            *std::copy_n(truth + column * bands, bands, numbers.data() + column * (bands + 1)) =
                readers.seenOfPan.numbers[at + column];
        found.scale.AddRow(numbers.data(), readers.seenOfPan.valid.data() + at);
    }

    std::unique_ptr<FineIndices> SeeFine(PairReaders& readers, std::size_t first, std::size_t end,
                                         Status& status) const {
        constexpr std::size_t rowsAtOnce = 16;
        const std::size_t columns = fine.cols, channels = images * bands;
        auto found = std::make_unique<FineIndices>(columns, bands);
        for (std::size_t top = first; top < end; top += rowsAtOnce) {
            const auto from = static_cast<std::uint32_t>(top);
            const auto to = static_cast<std::uint32_t>(std::min(top + rowsAtOnce, end));
            if (!readers.both->Read(from, to, readers.a, status) ||
                !readers.panRows->Read(from, to, readers.b, status))
                return nullptr;
            KeepCommon(readers.a.valid, readers.b.valid);
            readers.samples.resize(columns * (channels + 1));
            for (std::size_t at = 0; at < readers.a.valid.size(); at += columns) {
                for (std::size_t column = 0; column < columns; ++column)
                    *std::copy_n(readers.a.samples.data() + (at + column) * channels, channels,
                                 readers.samples.data() + column * (channels + 1)) =
                        readers.b.samples[at + column];
                found->scale.AddRow(readers.samples.data(), readers.a.valid.data() + at);
            }
            found->pixels +=
                readers.a.valid.size() -
                static_cast<std::size_t>(std::count(readers.a.valid.begin(), readers.a.valid.end(),
                                                    static_cast<unsigned char>(0)));
        }
        return found;
    }

    bool Find(CoarseIndices& atCoarse, FineIndices& atFine, std::vector<PairIndices>& found,
              Status& status) const {
        const auto fineScale = atFine.scale.Find(), coarseScale = atCoarse.scale.Find();
        auto consistency = atCoarse.consistency.begin();
        auto blurred = atCoarse.blurred.begin();
        for (std::size_t image = 0; image < images; ++image) {
            PairIndices indices;
            indices.name = names[image];
            indices.consistency = consistency++->Find(ratio);
            indices.pixels = atFine.pixels;
            if (indices.consistency.pixels == 0 || indices.pixels == 0)
                return Fail(
                    status, HostStatus::InputsDoNotFit,
                    "no multispectral pixel has data around it in all images; there is nothing to assess");
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
    const CacheLimit cache(StripCache({&fused, scene.pan.get(), scene.GetMultispectral().image.get()}));
    return PairAssessment(scene, fused, blur, ratio).Run(found, status);
}

} // namespace rasterhost
