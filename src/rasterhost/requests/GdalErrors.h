#pragma once

#include <string>

namespace rasterhost {

/// Before the names by which GDAL reads what was fetched of servers; messages leave it out.
inline constexpr const char* keptPrefix = "/vsipansharp/";

/// Catches what GDAL reports on this thread for as long as it lives; nothing is printed. Not moved, used by
/// the thread that made it.
class GdalErrors {
public:
    GdalErrors();
    GdalErrors(const GdalErrors&) = delete;
    GdalErrors& operator=(const GdalErrors&) = delete;
    ~GdalErrors();

    /// True when an error, not a mere warning, was reported.
    [[nodiscard]] bool HasFailed() const { return !text.empty(); }
    /// ": " and the first error, or nothing: to be appended to a message.
    [[nodiscard]] std::string Reason() const { return text.empty() ? text : ": " + text; }

    /// ": " and the first warning, or nothing.
    [[nodiscard]] std::string Warning() const { return warning.empty() ? warning : ": " + warning; }
    /// What to suspect and to do: the memory where an error was that it could not be had, else `otherwise`.
    [[nodiscard]] const char* Suspect(const char* otherwise) const;
    void Add(bool isError, bool isOfMemory, const char* message); ///< for GDAL's handler

private:
    std::string text;
    std::string warning;
    bool lacksMemory = false;
};

} // namespace rasterhost
