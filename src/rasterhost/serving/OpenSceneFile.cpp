#include "rasterhost/serving/OpenSceneFile.h"

#include "rasterhost/requests/GdalErrors.h"
#include "rasterhost/requests/Operation.h"
#include "rasterhost/serving/RecordedScene.h"
#include "rasterhost/serving/SceneFile.h"

#include <utility>

namespace rasterhost {

namespace {

std::shared_ptr<const SharpenedDataset> Open(const SceneRecord& record, const RunOptions& run,
                                             std::size_t mostReaders, const Warn& warn, Status& status) {
    PreparedPair pair;
    Fusion fusion;
    if (PrepareRecorded(record, run, warn, pair, status) != Preparation::Done ||
        !MakeFusion(RequestOf(record), *pair.scene, pair.plugin->GetDescription(), record.found, fusion,
                    status))
        return nullptr;
    auto open = std::make_shared<const OpenPair>(std::move(pair), mostReaders);
    return std::make_shared<const SharpenedDataset>(std::move(open), std::move(fusion));
}

} // namespace

std::shared_ptr<const SharpenedDataset> OpenSceneFile(const std::string& name, const RunOptions& run,
                                                      std::size_t mostReaders, const Warn& warn,
                                                      Status& status) {
    std::shared_ptr<const SharpenedDataset> dataset;
    const bool isOpen = Guard(
        [&] {
            const GdalErrors silence;
            SceneRecord record;
            if (ReadSceneFile(name, record, status)) dataset = Open(record, run, mostReaders, warn, status);
            return dataset != nullptr;
        },
        status);
    return isOpen ? dataset : nullptr;
}

std::shared_ptr<const SharpenedDataset> OpenRecord(const SceneRecord& record, const RunOptions& run,
                                                   std::size_t mostReaders, const Warn& warn,
                                                   Status& status) {
    std::shared_ptr<const SharpenedDataset> dataset;
    double seconds = 0.0;
    const bool isOpen = RunOperation(
        [&] {
            dataset = Open(record, run, mostReaders, warn, status);
            return dataset != nullptr;
        },
        seconds, status);
    return isOpen ? dataset : nullptr;
}

} // namespace rasterhost
