#pragma once

#include "rasterhost/requests/HostStatus.h"

#include <memory>
#include <string>
#include <vector>

namespace rasterhost {

/// The only way in which this host creates files. They are written under their final names in a hidden folder
/// beside their place. When they are complete they are moved there: first those that belong to the main file,
/// then the main file. Until then they are removed with this object.
///
/// The folder of "scene.tif" is ".scene.pansharp-HOST-123-0.tmp". The name tells whose it is: what a killed
/// run on this machine left for the same file is removed first. A link is followed: the file that it leads to
/// is written.
///
/// For object storage the folder is in the one for temporary files (CPL_TMPDIR, TMPDIR or TEMP), and complete
/// files are sent from there: an object appears as a whole or not at all. In GDAL's memory ("/vsimem/") there
/// is no folder, and the file is written at its place.
class WorkFolder {
public:
    /// Null, with an item, when the folder cannot be made. `finalName` is the name of the main file.
    [[nodiscard]] static std::unique_ptr<WorkFolder> Make(const std::string& finalName, Status& status);
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;
    ~WorkFolder();

    /// The name to write the main file under.
    [[nodiscard]] const std::string& GetFile() const { return file; }
    /// The name to write another file under that belongs beside it.
    [[nodiscard]] std::string GetFile(const std::string& name) const;
    /// The name for a file that is needed only during the run.
    [[nodiscard]] std::string GetSpare(const std::string& name) const;
    /// Removes the spare files.
    void ClearSpare();
    /// Names of the spare files.
    [[nodiscard]] std::vector<std::string> ListSpare() const;
    /// The final name of the main file.
    [[nodiscard]] const std::string& GetPlace() const { return place; }
    /// The final name of a file of this name.
    [[nodiscard]] std::string GetPlace(const std::string& name) const;

    /// Moves all files to their place and removes what describes a file that is replaced. Existing files are
    /// changed only with `overwrite`; a replaced file passes its permissions on. False, with an item, with
    /// everything as before; on object storage, files may already have been replaced, and descriptions of the
    /// old ones may remain.
    [[nodiscard]] bool Deliver(bool overwrite, Status& status);

private:
    explicit WorkFolder(const std::string& finalName);
    bool MakeFolders(Status& status);
    bool SendAll(const std::vector<std::string>& names, const std::vector<std::string>& stale, bool overwrite,
                 Status& status) const;

    std::string place;
    std::string folder; ///< empty for GDAL's memory
    std::string file;
    bool isDelivered = false;
};

/// The folder of the file system in which a work folder is made; empty for the current one.
[[nodiscard]] std::string FolderToWorkIn(const std::string& finalName);

/// Names of the files in which GDAL looks for descriptions of a raster of any format: statistics, overviews,
/// mask.
[[nodiscard]] std::vector<std::string> NamesOfDescriptions(const std::string& name);

} // namespace rasterhost
