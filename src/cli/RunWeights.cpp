#include "cli/RunWeights.h"

#include "cli/ExitCode.h"
#include "cli/JsonParts.h"

#include <cmath>
#include <fstream>

namespace cli {

namespace {

constexpr std::size_t mostBytes = std::size_t{16} << 20; // of the file
constexpr const char* whatToDo = "; name a file with what 'pansharp sharpen ... --json' printed";

[[noreturn]] void Refuse(const std::string& file, const std::string& reason) {
    throw UsageError("--weights-from: '" + file + "' " + reason);
}

bool IsFinite(const Json& number) { return number.is_number() && std::isfinite(number.get<double>()); }

bool IsGain(const Json& number) { return IsFinite(number) && number.get<double>() >= 0.0; }

/// Reads blur and gains if the run had them.
void ReadDetail(const std::string& file, const Json& object, RunWeights& run) {
    const Json transfer = object.value("modulation_transfer", Json());
    const Json gains = object.value("gains", Json());
    if (transfer.is_null() && gains.is_null()) return;
    if (!IsFinite(transfer) || !gains.is_array() || gains.empty())
        Refuse(file, "lacks the blur or the gains, or they are not what a run prints; run it again");
    run.transfer = transfer.get<double>();
    for (const Json& of : gains) {
        if (!of.is_array() || of.size() != 2 || !IsGain(of[0]) || !IsGain(of[1]))
            Refuse(file, "has gains that are not pairs of numbers of 0 or more; run it again");
        run.gains.push_back({of[0].get<double>(), of[1].get<double>()});
    }
}

} // namespace

RunWeights ReadRunWeights(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) Refuse(file, std::string("cannot be opened") + whatToDo);
    std::string text(mostBytes, '\0');
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(stream.gcount()));
    const Json object = ReadJson(text);
    if (!object.is_object() || object.value("command", Json()) != "sharpen")
        Refuse(file, std::string("holds no JSON object of a run of 'sharpen'") + whatToDo);
    if (object.value("ok", Json()) != true) Refuse(file, "is of a run that failed; use one that succeeded");
    const Json method = object.value("method", Json());
    const Json weights = object.value("weights", Json());
    const Json infrared = object.value("infrared_weight", Json());
    if (!method.is_string() || !weights.is_array() || !(infrared.is_null() || IsFinite(infrared)))
        Refuse(file, "lacks the method or the weights, or they are not what a run prints; run it again");
    RunWeights run;
    run.method = method.get<std::string>();
    ReadDetail(file, object, run);
    if (weights.empty() && run.gains.empty())
        Refuse(file,
               "is of the method " + run.method + ", which has no band weights; use a run of another method");
    for (const Json& weight : weights) {
        if (!IsFinite(weight)) Refuse(file, "has a weight that is not a finite number; run it again");
        run.bands.push_back(weight.get<double>());
    }
    if (infrared.is_number()) run.infrared = infrared.get<double>();
    return run;
}

} // namespace cli
