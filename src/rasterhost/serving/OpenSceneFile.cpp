#include "rasterhost/serving/OpenSceneFile.h"

#include "rasterhost/requests/GdalErrors.h"
#include "rasterhost/requests/Operation.h"
#include "rasterhost/serving/RecordedScene.h"
#include "rasterhost/serving/SceneFile.h"

namespace rasterhost {

std::shared_ptr<const SharpenedDataset> OpenSceneFile(const std::string& name, const RunOptions& run,
                                                      std::size_t mostReaders, const Warn& warn,
                                                      Status& status) {
    std::shared_ptr<const SharpenedDataset> dataset;
    const bool isOpen = Guard(
        [&] {
            const GdalErrors silence;
            SceneRecord record;
            PreparedPair pair;
            if (!ReadSceneFile(name, record, status) ||
                PrepareRecorded(record, run, warn, pair, status) != Preparation::Done)
                return false;
            Fusion fusion;
            if (!MakeFusion(RequestOf(record), *pair.scene, pair.plugin->GetDescription(), record.found,
                            fusion, status))
                return false;
            auto open = std::make_shared<const OpenPair>(std::move(pair), mostReaders);
            dataset = std::make_shared<const SharpenedDataset>(std::move(open), std::move(fusion));
            return true;
        },
        status);
    return isOpen ? dataset : nullptr;
}

} // namespace rasterhost
