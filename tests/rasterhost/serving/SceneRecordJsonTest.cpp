#include "rasterhost/serving/SceneRecordJson.h"

#include "support/RasterFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <set>

namespace {

using KOVA::Tessara::Fundament::Status;
using rasterhost::SceneRecord;

/// A record with every key, numbers that have no short text, and a collar.
SceneRecord MakeRecord(const testfiles::Folder& folder) {
    SceneRecord record;
    record.writer = "pansharp \"x\"";
    record.pair.pan = {folder.Write("pan.tif", {4, 3, 1, GDT_Byte, {}, {}}, {}), {}};
    std::filesystem::create_directory(folder / "sub");
    record.pair.multispectral = {
        {folder.Write("sub/ms.tif", {2, 2, 4, GDT_Byte, {}, {}}, {}), 3, "red", 0.655,
         rasterhost::SampleMeaning{2e-5, -0.1}},
        {"/vsizip/" +
             std::filesystem::relative(folder.Write("a.zip", {1, 1, 1, GDT_Byte, {}, {}}, {})).string() +
             "/b.tif",
         {}}};
    record.pair.infrared = {"NETCDF:\"x.nc\":nir", 1};
    record.pair.bands = {2, 1};
    record.pair.shift = {1.0 / 3.0, -1e-17};
    record.pair.bitDepth = 11;
    record.pair.scale = {-0.1, 6e5};
    record.pair.noData = -9999.0;
    record.pair.part = {0.1, 0.2, 0.3, 0.7};
    record.pair.onlyIntersection = record.pair.sameFirstCentre = true;
    record.pair.acquired = "2017-08-13";
    record.fusion.method = "Any";
    record.fusion.weights = {0.1, 2.0 / 3.0};
    record.fusion.infraredWeight = 0.0;
    record.fusion.properties = {{"a", "1"}, {"a", ""}};
    record.output = {4,
                     3,
                     16,
                     11,
                     std::array{500000.0, 0.5, 0.0, 4e6, 0.0, -0.5},
                     "LOCAL_CS[\"x\"]",
                     {"", "b"},
                     {"Red", "Undefined"},
                     7,
                     false};
    record.found.fit.emplace().correlations = {0.25, -1.0};
    record.found.fit->infraredCorrelation = 1.0;
    rasterhost::DetailFit& detail = record.found.detail.emplace();
    detail.transfer = 0.3;
    detail.gains = {{1.0, 0.1}, {0.0, 0.7}};
    detail.lowPassMean = 1234.5678901234567;
    detail.blur.emplace().obstacle = "none";
    detail.publishedTransfer = 0.35;
    detail.error = 1.5;
    detail.plainError = 2.5;
    imagery::ZeroCollar::Finder finder(4, 1);
    for (int row = 0; row < 3; ++row)
        finder.AddRow(std::array<unsigned char, 4>{0, static_cast<unsigned char>(row), 1, 0}.data());
    record.found.collars = {nullptr, std::make_shared<imagery::ZeroCollar>(finder.Finish())};
    record.warnings = {"w\n"};
    for (const auto& name : {record.pair.pan.file, record.pair.multispectral[0].file,
                             record.pair.multispectral[1].file, record.pair.infrared->file}) {
        rasterhost::FileFingerprint& print = record.files.emplace_back();
        print = {name, 4, 3, 4, "Byte", record.output.geoTransform, "", 2, 1ull << 60, "0123456789abcdef", 4};
    }
    return record;
}

TEST(SceneRecordJson, GivesBackWhatItWasGivenAndMovesWithItsFiles) {
    const testfiles::Folder folder;
    const SceneRecord record = MakeRecord(folder);
    std::string text, again, moved;
    Status status;
    ASSERT_TRUE(rasterhost::WriteRecord(record, folder / "a.pansharp", text, status)) << status.ToText();
    SceneRecord read;
    ASSERT_TRUE(rasterhost::ReadRecord(text, folder / "a.pansharp", read, status)) << status.ToText();
    ASSERT_TRUE(rasterhost::WriteRecord(read, folder / "a.pansharp", again, status)) << status.ToText();
    EXPECT_EQ(text, again);
    EXPECT_EQ(read.pair.shift.x, record.pair.shift.x);
    EXPECT_EQ(read.found.detail->gains, record.found.detail->gains);
    EXPECT_EQ(read.fusion.weights, record.fusion.weights);
    EXPECT_EQ(read.found.collars[1]->GetPixels(), 7u); // 3 of the first row, 2 of the others
    EXPECT_EQ(read.pair.transparency.at(record.pair.pan.file), 4);

    ASSERT_TRUE(rasterhost::ReadRecord(text, "/other/place/a.pansharp", read, status));
    EXPECT_EQ(read.pair.multispectral[0].file, "/other/place/sub/ms.tif");
    EXPECT_EQ(read.pair.multispectral[1].file, "/vsizip/" + (folder / "a.zip") + "/b.tif");
    ASSERT_TRUE(rasterhost::WriteRecord(record, folder / "sub/a.pansharp", moved, status));
    EXPECT_THAT(moved, testing::HasSubstr("\"path\": \"" + record.pair.pan.file + "\""));
}

using Json = nlohmann::ordered_json;

/// Checks a value against a schema of the few keywords that ours uses; removes from `unmet` the properties
/// found.
bool Fits(const Json& schema, const Json& root, const Json& value, std::set<const Json*>& unmet) {
    unmet.erase(&schema);
    const std::string type = value.is_number_float() ? "number"
                             : value.is_number()     ? "integer"
                                                     : value.type_name();
    const auto isType = [&](const Json& one) {
        return one == type || (one == "number" && type == "integer");
    };
    for (const auto& item : schema.items()) {
        const std::string& word = item.key();
        const Json& rule = item.value();
        bool fits = word == "$schema" || word == "title" || word == "description" || word == "$defs";
        if (word == "type")
            fits = rule.is_array() ? std::any_of(rule.begin(), rule.end(), isType) : isType(rule);
        if (word == "$ref")
            fits = Fits(root.at(Json::json_pointer(rule.get<std::string>().substr(1))), root, value, unmet);
        if (word == "enum") fits = std::find(rule.begin(), rule.end(), value) != rule.end();
        if (word == "minimum") fits = value >= rule;
        if (word == "maximum") fits = value <= rule;
        if (word == "minItems" || word == "minLength")
            fits = (value.is_string() ? value.get<std::string>().size() : value.size()) >= rule;
        if (word == "maxItems" || word == "maxLength")
            fits = (value.is_string() ? value.get<std::string>().size() : value.size()) <= rule;
        if (word == "required")
            fits = value.is_null() || std::all_of(rule.begin(), rule.end(), [&](const Json& key) {
                       return value.contains(key.get<std::string>());
                   });
        if (word == "additionalProperties") fits = rule == false;
        if (word == "properties")
            fits = value.is_null() ||
                   std::all_of(value.items().begin(), value.items().end(), [&](const auto& entry) {
                       return rule.contains(entry.key()) &&
                              Fits(rule.at(entry.key()), root, entry.value(), unmet);
                   });
        if (word == "items")
            fits = std::all_of(value.begin(), value.end(),
                               [&](const Json& one) { return Fits(rule, root, one, unmet); });
        EXPECT_TRUE(fits) << word << " " << rule << " of " << value;
        if (!fits) return false;
    }
    return true;
}

/// All properties that a schema names.
void Collect(const Json& schema, std::set<const Json*>& all) {
    for (const auto& [word, rule] : schema.items())
        if (word == "properties")
            for (const auto& property : rule) {
                all.insert(&property);
                Collect(property, all);
            }
        else if (rule.is_structured())
            Collect(rule, all);
}

TEST(SceneRecordJson, IsWhatTheSchemaSays) {
    const testfiles::Folder folder;
    std::string text;
    Status status;
    ASSERT_TRUE(rasterhost::WriteRecord(MakeRecord(folder), folder / "a.pansharp", text, status));
    const Json schema = Json::parse(testfiles::ReadText(PANSHARP_DOCS "/scene-file.schema.json"));
    std::set<const Json*> unmet;
    Collect(schema, unmet);
    EXPECT_GT(unmet.size(), 50u);
    EXPECT_TRUE(Fits(schema, schema, Json::parse(text), unmet));
    for (const Json* property : unmet)
        ADD_FAILURE() << "never written: " << *property;
}

/// What is replaced in a valid description, by what, and the message.
struct Damage {
    std::string from, to, says;
};

TEST(SceneRecordJson, NamesFileAndKeyOfWhatIsDamaged) {
    const testfiles::Folder folder;
    std::string text;
    Status written;
    ASSERT_TRUE(rasterhost::WriteRecord(MakeRecord(folder), folder / "a.pansharp", text, written));
    const std::string whole = text;
    const std::size_t files = whole.find('{', whole.find("\"files\""));
    std::string stranger = whole.substr(files, whole.find('}', files) - files + 1);
    stranger.replace(stranger.find("\"path\": \"") + 9, 0, "x");
    const Damage damages[] = {
        {"{", "", "does not begin with the key"},
        {"\"pansharp_scene\": 1", "\"pansharp_scene\": 2", "version 2, and this program reads version 1"},
        {"\"pansharp_scene\": 1", "\"pansharp_scene\": -1", "'pansharp_scene' is not a whole number"},
        {"\"files\"", "\"file\"", "'file' is not known"},
        {"\"relative\": true", "\"relative\": 1", "'inputs.pan.relative' is neither true nor false"},
        {"\"path\": \"pan.tif\"", "\"path\": \"\"", "'inputs.pan.path' is empty"},
        {"\"path\": \"pan.tif\"", "\"path\": \"pan\\u0000\"", "'inputs.pan.path' holds a zero byte"},
        {"\"path\": \"pan.tif\"", "\"path\": \"" + std::string(70000, 'x') + "\"", "longer than 65536"},
        {"\"path\": \"pan.tif\"", "\"path\": \"other.tif\"", "'files' lacks the input"},
        {"\"collars\": [", "\"collars\": [null,null,null,null,null,null,null,",
         "'found.collars' has more than"},
        {"\"files\": [", "\"files\": [" + stranger + ",", "which is not an input"},
        {"\"band\": 3", "\"band\": 5", "'files' knows no band 5 of"},
        {"\"band\": 3", "\"band\": 3e9", "'inputs.multispectral[0].band' is not a whole number from 1"},
        {"-9999.0", "1e999", "a number that is too large"},
        {"\"bit_depth\": 11", "\"bit_depth\": 8", "'pair.bit_depth' is not a whole number from 9 to 16"},
        {"-1e-17", "\"-1e-17\"", "'pair.shift[1]' is not a number"},
        {"-1e-17", "0, 0", "'pair.shift' has more than 2 entries"},
        {"-1e-17", std::string(20, '[') + std::string(20, ']'), "nested deeper than 16 levels"},
        {"-1e-17",
         "0" +
             [] {
                 std::string many;
                 for (int i = 0; i < 200001; ++i)
                     many += ",0";
                 return many;
             }(),
         "more than 200000 values"},
        {"\"modulation_transfer\": 0.3", "\"modulation_transfer\": 0",
         "'fusion' cannot be: the modulation transfer 0 is out of range"},
        {"\"runs\": \"", "\"runs\": \"AAAA", "'found.collars[1]' holds no collar"},
        {"\"rows\": 3,\n        \"bytes\"", "\"rows\": 4,\n        \"bytes\"",
         "'found.collars[1]' holds no collar"},
        {"\"warnings\"", "", "is not JSON, or is cut short"},
    };
    for (const Damage& damage : damages) {
        std::string damaged = whole;
        const std::size_t at = damaged.find(damage.from);
        ASSERT_NE(at, std::string::npos) << damage.from;
        damaged.replace(at, damage.from.size(), damage.to);
        SceneRecord record;
        Status status;
        EXPECT_FALSE(rasterhost::ReadRecord(damaged, "a.pansharp", record, status)) << damage.says;
        EXPECT_THAT(status.ToText(),
                    testing::AllOf(testing::HasSubstr("'a.pansharp'"), testing::HasSubstr(damage.says)));
    }
    for (std::size_t length = 0; length + 2 < whole.size(); length += 7) {
        SceneRecord record;
        Status status;
        EXPECT_FALSE(rasterhost::ReadRecord(whole.substr(0, length), "a.pansharp", record, status)) << length;
    }
}

} // namespace
