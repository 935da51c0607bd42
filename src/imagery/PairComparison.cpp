#include "imagery/PairComparison.h"

#include "fundament/Text.h"
#include "hostkit/RequestRecord.h"
#include "imagery/DegradedRows.h"
#include "quality/NoReference.h"

#include <array>
#include <cmath>
#include <list>
#include <numeric>
#include <span>
#include <utility>

namespace imagery {

using KOVA::Tessara::Fundament::FormatString;

namespace {

constexpr const char* assessedNames[] = {"fused", "bilinear"};
constexpr std::size_t assessedImages = std::size(assessedNames);
/// The indices of this many rows of pan are found separately and then added up, so that sums do not depend on
/// the parts. It is a multiple of the block size.
constexpr std::size_t sliceRows = 256;

/// The end of the rows from `row` on that are read together: within a slice, and at most `end`.
std::size_t NextRows(std::size_t row, std::size_t end) {
    constexpr std::size_t most = 32;
    return std::min({row + most, (row / sliceRows + 1) * sliceRows, end});
}

} // namespace

struct PairComparison::Readers {
    PairImages images;
    std::unique_ptr<ImageRows> panRows, multispectralRows;
    std::array<std::unique_ptr<RowSource>, assessedImages> rows;    ///< on the grid of pan
    std::array<std::unique_ptr<DegradedRows>, assessedImages> seen; ///< on the multispectral grid
    std::unique_ptr<DegradedRows> seenPan;
    std::array<NumberRows, assessedImages> numbers;
    SampleRows truth;
    NumberRows pansNumbers;
    std::vector<unsigned char> valid; ///< of a row of pan: where all images have data
};

/// The indices found at the multispectral pixels.
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

/// The indices found at the pixels of pan.
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

/// The indices found in a part of the scene.
struct PairComparison::PartIndices {
    PartIndices(const PairView& view, std::size_t coarseSide)
        : coarse(view.coarse.cols, view.coarse.bandsPerPixel, coarseSide), columns(view.fine.cols),
          bands(view.coarse.bandsPerPixel) {
        AddSlice();
    }
    void AddSlice() { fine.emplace_back(columns, bands); }
    void Append(PartIndices& below) {
        coarse.Append(below.coarse);
        for (FineIndices& slice : below.fine)
            fine.front().Append(slice);
    }

    CoarseIndices coarse;
    std::list<FineIndices> fine; ///< one per slice, from top to bottom
    std::size_t columns, bands;
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
      all(std::make_unique<PartIndices>(view, coarseSide)) {
    // Parts end with whole blocks of every size.
    const std::size_t unit = std::lcm(coarseSide, quality::blockSide);
    const auto least = static_cast<std::size_t>(static_cast<double>(sliceRows) / view.ratio);
    coarseRows = unit * std::max<std::size_t>(least / unit, 1);
    parts = (view.coarse.rows + coarseRows - 1) / coarseRows;
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
        auto axes = AxesOnto(view.fine, view.coarse, hostkit::WholeImage(view.coarse), transfers);
        return std::make_unique<DegradedRows>(rows, std::move(axes.across), std::move(axes.down));
    };
    for (std::size_t image = 0; image < assessedImages; ++image)
        readers->seen[image] = degrade(*readers->rows[image], view.blur.multispectral);
    readers->seenPan = degrade(*readers->panRows, std::span(&view.blur.pan, 1));
    return readers;
}

/// The row of pan that belongs to a multispectral row: the nearest multiple of `unit`.
std::size_t PairComparison::FineRow(std::size_t row, std::size_t unit) const {
    if (row >= view.coarse.rows) return view.fine.rows;
    const double at =
        (view.fine.yMax - view.coarse.yMax + static_cast<double>(row) * view.coarse.pixelSizeY) /
        view.fine.pixelSizeY / static_cast<double>(unit);
    const std::size_t whole = view.fine.rows / unit;
    const double nearest = unit > 1 ? std::floor(at + 0.5) : at;
    return row == 0 ? 0
                    : unit * static_cast<std::size_t>(std::clamp(nearest, 0.0, static_cast<double>(whole)));
}

/// Reads multispectral rows, and the rows of pan that belong to them while these are held.
std::shared_ptr<PairComparison::PartIndices> PairComparison::See(Readers& readers, std::size_t part,
                                                                 Status& status) const {
    constexpr std::size_t rowsAtOnce = 8;
    const std::size_t first = part * coarseRows;
    const std::size_t end = std::min<std::size_t>(first + coarseRows, view.coarse.rows);
    auto found = std::make_shared<PartIndices>(view, coarseSide);
    const std::size_t fineFirst = FineRow(first, sliceRows), fineEnd = FineRow(end, sliceRows);
    std::size_t fineRow = fineFirst;
    for (std::size_t top = first; top < end; top += rowsAtOnce) {
        const std::size_t bottom = std::min(top + rowsAtOnce, end);
        if (!SeeCoarse(readers, top, bottom, *found, status)) return nullptr;
        const std::size_t to = bottom == end ? fineEnd : std::min(FineRow(bottom, 1), fineEnd);
        for (; fineRow < to; fineRow = NextRows(fineRow, to)) {
            if (fineRow > fineFirst && fineRow % sliceRows == 0) found->AddSlice();
            if (!SeeFine(readers, fineRow, NextRows(fineRow, to), *found, status)) return nullptr;
        }
    }
    return found;
}

bool PairComparison::SeeCoarse(Readers& readers, std::size_t first, std::size_t end, PartIndices& found,
                               Status& status) const {
    const auto from = static_cast<std::uint32_t>(first), to = static_cast<std::uint32_t>(end);
    if (!readers.multispectralRows->Read(from, to, readers.truth, status) ||
        !readers.seenPan->ReadNumbers(from, to, readers.pansNumbers, status))
        return false;
    std::vector<unsigned char>& valid = readers.truth.valid;
    for (std::size_t image = 0; image < assessedImages; ++image) {
        if (!readers.seen[image]->ReadNumbers(from, to, readers.numbers[image], status)) return false;
        KeepCommon(valid, readers.numbers[image].valid);
    }
    KeepCommon(readers.pansNumbers.valid, valid);
    for (std::size_t row = 0; row < end - first; ++row)
        AddCoarseRow(readers, row * view.coarse.cols, found);
    return true;
}

/// `at` is the first pixel of the row.
void PairComparison::AddCoarseRow(const Readers& readers, std::size_t at, PartIndices& part) const {
    CoarseIndices& found = part.coarse;
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

bool PairComparison::SeeFine(Readers& readers, std::size_t first, std::size_t end, PartIndices& part,
                             Status& status) const {
    FineIndices& found = part.fine.back();
    std::array<HeldRows*, assessedImages + 1> images = {};
    for (std::size_t image = 0; image < assessedImages; ++image)
        images[image] = &readers.seen[image]->GetFine();
    images.back() = &readers.seenPan->GetFine();
    for (HeldRows* image : images)
        if (!image->Hold(first, end, status)) return false;
    for (std::size_t row = first; row < end; ++row) {
        readers.valid.assign(view.fine.cols, 1);
        std::array<quality::Channels, assessedImages + 1> samples;
        for (std::size_t image = 0; image < images.size(); ++image) {
            const HeldRows::Row held = images[image]->Get(row);
            samples[image] = {held.samples, image < assessedImages ? bands : 1};
            if (!held.isWhole) KeepCommon(readers.valid, {held.valid, view.fine.cols});
        }
        found.scale.AddRow(samples, readers.valid.data());
        found.pixels += static_cast<std::size_t>(
            std::count(readers.valid.begin(), readers.valid.end(), static_cast<unsigned char>(1)));
    }
    return true;
}

void PairComparison::Append(PartIndices& below) { all->Append(below); }

std::vector<PairIndices> PairComparison::Find() {
    std::vector<PairIndices> found;
    FineIndices& atFine = all->fine.front();
    const auto fineScale = atFine.scale.Find(), coarseScale = all->coarse.scale.Find();
    auto consistency = all->coarse.consistency.begin();
    auto blurred = all->coarse.blurred.begin();
    for (std::size_t image = 0; image < assessedImages; ++image) {
        PairIndices indices;
        indices.name = assessedNames[image];
        indices.consistency = consistency++->Find(view.ratio);
        indices.pixels = atFine.pixels;
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
