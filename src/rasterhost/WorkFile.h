#pragma once

#include "rasterhost/HostStatus.h"

#include <string>

namespace rasterhost {

/// A file in the making beside its final name, under one that tells whose it is, removed with this object
/// unless it got the final name: ".scene.pansharp-HOST-123.tmp.tif" for "scene.tif" is hidden and has the
/// ending that some drivers go by. What a run that was killed on this machine left of the same output is
/// removed first.
class WorkFile {
public:
    /// `ending` replaces the final name's when it is not empty.
    WorkFile(const std::string& finalName, const std::string& ending);
    WorkFile(const WorkFile&) = delete;
    WorkFile& operator=(const WorkFile&) = delete;
    ~WorkFile();

    [[nodiscard]] const std::string& GetName() const { return name; }
    /// Replaces what has the final name, and what lies beside that and described it. False with an item.
    [[nodiscard]] bool Rename(const std::string& finalName, const std::string& format, Status& status);

private:
    std::string name;
    bool isRenamed = false;
};

} // namespace rasterhost
