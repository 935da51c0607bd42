#pragma once

#include <string>

namespace rasterhost {

/// Prefix of the names by which GDAL reads fetched bytes of servers; messages omit it.
inline constexpr const char* keptPrefix = "/vsipansharp/";

/// Catches what GDAL reports on this thread while it lives; nothing is printed. It cannot be moved, and only
/// the thread that made it may use it.
class GdalErrors {
public:
    GdalErrors();
    GdalErrors(const GdalErrors&) = delete;
    GdalErrors& operator=(const GdalErrors&) = delete;
    ~GdalErrors();

    /// True when an error, not only a warning, was reported.
    [[nodiscard]] bool HasFailed() const { return !text.empty(); }
    /// ": " and the first error, or an empty text; to be appended to a message.
    [[nodiscard]] std::string Reason() const { return text.empty() ? text : ": " + text; }

    /// ": " and the first warning, or an empty text.
    [[nodiscard]] std::string Warning() const { return warning.empty() ? warning : ": " + warning; }
    /// What to suspect and to do: lack of memory if an error says so, else `otherwise`.
    [[nodiscard]] const char* Suspect(const char* otherwise) const;
    void Add(bool isError, bool isOfMemory, const char* message); ///< for GDAL's handler

private:
    std::string text;
    std::string warning;
    bool lacksMemory = false;
};

} // namespace rasterhost
