#include "rasterhost/reading/FindScale.h"

#include "fundament/Text.h"
#include "rasterhost/reading/FileState.h"
#include "rasterhost/reading/NetworkFile.h"
#include "rasterhost/requests/GdalErrors.h"

#include <gdal_priv.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;

namespace {

/// The range of the samples seen so far.
struct SampleRange {
    double least = std::numeric_limits<double>::infinity();
    double greatest = -std::numeric_limits<double>::infinity();
    std::vector<double> some; ///< of the samples: every 61st

    /// Whether nearly all samples but the least and greatest value, which may mean no data, lie within a
    /// hundredth of the range, so that their scale has few steps.
    [[nodiscard]] bool HasOutliers() {
        constexpr double tail = 0.02, smallShare = 0.01;
        std::erase_if(some, [this](double sample) { return sample == least || sample == greatest; });
        if (some.empty()) return false;
        std::sort(some.begin(), some.end());
        const auto at = [this](double share) {
            return some[static_cast<std::size_t>(share * static_cast<double>(some.size() - 1))];
        };
        return at(1.0 - tail) - at(tail) < smallShare * (greatest - least);
    }
};

bool LookAtBand(GDALRasterBand& band, const std::optional<double>& noData, SampleRange& range) {
    constexpr int places = 8, mostSide = 128; // across and down
    int isDeclared = 0;
    const double declared = band.GetNoDataValue(&isDeclared);
    const int width = std::min(mostSide, band.GetXSize()), height = std::min(mostSide, band.GetYSize());
    std::vector<double> samples(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    std::size_t seen = 0;
    for (int i = 0; i < places * places; ++i) {
        const int column = (band.GetXSize() - width) / (places - 1) * (i % places);
        const int row = (band.GetYSize() - height) / (places - 1) * (i / places);
        if (band.RasterIO(GF_Read, column, row, width, height, samples.data(), width, height, GDT_Float64, 0,
                          0, nullptr) != CE_None)
            return false;
        for (const double sample : samples) {
            if (!std::isfinite(sample) ||
                (noData ? sample == *noData : isDeclared != 0 && sample == declared))
                continue;
            range.least = std::min(range.least, sample);
            range.greatest = std::max(range.greatest, sample);
            constexpr std::size_t step = 61; // no power of two, so that it meets all columns
            constexpr std::size_t most = std::size_t{1} << 20; // of many bands, the first tell
            if (seen++ % step == 0 && range.some.size() < most) range.some.push_back(sample);
        }
    }
    return true;
}

bool LookAtInput(const InputBand& input, const std::optional<double>& noData, SampleRange& range,
                 Status& status) {
    const GdalErrors errors;
    const FileState state = LookAt(input.file);
    const bool isPipe = state.exists && !state.isFile && !state.isFolder; // opening one may block forever
    const GDALDatasetUniquePtr file(isPipe ? nullptr : OpenRaster(input.file, true));
    const int count = file ? file->GetRasterCount() : 0;
    bool isRead = file != nullptr;
    for (int number = 1; isRead && number <= count; ++number) {
        GDALRasterBand& band = *file->GetRasterBand(number);
        const bool isWanted =
            input.band ? number == *input.band : band.GetColorInterpretation() != GCI_AlphaBand;
        isRead = !isWanted || LookAtBand(band, noData, range);
    }
    return isRead || Fail(status, HostStatus::InputNotOpened,
                          "'%s' cannot be read to find its range; check the name, or give the range with "
                          "--scale MIN,MAX%s",
                          input.file.c_str(), errors.Reason().c_str());
}

double SixDigits(double number) { return std::strtod(FormatString("%.6g", number).c_str(), nullptr); }

} // namespace

SampleScale ProposeScale(double least, double greatest) {
    const double lower = std::min(least, 0.0);
    return {SixDigits(lower), SixDigits(greatest + (greatest - lower) / 4.0)};
}

std::optional<SampleScale> FindScale(const PairRequest& request,
                                     const std::function<void(const std::string&)>& warn, Status& status) {
    std::vector<InputBand> inputs = request.multispectral;
    inputs.push_back(request.pan);
    if (request.infrared) inputs.push_back(*request.infrared);
    SampleRange range;
    for (const InputBand& input : inputs)
        if (!LookAtInput(input, request.noData, range, status)) return std::nullopt;
    if (range.HasOutliers())
        warn(FormatString("nearly all samples but the least and greatest value lie in less than a hundredth "
                          "of the range of --scale auto, %.6g to %.6g: few different values are left of "
                          "them; name the value that means no data with --nodata, or give their range with "
                          "--scale MIN,MAX",
                          range.least, range.greatest));
    const SampleScale scale = ProposeScale(range.least, range.greatest);
    if (scale.least < scale.greatest && std::isfinite(scale.greatest - scale.least)) return scale;
    Fail(status, HostStatus::InputsDoNotFit,
         "no range of samples to scale was found: every sample is 0 or not finite; give the range with "
         "--scale "
         "MIN,MAX");
    return std::nullopt;
}

} // namespace rasterhost
