#pragma once

#include "rasterhost/products/Metadata.h"
#include "rasterhost/requests/HostStatus.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace rasterhost {

/// The files of a folder, or of an archive that is read where it lies: nothing is unpacked.
class ProductFiles {
public:
    /// Lists what lies below a folder, or in a tar, tar.gz or zip. False with an item when that cannot be
    /// read, or when there is too much of it. Names in an archive that lead out of it are not seen, nor what
    /// is not a regular file.
    [[nodiscard]] bool List(const std::string& folderOrArchive, Status& status);
    /// One file of a folder that cannot be listed. Others are looked for by the names that it tells.
    void TakeOne(const std::string& folder, const std::string& name);
    /// A metadata file, relative to the folder, that is read however many there are.
    void Want(const std::string& name) { wantedName = name; }

    /// Names relative to the folder, with '/', in order.
    [[nodiscard]] const std::vector<std::string>& GetNames() const { return names; }
    /// The name as GDAL takes it.
    [[nodiscard]] std::string PathOf(const std::string& name) const { return root + "/" + name; }
    [[nodiscard]] bool IsOfArchive() const { return isArchive; }
    [[nodiscard]] bool IsListed() const { return isListed; }
    /// A file beside another one, in whatever letter case; none where there is no such file, or the name
    /// leads out of the folder.
    [[nodiscard]] std::optional<std::string> FindBeside(const std::string& name,
                                                        const std::string& other) const;
    /// Reads a metadata file. None, with `fault` saying why, when it cannot be understood, or after the first
    /// 1000.
    [[nodiscard]] std::optional<Metadata> Read(const std::string& name, std::string& fault) const;
    [[nodiscard]] bool HasTooMuchMetadata() const; ///< some were not read
    /// The same of any file.
    [[nodiscard]] static std::optional<Metadata> ReadFile(const std::string& path, std::string& fault);

private:
    void DropRepeated();

    std::string root;
    std::string wantedName;
    std::vector<std::string> names;
    std::map<std::string, std::string> anyCase; ///< the names by themselves in small letters
    mutable std::size_t filesRead = 0;
    bool isArchive = false;
    bool isListed = true;
};

/// True for the name of an archive that GDAL reads, by its ending.
[[nodiscard]] bool IsArchive(const std::string& name);

/// Parts of a relative name: its folder with the last '/', empty for none; what follows that; and that
/// without its ending.
[[nodiscard]] std::string FolderPart(const std::string& name);
[[nodiscard]] std::string LastPart(const std::string& name);
[[nodiscard]] std::string StemPart(const std::string& name);
/// True for a name that a raster may have, by its ending.
[[nodiscard]] bool IsRasterName(const std::string& name);

} // namespace rasterhost
