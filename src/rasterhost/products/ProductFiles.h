#pragma once

#include "rasterhost/products/Metadata.h"
#include "rasterhost/requests/HostStatus.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace rasterhost {

/// The files of a folder, or of an archive that is read in place: nothing is unpacked.
class ProductFiles {
public:
    /// Lists what lies below a folder, or in a tar, tar.gz or zip. False, with an item, when it cannot be
    /// read or has too many files. In an archive, names that lead out of it and anything but regular files
    /// are ignored.
    [[nodiscard]] bool List(const std::string& folderOrArchive, Status& status);
    /// Takes one file of a folder that cannot be listed. Other files are looked up by the names in it.
    void TakeOne(const std::string& folder, const std::string& name);
    /// Sets a metadata file, relative to the folder, that is read even beyond the limit on their number.
    void Want(const std::string& name) { wantedName = name; }

    /// Names relative to the folder, with '/', in ascending order.
    [[nodiscard]] const std::vector<std::string>& GetNames() const { return names; }
    /// The name in the form that GDAL takes.
    [[nodiscard]] std::string PathOf(const std::string& name) const { return root + "/" + name; }
    [[nodiscard]] bool IsOfArchive() const { return isArchive; }
    [[nodiscard]] bool IsListed() const { return isListed; }
    /// A file in the same folder as another one, in any letter case. Empty when there is no such file, or
    /// when the name leads out of the folder.
    [[nodiscard]] std::optional<std::string> FindBeside(const std::string& name,
                                                        const std::string& other) const;
    /// Reads a metadata file. Empty, with the reason in `fault`, when it cannot be understood, and after the
    /// first 1000 files.
    [[nodiscard]] std::optional<Metadata> Read(const std::string& name, std::string& fault) const;
    [[nodiscard]] bool HasTooMuchMetadata() const; ///< whether some were not read
    /// The same for any file.
    [[nodiscard]] static std::optional<Metadata> ReadFile(const std::string& path, std::string& fault);

private:
    void DropRepeated();

    std::string root;
    std::string wantedName;
    std::vector<std::string> names;
    std::map<std::string, std::string> anyCase; ///< the names, by their lower-case form
    mutable std::size_t filesRead = 0;
    bool isArchive = false;
    bool isListed = true;
};

/// True when the extension is that of an archive that GDAL reads.
[[nodiscard]] bool IsArchive(const std::string& name);

/// Parts of a relative name: the folder with the last '/', or empty; what follows it; and that without its
/// extension.
[[nodiscard]] std::string FolderPart(const std::string& name);
[[nodiscard]] std::string LastPart(const std::string& name);
[[nodiscard]] std::string StemPart(const std::string& name);
/// True when the extension may be that of a raster.
[[nodiscard]] bool IsRasterName(const std::string& name);

} // namespace rasterhost
