#include "cli/SettingsFile.h"

#include "cli/ExitCode.h"
#include "fundament/Files.h"
#include "fundament/PropertyLookUp.h"
#include "rasterhost/reading/FileState.h"
#include "rasterhost/writing/WorkFolder.h"

#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

namespace cli {

using KOVA::Tessara::Fundament::PropertyLookUp;
using KOVA::Tessara::Fundament::Status;

namespace {

constexpr std::uint32_t reportNotWritten = 0xB201;

} // namespace

PropertyPairs ReadSettings(const std::string& file) {
    if (!KOVA::Tessara::Fundament::IsReadable(file))
        throw UsageError("--settings: the file '" + file + "' cannot be read; is the name right?");
    PropertyLookUp properties;
    Status reasons;
    if (!properties.FromXml(file, reasons)) {
        std::string reason;
        if (reasons.GetCount() > 0) // details, if there are any, add what the message lacks
            reason =
                reasons.GetItem(0).details.empty() ? reasons.GetItem(0).message : reasons.GetItem(0).details;
        throw UsageError("--settings: '" + file +
                         "' is not a settings file; it must hold one element per property, as in "
                         "<Settings><BandWeight-1>0.3</BandWeight-1></Settings>. " +
                         reason);
    }
    constexpr std::uint32_t most =
        2000; // a process searches names linearly, and copies them for every window
    if (properties.GetCount() > most)
        throw UsageError("--settings: '" + file + "' holds " + std::to_string(properties.GetCount()) +
                         " properties; give " + std::to_string(most) + " at most");
    PropertyPairs pairs;
    for (std::uint32_t i = 0; i < properties.GetCount(); ++i)
        pairs.push_back(properties.GetAt(i));
    return pairs;
}

bool WriteStatusReport(const std::string& file, bool overwrite, Status& status) {
    const std::string report = status.ToXml(true) + "\n";
    const auto folder = rasterhost::WorkFolder::Make(file, status);
    bool isWritten = false;
    if (folder) {
        std::ofstream stream(folder->GetFile(), std::ios::binary);
        stream << report;
        stream.close();
        isWritten = stream.good() && folder->Deliver(overwrite, status);
    }
    return isWritten ||
           !status.Add(reportNotWritten,
                       "the status report '" + file +
                           "' cannot be written; is its folder there, is there room, and is the name free?",
                       "Command");
}

bool RemoveStatusReport(const std::string& file) {
    constexpr std::string_view start = "<Status>";
    std::error_code failure;
    const std::filesystem::path real = std::filesystem::canonical(file, failure); // a link stays
    if (failure || !rasterhost::LookAt(real.string()).isFile) return true;
    std::string found(start.size(), ' ');
    std::ifstream(real, std::ios::binary).read(found.data(), static_cast<std::streamsize>(found.size()));
    return found != start || std::filesystem::remove(real, failure);
}

} // namespace cli
