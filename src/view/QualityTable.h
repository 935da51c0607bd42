#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace view {

/// Makes the table of quality, an object of JSON as text. Tells how much of it is done, 0 to 1, and stops
/// when it is answered false. Throws when it cannot be made.
using MakeQuality = std::function<std::string(const std::function<bool(double)>& progress)>;

/// The table of quality, made on a thread of its own once somebody has asked for it.
class QualityTable {
public:
    explicit QualityTable(MakeQuality makeTable) : make(std::move(makeTable)) {}
    QualityTable(const QualityTable&) = delete;
    QualityTable& operator=(const QualityTable&) = delete;
    ~QualityTable();

    /// An object of JSON: "state" is "running" with "progress", "done" with "table", or "failed" with
    /// "message".
    [[nodiscard]] std::string Get();

private:
    void Run();

    const MakeQuality make;
    std::mutex mutex;
    std::string outcome; ///< empty while it is being made
    std::atomic<double> progress = 0.0;
    std::atomic<bool> isStopping = false;
    std::thread thread;
};

} // namespace view
