#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace view {

/// Makes the quality table, a JSON object as text. Calls `progress` with the fraction done, 0 to 1, and stops
/// when it returns false. Throws when the table cannot be made.
using MakeQuality = std::function<std::string(const std::function<bool(double)>& progress)>;

/// The quality table. It is made on a thread of its own after the first request for it.
class QualityTable {
public:
    explicit QualityTable(MakeQuality makeTable) : make(std::move(makeTable)) {}
    QualityTable(const QualityTable&) = delete;
    QualityTable& operator=(const QualityTable&) = delete;
    ~QualityTable();

    /// A JSON object. "state" is "running" with "progress", "done" with "table", or "failed" with "message".
    [[nodiscard]] std::string Get();

private:
    void Run();

    const MakeQuality make;
    std::mutex mutex;
    std::string outcome; ///< empty while the table is being made
    std::atomic<double> progress = 0.0;
    std::atomic<bool> isStopping = false;
    std::thread thread;
};

} // namespace view
