#include "cli/BatchResults.h"

#include "cli/BatchList.h"
#include "cli/ExitCode.h"

#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace cli {

namespace {

/// The text of a key; empty when its value is not a text.
std::string TextOf(const Json& result, const char* key) {
    const auto found = result.is_object() ? result.find(key) : result.end();
    return found != result.end() && found->is_string() ? found->get<std::string>() : std::string();
}

} // namespace

BatchResults::BatchResults(const std::string& file) : name(file), lock(file) {
    if (lock.IsTaken())
        throw UsageError("another batch writes to '" + name +
                         "' now; wait until it has ended, or name another folder");
    std::ifstream earlier(file, std::ios::binary);
    std::string line;
    bool isTooLong = false, isCut = false;
    for (std::streamoff start = 0; ReadBoundedLine(earlier, line, isTooLong); start = earlier.tellg()) {
        isCut = earlier.eof(); // the run that wrote it was killed
        const Json result = ReadJson(line);
        if (const std::string output = TextOf(result, "output");
            !output.empty() && !isCut && TextOf(result, "status") == "done")
            done[output] = start;
    }
    std::ifstream note(name + batchBegunEnding, std::ios::binary);
    if (ReadBoundedLine(note, line, isTooLong))
        for (const Json& output : ReadJson(line))
            if (output.is_string()) left.insert(output.get<std::string>());
    begun = left;
    stream.open(file, std::ios::binary | std::ios::app);
    if (isCut) stream << '\n';
    if (!stream.flush())
        throw std::runtime_error("the results '" + name +
                                 "' cannot be written; may this user write there, and is there room?");
}

std::optional<Json> BatchResults::FindDone(const std::string& output) const {
    const auto found = done.find(output);
    if (found == done.end()) return std::nullopt;
    std::ifstream earlier(name, std::ios::binary);
    std::string line;
    bool isTooLong = false;
    earlier.seekg(found->second);
    (void)ReadBoundedLine(earlier, line, isTooLong);
    const Json result = ReadJson(line);
    return TextOf(result, "output") == output ? std::optional(result)
                                              : std::nullopt; // the file may have changed
}

std::string BatchResults::Print(const Json& result) {
    return result.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void BatchResults::Add(const Json& result) {
    stream << Print(result) + "\n";
    if (!stream.flush())
        throw std::runtime_error("the results '" + name + "' cannot be written; is there room on the disk?");
}

void BatchResults::Begin(const std::string& output) {
    std::error_code fault;
    const auto there =
        std::filesystem::symlink_status(std::filesystem::path(name).parent_path() / output, fault);
    if (!std::filesystem::exists(there) && begun.insert(output).second) WriteBegun();
}

void BatchResults::End(const std::string& output, bool isMade) {
    if (!isMade && left.contains(output)) return;
    left.erase(output);
    if (begun.erase(output) > 0) WriteBegun();
}

void BatchResults::WriteBegun() const {
    const std::string file = name + batchBegunEnding, beside = file + batchNewEnding;
    std::error_code fault;
    if (begun.empty()) return static_cast<void>(std::filesystem::remove(file, fault));
    std::ofstream note(beside, std::ios::binary);
    const bool isWritten = static_cast<bool>((note << Print(Json(begun)) + "\n").flush());
    note.close();
    if (isWritten)
        std::filesystem::rename(beside, file,
                                fault); // after a kill, the file has the old notes or the new ones
    if (!isWritten || fault)
        throw std::runtime_error("'" + file +
                                 "' cannot be written; may this user write there, and is there room?");
}

} // namespace cli
