#include "cli/BatchList.h"

#include "cli/ExitCode.h"
#include "cli/SceneInput.h"
#include "cli/Suggestion.h"
#include "fundament/Text.h"
#include "rasterhost/products/ProductFiles.h"
#include "rasterhost/requests/RecordPart.h"
#include "rasterhost/writing/OutputFormat.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace cli {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::ToLower;
using KOVA::Tessara::Fundament::Trim;
using rasterhost::RecordFault;
using rasterhost::RecordPart;

namespace {

constexpr std::size_t mostLineBytes = std::size_t{1} << 20;
constexpr std::size_t mostScenes = 1000000;
constexpr std::size_t mostFiles = 1000;
constexpr const char* outputKey = "--output";

/// The value of an option as it would be typed.
std::string OptionText(const rasterhost::Json& value, const RecordPart& part) {
    if (value.is_string()) return part.GetText();
    if (!value.is_number()) part.Refuse("is neither a text nor a number");
    return value.dump();
}

std::vector<std::string> OptionTexts(const OptionEntry& option, const rasterhost::Json& value,
                                     const RecordPart& part) {
    if (option.IsFlag()) part.Refuse("is neither true nor false");
    if (!value.is_array()) return {OptionText(value, part)};
    std::vector<std::string> texts;
    const std::vector<RecordPart> parts = part.GetList(mostFiles);
    for (std::size_t i = 0; i < parts.size(); ++i)
        texts.push_back(OptionText(value[i], parts[i]));
    if (option.repeatable || option.CountValues() > 1) return texts;
    std::string joined; // one value that is a list, such as weights
    for (const std::string& text : texts)
        joined += (joined.empty() ? "" : ",") + text;
    return {joined};
}

const OptionEntry& FindSceneOption(const std::string& key, const RecordPart& part) {
    const auto& options = SceneCommand().options;
    const auto found = std::ranges::find(options, key, &OptionEntry::Key);
    if (key == outputKey)
        part.Refuse("is not an option of a scene; name the output by the key 'output', beside 'options'");
    if (found != options.end()) return *found;
    std::vector<std::string> keys;
    for (const OptionEntry& option : options)
        keys.emplace_back(option.Key().substr(2));
    part.Refuse("is not an option of a scene" + Suggestion(key.substr(2), keys));
}

/// True and values set an option; false and null remove what applies to all scenes.
void ReadOptions(const rasterhost::Json& options, BatchScene& scene) {
    if (!options.is_object()) throw RecordFault{"the key 'options' is not an object"};
    for (const auto& [name, value] : options.items()) {
        const RecordPart part(value, "options." + name);
        std::string key = "--" + name;
        std::ranges::replace(key, '_', '-'); // as in Python
        const OptionEntry& option = FindSceneOption(key, part);
        scene.options.erase(key);
        if (value.is_null() || (value.is_boolean() && !value.get<bool>())) continue;
        if (value.is_boolean() && option.IsFlag())
            scene.options[key] = {};
        else
            scene.options[key] = OptionTexts(option, value, part);
    }
}

void ReadFiles(const RecordPart& object, BatchScene& scene) {
    std::size_t count = 0;
    for (const char* key : {"pan", "product", "description"}) {
        const auto part = object.Find(key);
        if (!part) continue;
        ++count;
        scene.files = {part->GetText()};
    }
    if (count != 1)
        throw RecordFault{"it must name one scene; give either 'pan' and 'ms', or 'product', or "
                          "'description'"};
    if (!object.Find("pan") && object.Find("ms"))
        object.Get("ms").Refuse("can be given only with the key 'pan'");
    if (!object.Find("pan")) return;
    for (const RecordPart& part : object.Get("ms").GetList(mostFiles))
        scene.files.push_back(part.GetText());
    if (scene.files.size() == 1) object.Get("ms").Refuse("is empty; name at least one file");
}

/// The output's name within the folder, without redundant parts.
std::string CheckOutput(const std::string& name) {
    const std::filesystem::path path = std::filesystem::path(name).lexically_normal();
    if (name.empty() || name.ends_with('/') || path.is_absolute() || *path.begin() == ".." || path == "." ||
        path == batchResultsName || path == std::string(batchResultsName) + batchBegunEnding ||
        path == std::string(batchResultsName) + batchBegunEnding + batchNewEnding)
        throw RecordFault{"the output '" + name + "' is not the name of a file in the folder of --out"};
    return path.string();
}

/// The name of the scene's input, with the extension of the format.
std::string UsualOutput(const BatchScene& scene) {
    std::string name = scene.files.front();
    while (name.size() > 1 && name.ends_with('/'))
        name.pop_back();
    name = rasterhost::LastPart(name.substr(0, name.rfind(",band=")));
    const std::string small = ToLower(name);
    for (const char* ending : {".tar.gz", ".tgz", ".tar", ".zip", ".tif", ".tiff", ".jp2", ".vrt", ".img",
                               ".til", ".ntf", ".xml", ".imd", ".json", ".geojson", ".txt", ".pansharp"})
        if (small.ends_with(ending)) {
            name.resize(name.size() - std::string_view(ending).size());
            break;
        }
    const auto format = scene.options.find("--of");
    const std::string of =
        format == scene.options.end() || format->second.empty() ? "" : format->second.back();
    return name + (IsSceneFormat(of) ? sceneEnding : rasterhost::UsualEnding(of));
}

/// A scene with the options typed for all scenes.
BatchScene StartScene(const CommandLine& forAll) {
    BatchScene scene;
    for (const OptionEntry& option : SceneCommand().options)
        if (forAll.Has(option))
            scene.options[std::string(option.Key())] =
                option.IsFlag() ? std::vector<std::string>() : forAll.GetAll(option);
    return scene;
}

BatchScene NamedScene(const std::string& name, const CommandLine& forAll) {
    BatchScene scene = StartScene(forAll);
    scene.files = {name};
    try {
        scene.output = CheckOutput(UsualOutput(scene));
    } catch (const RecordFault& fault) {
        scene.fault = fault.text + "; name it in a list";
    }
    return scene;
}

std::string PlaceOf(const BatchScene& scene) {
    return scene.list.empty() ? "'" + scene.files.front() + "'"
                              : FormatString("line %zu of '%s'", scene.line, scene.list.c_str());
}

void ReadList(const std::string& list, const CommandLine& forAll, std::vector<BatchScene>& scenes) {
    std::ifstream stream;
    if (std::error_code failure; std::filesystem::is_regular_file(list, failure))
        stream.open(list, std::ios::binary);
    if (!stream.is_open()) throw UsageError("the list '" + list + "' cannot be read; is the name right?");
    std::string line;
    bool isTooLong = false;
    for (std::size_t number = 1; ReadBoundedLine(stream, line, isTooLong); ++number) {
        if (!isTooLong && Trim(line).empty()) continue;
        if (scenes.size() == mostScenes)
            throw UsageError(FormatString("'%s' has more than %zu scenes; split it into several lists",
                                          list.c_str(), mostScenes));
        scenes.push_back(ReadBatchLine(list, number, isTooLong ? std::nullopt : std::optional(line), forAll));
    }
    if (stream.bad()) throw UsageError("the list '" + list + "' cannot be read to its end");
}

void RefuseSameOutputs(const std::vector<BatchScene>& scenes) {
    std::map<std::string, const BatchScene*> outputs;
    for (const BatchScene& scene : scenes) {
        if (!scene.fault.empty()) continue;
        const auto [at, isNew] = outputs.emplace(scene.output, &scene);
        if (!isNew)
            throw UsageError(PlaceOf(*at->second) + " and " + PlaceOf(scene) + " have the same output '" +
                             scene.output + "'; give one of them another name by the key 'output' of a list");
    }
}

} // namespace

bool ReadBoundedLine(std::istream& stream, std::string& line, bool& isTooLong) {
    line.clear();
    isTooLong = false;
    int letter = stream.get();
    if (letter == std::istream::traits_type::eof()) return false;
    for (; letter != std::istream::traits_type::eof() && letter != '\n'; letter = stream.get()) {
        isTooLong = isTooLong || line.size() == mostLineBytes;
        if (!isTooLong) line += static_cast<char>(letter);
    }
    return true;
}

BatchScene ReadBatchLine(const std::string& list, std::size_t number, const std::optional<std::string>& line,
                         const CommandLine& forAll) {
    BatchScene scene = StartScene(forAll);
    scene.list = list;
    scene.line = number;
    try {
        if (!line) throw RecordFault{"it is longer than 1 MiB"};
        const rasterhost::Json json = RecordPart::Parse(*line);
        const RecordPart object(json, "");
        if (!json.is_object()) throw RecordFault{"it is not an object"};
        object.CheckKeys({"pan", "ms", "product", "description", "output", "options"});
        ReadFiles(object, scene);
        if (object.Find("options")) ReadOptions(json["options"], scene);
        const auto output = object.Find("output");
        scene.output = CheckOutput(output ? output->GetText() : UsualOutput(scene));
    } catch (const RecordFault& fault) {
        scene.fault = fault.text;
    }
    if (!scene.fault.empty()) scene.fault = PlaceOf(scene) + " is not a scene: " + scene.fault;
    return scene;
}

std::vector<BatchScene> ReadBatch(const CommandLine& line) {
    std::vector<BatchScene> scenes;
    for (const std::string& name : line.GetPositionals())
        if (const std::string small = ToLower(name); small.ends_with(".jsonl"))
            ReadList(name, line, scenes);
        else
            scenes.push_back(NamedScene(name, line));
    if (scenes.empty()) throw UsageError("the lists name no scene; write one scene on each line");
    RefuseSameOutputs(scenes);
    return scenes;
}

Arguments BatchScene::Ask(const std::string& folder) const {
    auto values = options;
    values[outputKey] = {(std::filesystem::path(folder) / output).string()};
    return ReadArguments(CommandLine::Make(SceneCommand(), files, std::move(values)));
}

} // namespace cli
