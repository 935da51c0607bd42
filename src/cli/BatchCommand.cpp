#include "cli/BatchCommand.h"

#include "cli/BatchList.h"
#include "cli/BatchResults.h"
#include "cli/BatchRun.h"
#include "cli/Platform.h"
#include "cli/Progress.h"
#include "cli/StatusText.h"
#include "fundament/Files.h"
#include "fundament/Text.h"

#include <filesystem>
#include <iostream>

namespace cli {

using KOVA::Tessara::Fundament::FormatString;

namespace {

class Batch {
public:
    explicit Batch(const Arguments& batchArguments)
        : arguments(batchArguments), scenes(ReadBatch(arguments.line)),
          results((std::filesystem::path(MakeFolder(arguments.folder)) / batchResultsName).string()),
          isTerminal(platform::ErrorsGoToTerminal()) {}

    ExitCode Run() {
        platform::CatchInterrupts();
        while (next < scenes.size() && !platform::WasInterrupted()) {
            const BatchScene& scene = scenes[next++];
            TellStart(scene);
            RunScene(scene);
        }
        const bool isInterrupted = platform::WasInterrupted() && told < scenes.size();
        if (!arguments.quiet)
            std::cerr << FormatString("%zu scenes: %zu done, %zu skipped, %zu failed", scenes.size(),
                                      told - skipped - failed, skipped, failed)
                      << (isInterrupted ? "; interrupted: run the same command line again to go on" : "")
                      << std::endl;
        return isInterrupted ? Interrupted : failed > 0 ? WorkFailed : Done;
    }

private:
    static const std::string& MakeFolder(const std::string& folder) {
        if (!KOVA::Tessara::Fundament::CreateDirectories(folder))
            throw UsageError("--out: the folder '" + folder +
                             "' cannot be made; is a file in its place, and may this user write there?");
        return folder;
    }

    void TellStart(const BatchScene& scene) const {
        if (arguments.quiet) return;
        const std::string& name = !scene.output.empty() ? scene.output : scene.list;
        std::cerr << FormatString("scene %zu of %zu: ", next, scenes.size()) << name << std::endl;
    }

    void RunScene(const BatchScene& scene) {
        Progress progress(isTerminal && !arguments.quiet ? Progress::Style::Bar : Progress::Style::Silent,
                          std::cerr);
        const BatchRun how{arguments.folder,
                           arguments.timeLimit,
                           arguments.again,
                           [&](double fraction) {
                               progress.Update(fraction);
                               return !platform::WasInterrupted();
                           },
                           [&] { results.Begin(scene.output); },
                           results.WasBegun(scene.output)};
        KOVA::Tessara::Fundament::Status status;
        const auto made = RunBatchScene(scene, how, results.FindDone(scene.output), status);
        if (!made) return results.End(scene.output, false);
        Json result = {{"scene", next}, {"of", scenes.size()}};
        result.update(*made);
        const bool isSkipped = result["status"] == "skipped";
        skipped += isSkipped ? 1 : 0;
        if (result["status"] == "failed") {
            ++failed;
            std::cerr << FormatErrors(status);
        }
        std::cout << BatchResults::Print(result) << std::endl;
        ++told;
        if (!isSkipped) results.Add(result);
        results.End(scene.output, result["status"] != "failed");
    }

    const Arguments& arguments;
    const std::vector<BatchScene> scenes;
    BatchResults results;
    const bool isTerminal;
    std::size_t next = 0;
    std::size_t told = 0, skipped = 0, failed = 0;
};

} // namespace

ExitCode RunBatch(const Arguments& arguments) { return Batch(arguments).Run(); }

} // namespace cli
