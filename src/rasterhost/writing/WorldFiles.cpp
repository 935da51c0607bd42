#include "rasterhost/writing/WorldFiles.h"

#include "rasterhost/reading/FileState.h"
#include "rasterhost/reading/NetworkFile.h"
#include "rasterhost/requests/GdalErrors.h"
#include "rasterhost/writing/OutputDescription.h"

#include <cpl_conv.h>
#include <gdal_priv.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>

namespace rasterhost {

namespace {

namespace fs = std::filesystem;
using Transform = std::array<double, 6>;

constexpr std::uint64_t mostWorldBytes = 65536; // a world file has six lines, and a .tab file not many more

/// Files named like world files of the output: GDAL ignores the case of the letters where it can.
std::vector<std::string> ListCandidates(const fs::path& place) {
    const std::string ending = place.extension().string();
    std::vector<std::string> endings{".wld", ".tab"};
    if (ending.size() > 1) {
        endings.push_back(std::string(".") + ending[1] + ending.back() + "w");
        endings.push_back(ending + "w");
    }
    const std::string folder = place.parent_path().string(), stem = place.stem().string();
    std::vector<std::string> candidates;
    if (IsOnObjectStorage(place.string())) { // a list of all objects may be long
        for (const std::string& each : endings)
            candidates.push_back(stem + each);
    } else {
        const CPLStringList entries(VSIReadDir(folder.empty() ? "." : folder.c_str()));
        for (int i = 0; i < entries.size(); ++i)
            if (std::any_of(endings.begin(), endings.end(), [&](const std::string& each) {
                    return EQUAL(entries[i], (stem + each).c_str());
                }))
                candidates.emplace_back(entries[i]);
    }
    std::erase_if(candidates, [&](const std::string& name) {
        const FileState state = LookAt((place.parent_path() / name).string());
        return !state.isFile || state.bytes > mostWorldBytes;
    });
    return candidates;
}

std::optional<Transform> ReadTransform(const std::string& file) {
    const GDALDatasetUniquePtr image(GDALDataset::Open(file.c_str(), GDAL_OF_RASTER));
    Transform found{};
    if (!image || image->GetGeoTransform(found.data()) != CE_None) return {};
    return found;
}

bool IsMoved(const std::optional<Transform>& from, const std::optional<Transform>& to, int side) {
    return to && !(from && LieAlike(*from, *to, side));
}

} // namespace

std::string FindMovingFile(const std::string& trial, int side, const WorkFolder& folder,
                           const std::vector<std::string>& own) {
    std::vector<std::string> candidates = ListCandidates(folder.GetPlace());
    std::erase_if(candidates, [&own](const std::string& name) {
        return std::find(own.begin(), own.end(), name) != own.end();
    });
    if (candidates.empty()) return {};
    const GdalErrors silence;
    const std::optional<Transform> alone = ReadTransform(trial);
    for (const std::string& name : candidates) {
        const std::string copy = folder.GetSpare(name);
        std::string beside = folder.GetPlace(name);
        const bool moves =
            CPLCopyFile(copy.c_str(), beside.c_str()) == 0 && IsMoved(alone, ReadTransform(trial), side);
        VSIUnlink(copy.c_str());
        if (moves) return beside;
    }
    return {};
}

} // namespace rasterhost
