#pragma once

#include "rasterhost/requests/HostStatus.h"

#include <memory>
#include <string>
#include <vector>

namespace rasterhost {

/// The one way in which this host makes files appear. They are written under their final names in a hidden
/// folder beside their place. When they are complete they are moved there: first those that belong to the
/// main file, then the main file. Until then they are removed with this object.
///
/// The folder of "scene.tif" is ".scene.pansharp-HOST-123-0.tmp", which says whose it is: what a killed run
/// on this machine left of the same file is removed first. A link is followed: what it leads to is written.
/// For object storage the folder is in that for temporary files (CPL_TMPDIR, TMPDIR or TEMP), and complete
/// files are sent from there: an object appears as a whole or not at all.
/// In GDAL's memory ("/vsimem/") there is no folder, and the file is written at its place.
class WorkFolder {
public:
    /// Null with an item when the folder cannot be made. `finalName` is the main file.
    [[nodiscard]] static std::unique_ptr<WorkFolder> Make(const std::string& finalName, Status& status);
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;
    ~WorkFolder();

    /// Where to write the main file.
    [[nodiscard]] const std::string& GetFile() const { return file; }
    /// Where to write another file that belongs beside it.
    [[nodiscard]] std::string GetFile(const std::string& name) const;
    /// Where to write files that are needed only during the run.
    [[nodiscard]] std::string GetSpare(const std::string& name) const;
    /// Removes the spare files.
    void ClearSpare();
    /// Names of the spare files.
    [[nodiscard]] std::vector<std::string> ListSpare() const;
    /// The main file's name at its place.
    [[nodiscard]] const std::string& GetPlace() const { return place; }
    /// The place of a file of this name.
    [[nodiscard]] std::string GetPlace(const std::string& name) const;

    /// Moves all files to their place, and takes away what lies there and described a file that is replaced.
    /// Nothing that is there is touched unless `overwrite` is set; what is replaced hands on its permissions.
    /// False with an item, all being as it was before; on object storage files may have been replaced by
    /// then, and what described the old ones may be left.
    [[nodiscard]] bool Deliver(bool overwrite, Status& status);

private:
    explicit WorkFolder(const std::string& finalName);
    bool MakeFolders(Status& status);
    bool SendAll(const std::vector<std::string>& names, const std::vector<std::string>& stale, bool overwrite,
                 Status& status) const;

    std::string place;
    std::string folder; ///< empty in memory
    std::string file;
    bool isDelivered = false;
};

/// The folder of the file system in which that of a work folder is made; empty for the current one.
[[nodiscard]] std::string FolderToWorkIn(const std::string& finalName);

/// Names of the files that GDAL takes for descriptions of a raster, whatever its format: statistics,
/// overviews, mask.
[[nodiscard]] std::vector<std::string> NamesOfDescriptions(const std::string& name);

} // namespace rasterhost
