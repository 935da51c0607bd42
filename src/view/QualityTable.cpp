#include "view/QualityTable.h"

#include "rasterhost/requests/Json.h"

#include <exception>
#include <system_error>

namespace view {

using rasterhost::Json;

QualityTable::~QualityTable() {
    isStopping = true;
    if (thread.joinable()) thread.join();
}

std::string QualityTable::Get() {
    const std::scoped_lock lock(mutex);
    try {
        if (!thread.joinable()) thread = std::thread([this] { Run(); });
    } catch (const std::system_error&) { // the next request tries again
        return Json{{"state", "failed"},
                    {"message", "no thread can be started to compare the methods; end other programs or "
                                "raise the limit of processes (ulimit -u)"}}
            .dump();
    }
    if (!outcome.empty()) return outcome;
    return Json{{"state", "running"}, {"progress", progress.load()}}.dump();
}

void QualityTable::Run() {
    std::string made;
    try {
        const std::string table = make([this](double done) {
            progress = done;
            return !isStopping;
        });
        made = R"({"state":"done","table":)" + table + "}";
    } catch (const std::exception& error) {
        made = Json{{"state", "failed"}, {"message", error.what()}}.dump(-1, ' ', false,
                                                                         Json::error_handler_t::replace);
    }
    const std::scoped_lock lock(mutex);
    outcome = std::move(made);
}

} // namespace view
