#include "Child.h"
#include "Scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

using child::Arguments;
using testing::HasSubstr;

namespace {

using Json = nlohmann::json;

void Write(const std::string& file, const std::string& text) { std::ofstream(file) << text; }

std::vector<Json> Lines(const std::string& text) {
    std::vector<Json> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(Json::parse(line));
    return lines;
}

/// "done skipped failed", and the exit code.
std::string States(const child::Folder& folder, const Arguments& arguments) {
    const child::Outcome outcome = child::Run(folder, arguments);
    std::string states;
    for (const Json& line : Lines(outcome.out))
        states += line.at("status").get<std::string>() + " ";
    return states + std::to_string(outcome.code);
}

struct BadLine {
    std::string text;
    std::string says;
};

} // namespace

TEST(BatchCommand, GoesOnAfterFailuresAndWhereItStopped) {
    const child::Folder folder;
    const scene::Pair pair(folder, 3, 8);
    Write(
        folder / "list.jsonl",
        R"({"pan": "pan.tif", "ms": ["ms.tif,band=3", "ms.tif,band=1"], "output": "a/b.tif", "options": {"weights": [0.5, 0.5], "no_nodata": true, "rgb": false}})"
        "\n\n"
        R"({"pan": "nowhere.tif", "ms": ["ms.tif"]})"
        "\n"
        R"({"pan": "pan.tif", "ms": ["ms.tif"], "options": {"method": null}})"
        "\n");
    const Arguments batch = "batch list.jsonl --out out --method brovey";
    const child::Outcome first = child::Run(folder, batch);
    EXPECT_EQ(first.code, 1);
    EXPECT_THAT(first.err, HasSubstr("scene 3 of 3: pan.tif\n3 scenes: 2 done, 0 skipped, 1 failed"));
    const std::vector<Json> lines = Lines(first.out);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines, Lines(testfiles::ReadText(folder / "out/batch.jsonl")));
    EXPECT_EQ(lines[1]["status"], "failed");
    EXPECT_EQ(lines[1]["line"], 3);
    EXPECT_THAT(lines[1]["errors"][0]["message"].get<std::string>(), HasSubstr("nowhere.tif"));
    EXPECT_NEAR(lines[2]["megapixels"].get<double>(), 46 * 38 * 1e-6, 1e-12);
    EXPECT_TRUE(lines[2]["fit"].is_null()); // Injection, which weighs no bands: null removes --method
    EXPECT_EQ(lines[2]["report"]["output"], "out/pan.tif");
    child::RunWell(folder,
                   "sharpen pan.tif ms.tif,band=3 ms.tif,band=1 -o one.tif --method brovey -w 0.5,0.5 "
                   "--no-nodata");
    EXPECT_EQ(testfiles::ReadText(folder / "one.tif"), testfiles::ReadText(folder / "out/a/b.tif"));

    const std::string results = testfiles::ReadText(folder / "out/batch.jsonl");
    EXPECT_EQ(States(folder, batch), "skipped failed skipped 1");
    Write(folder / "out/batch.jsonl", results.substr(0, results.size() - 9)); // killed while it wrote
    EXPECT_EQ(States(folder, batch), "skipped failed failed 1");              // out/pan.tif may be another's
    Write(folder / "out/batch.jsonl.begun", "[\"pan.tif\"]\n");               // killed before it wrote
    EXPECT_EQ(States(folder, batch), "skipped failed done 1");
    EXPECT_FALSE(std::filesystem::exists(folder / "out/batch.jsonl.begun"));
    EXPECT_EQ(States(folder, batch + "--threads 2"), "skipped failed skipped 1");
    std::filesystem::remove(folder / "out/a/b.tif");
    EXPECT_EQ(States(folder, batch), "done failed skipped 1");
    EXPECT_EQ(States(folder, batch + "--nodata 3"), "failed failed done 1"); // a line contradicts it
    using namespace std::chrono_literals;                                    // within a second
    std::filesystem::last_write_time(folder / "ms.tif",
                                     std::filesystem::last_write_time(folder / "ms.tif") + 1ms);
    EXPECT_EQ(States(folder, batch), "done failed done 1");
    EXPECT_EQ(States(folder, batch + "--again"), "done failed done 1");
}

TEST(BatchCommand, NamesTheLineAndTheKey) {
    const child::Folder folder;
    const scene::Pair pair(folder, 3, 8);
    const BadLine bad[] = {
        {"{", "not JSON, or is cut short, at byte 2"},
        {"[]", "it is not an object"},
        {std::string(2 << 20, ' ') + "x", "longer than 1 MiB"},
        {R"({"pan": "pan.tif", "ms": ["ms.tif"], "colour": 1})", "the key 'colour' is not known here"},
        {R"({"pan": "pan.tif", "product": "p"})", "it must name one scene"},
        {R"({"output": "x.tif"})", "it must name one scene"},
        {R"({"pan": "pan.tif", "ms": []})", "the key 'ms' is empty"},
        {R"({"product": "p", "ms": ["ms.tif"]})", "the key 'ms' can be given only with the key 'pan'"},
        {R"({"product": 7})", "the key 'product' is not a text"},
        {R"({"product": "p", "output": "../x.tif"})", "the output '../x.tif' is not the name of a file in"},
        {R"({"product": "p", "output": "batch.jsonl"})", "is not the name of a file in"},
        {R"({"product": "p", "options": {"metod": "ihs"}})",
         "the key 'options.metod' is not an option of a scene (did you mean 'method'?)"},
        {R"({"product": "p", "options": {"output": "x"}})", "name the output by the key 'output'"},
        {R"({"product": "p", "options": {"rgb": "yes"}})", "'options.rgb' is neither true nor false"},
        {R"({"product": "p", "options": {"nodata": {}}})", "'options.nodata' is neither a text nor a number"},
        {R"({"product": "p", "output": "p.tif"})", "only 'p' is named"},
        {R"({"pan": "pan.tif", "ms": ["ms.tif"], "output": "y.tif", "options": {"bbox": [1, 2]}})",
         "--bbox takes 4 values"},
        {R"({"pan": "pan.tif", "ms": ["ms.tif"], "output": "batch.jsonl/z.tif"})",
         "the folder 'out/batch.jsonl' of the output 'out/batch.jsonl/z.tif' cannot be made"},
    };
    std::string list;
    for (const BadLine& line : bad)
        list += line.text + "\n";
    Write(folder / "list.jsonl", list);
    const child::Outcome outcome = child::Run(folder, "batch list.jsonl --out out -q");
    EXPECT_EQ(outcome.code, 1);
    const std::vector<Json> results = Lines(outcome.out);
    ASSERT_EQ(results.size(), std::size(bad));
    for (std::size_t i = 0; i < std::size(bad); ++i) {
        const auto message = results[i]["errors"][0]["message"].get<std::string>();
        EXPECT_THAT(message, HasSubstr(bad[i].says));
        EXPECT_EQ(results[i]["line"], i + 1);
        EXPECT_EQ(message.starts_with("line " + std::to_string(i + 1) + " of 'list.jsonl' is not a scene"),
                  i < 15u)
            << message;
    }

    Write(folder / "two.jsonl", R"({"product": "x/p.zip"})"
                                "\n"
                                R"({"product": "q", "output": "./p.tif"})");
    const std::pair<Arguments, const char*> refused[] = {
        {"batch two.jsonl --out new",
         "line 1 of 'two.jsonl' and line 2 of 'two.jsonl' have the same output 'p.tif'"},
        {"batch a/p b/p --out new", "'a/p' and 'b/p' have the same output 'p.tif'"},
        {"batch none.jsonl --out new", "the list 'none.jsonl' cannot be read"},
        {"batch two.jsonl", "no folder is named"},
        {"batch --out new", "no scene is named"},
        {"batch a --out new --time-limit 0", "is not a time"},
        {"batch a --out new -w x", "--weights: 'x'"},
        {"batch a --out pan.tif", "the folder 'pan.tif' cannot be made"},
    };
    for (const auto& [arguments, says] : refused) {
        const child::Outcome failure = child::Run(folder, arguments);
        EXPECT_EQ(failure.code, 2) << child::AsTyped(arguments);
        EXPECT_THAT(failure.err, HasSubstr(says));
        EXPECT_FALSE(std::filesystem::exists(folder / "new"));
    }
}

/// The first scene only declares a large size: it ends by its time limit, or by a signal.
TEST(BatchCommand, StopsASceneAndKeepsWhatIsDone) {
    const child::Folder folder;
    const scene::Pair pair(folder, 3, 8);
    scene::WriteSparse(folder / "large.tif", 8192, 8192, 1, {.pixelSize = 10.0});
    scene::WriteSparse(folder / "coarse.tif", 4096, 4096, 4, {.pixelSize = 20.0});
    Write(folder / "list.jsonl", R"({"pan": "pan.tif", "ms": ["ms.tif"]}
{"pan": "large.tif", "ms": ["coarse.tif"], "options": {"no-nodata": true, "window": 16}})");
    const Arguments batch = "batch list.jsonl -j 1 --out out";
    child::Running running(folder, batch);
    ASSERT_TRUE(child::WaitUntil(
        [&] { return running.ErrorsSoFar().find("scene 2 of 2: large.tif") != std::string::npos; }));
    EXPECT_THAT(child::Run(folder, batch).err, HasSubstr("another batch writes to 'out/batch.jsonl' now"));
    running.Signal(SIGINT);
    const child::Outcome interrupted = running.Finish();
    EXPECT_EQ(interrupted.code, 130);
    EXPECT_EQ(Lines(testfiles::ReadText(folder / "out/batch.jsonl")).size(), 1u);
    EXPECT_EQ(States(folder, batch + "--time-limit 0.01"), "skipped failed 1");
    const std::vector<Json> results = Lines(testfiles::ReadText(folder / "out/batch.jsonl"));
    EXPECT_THAT(results.back()["errors"][0]["message"].get<std::string>(),
                HasSubstr("its time limit of 0.01 s"));
    std::filesystem::remove(folder / "out/batch.jsonl");
    std::filesystem::remove(folder / "out/pan.tif");
    EXPECT_TRUE(std::filesystem::is_empty(folder / "out"));
}
