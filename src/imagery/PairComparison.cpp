#include "imagery/PairComparison.h"

#include "fundament/Text.h"
#include "hostkit/RequestRecord.h"
#include "imagery/DegradedRows.h"
#include "quality/NoReference.h"

#include <array>
#include <list>
#include <numeric>
#include <span>
#include <utility>

namespace imagery {

using KOVA::Tessara::Fundament::FormatString;

namespace {

constexpr const char* assessedNames[] = {"fused", "bilinear"};
constexpr std::size_t assessedImages = std::size(assessedNames);
constexpr std::size_t panRowsOfPart = 256; ///< of a part

} // namespace

struct PairComparison::Readers {
    PairImages images;
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
struct PairComparison::CoarseIndices {
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
struct PairComparison::FineIndices {
    FineIndices(std::size_t columns, std::size_t bands)
        : scale(columns, bands, assessedImages, quality::blockSide) {}
    void Append(FineIndices& below) {
        scale.Append(below.scale);
        pixels += below.pixels;
    }

    quality::ScaleIndices scale;
    std::uint64_t pixels = 0;
};

std::string FindFault(const SensorBlur& blur, std::size_t bands) {
    const auto isTransfer = [](double number) { return number > 0.0 && number < 1.0; };
    if (!isTransfer(blur.pan) ||
        !std::all_of(blur.multispectral.begin(), blur.multispectral.end(), isTransfer))
        return "a modulation transfer at the Nyquist frequency must lie above 0 and below 1, such as 0.3";
    if (blur.multispectral.size() == 1 || blur.multispectral.size() == bands) return {};
    return FormatString("%zu modulation transfers are given for %zu bands; give one, or one per band",
                        blur.multispectral.size(), bands);
}

PairComparison::PairComparison(const PairView& pairView)
    : view(pairView), bands(view.coarse.bandsPerPixel), coarseSide(quality::CoarseBlockSide(view.ratio)),
      atCoarse(std::make_unique<CoarseIndices>(view.coarse.cols, bands, coarseSide)),
      atFine(std::make_unique<FineIndices>(view.fine.cols, bands)) {
    // Parts end with whole blocks of all sizes.
    const std::size_t unit = std::lcm(coarseSide, quality::blockSide);
    const auto least = static_cast<std::size_t>(static_cast<double>(panRowsOfPart) / view.ratio);
    coarseRows = unit * std::max<std::size_t>(least / unit, 1);
    coarseParts = (view.coarse.rows + coarseRows - 1) / coarseRows;
    fineParts = (view.fine.rows + panRowsOfPart - 1) / panRowsOfPart;
}

PairComparison::~PairComparison() = default;

std::shared_ptr<PairComparison::Readers> PairComparison::Read(PairImages images) const {
    if (!images.fused || !images.pan || !images.multispectral) return nullptr;
    auto readers = std::make_shared<Readers>();
    readers->images = std::move(images);
    const PairImages& from = readers->images;
    readers->panRows = std::make_unique<ImageRows>(*from.pan);
    readers->multispectralRows = std::make_unique<ImageRows>(*from.multispectral);
    readers->rows[0] = std::make_unique<ImageRows>(*from.fused);
    readers->rows[1] =
        std::make_unique<UpsampledRows>(*from.multispectral, view.placement, hostkit::WholeImage(view.fine),
                                        hostkit::Resampling::Bilinear, true);
    const auto degrade = [this](RowSource& rows, std::span<const double> transfers) {
        return std::make_unique<DegradedRows>(
            DegradeOnto(rows, view.fine, view.coarse, hostkit::WholeImage(view.coarse), transfers));
    };
    for (std::size_t image = 0; image < assessedImages; ++image)
        readers->seen[image] = degrade(*readers->rows[image], view.blur.multispectral);
    readers->seenPan = degrade(*readers->panRows, std::span(&view.blur.pan, 1));
    return readers;
}

std::shared_ptr<PairComparison::CoarseIndices> PairComparison::SeeCoarse(Readers& readers, std::size_t part,
                                                                         Status& status) const {
    constexpr std::size_t rowsAtOnce = 8;
    const std::size_t first = part * coarseRows;
    const std::size_t end = std::min<std::size_t>(first + coarseRows, view.coarse.rows);
    auto found = std::make_shared<CoarseIndices>(view.coarse.cols, bands, coarseSide);
    for (std::size_t top = first; top < end; top += rowsAtOnce) {
        const auto from = static_cast<std::uint32_t>(top);
        const auto to = static_cast<std::uint32_t>(std::min(top + rowsAtOnce, end));
        if (!readers.multispectralRows->Read(from, to, readers.truth, status) ||
            !readers.seenPan->ReadNumbers(from, to, readers.pansNumbers, status))
            return nullptr;
        std::vector<unsigned char>& valid = readers.truth.valid;
        for (std::size_t image = 0; image < assessedImages; ++image) {
            if (!readers.seen[image]->ReadNumbers(from, to, readers.numbers[image], status)) return nullptr;
            KeepCommon(valid, readers.numbers[image].valid);
        }
        KeepCommon(readers.pansNumbers.valid, valid);
        for (std::size_t row = 0; row < to - from; ++row)
            AddCoarseRow(readers, row * view.coarse.cols, *found);
    }
    return found;
}

/// `at` is the first pixel of the row.
void PairComparison::AddCoarseRow(const Readers& readers, std::size_t at, CoarseIndices& found) const {
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

std::shared_ptr<PairComparison::FineIndices> PairComparison::SeeFine(Readers& readers, std::size_t part,
                                                                     Status& status) const {
    constexpr std::size_t rowsAtOnce = 16;
    const std::size_t first = part * panRowsOfPart;
    const std::size_t end = std::min<std::size_t>(first + panRowsOfPart, view.fine.rows);
    auto found = std::make_shared<FineIndices>(view.fine.cols, bands);
    for (std::size_t top = first; top < end; top += rowsAtOnce) {
        const auto from = static_cast<std::uint32_t>(top);
        const auto to = static_cast<std::uint32_t>(std::min(top + rowsAtOnce, end));
        if (!readers.panRows->Read(from, to, readers.pansSamples, status)) return nullptr;
        std::vector<unsigned char>& valid = readers.pansSamples.valid;
        for (std::size_t image = 0; image < assessedImages; ++image) {
            if (!readers.rows[image]->Read(from, to, readers.samples[image], status)) return nullptr;
            KeepCommon(valid, readers.samples[image].valid);
        }
        for (std::size_t at = 0; at < valid.size(); at += view.fine.cols) {
            std::vector<quality::Channels> row;
            for (const SampleRows& rows : readers.samples)
                row.push_back({rows.samples.data() + at * bands, bands});
            row.push_back({readers.pansSamples.samples.data() + at, 1});
            found->scale.AddRow(row, valid.data() + at);
        }
        found->pixels += valid.size() - static_cast<std::size_t>(std::count(valid.begin(), valid.end(),
                                                                            static_cast<unsigned char>(0)));
    }
    return found;
}

void PairComparison::Append(CoarseIndices& below) { atCoarse->Append(below); }

void PairComparison::Append(FineIndices& below) { atFine->Append(below); }

std::vector<PairIndices> PairComparison::Find() {
    std::vector<PairIndices> found;
    const auto fineScale = atFine->scale.Find(), coarseScale = atCoarse->scale.Find();
    auto consistency = atCoarse->consistency.begin();
    auto blurred = atCoarse->blurred.begin();
    for (std::size_t image = 0; image < assessedImages; ++image) {
        PairIndices indices;
        indices.name = assessedNames[image];
        indices.consistency = consistency++->Find(view.ratio);
        indices.pixels = atFine->pixels;
        if (indices.consistency.pixels == 0 || indices.pixels == 0) return {};
        indices.spectralDistortion = quality::Distortion(fineScale[image].ofBands, coarseScale[0].ofBands);
        indices.spatialDistortion = quality::Distortion(fineScale[image].withPan, coarseScale[0].withPan);
        indices.qnr = (1.0 - indices.spectralDistortion) * (1.0 - indices.spatialDistortion);
        indices.spectralDistortionOfBlur = 1.0 - blurred++->Find();
        indices.hqnr = (1.0 - indices.spectralDistortionOfBlur) * (1.0 - indices.spatialDistortion);
        found.push_back(std::move(indices));
    }
    return found;
}

} // namespace imagery
