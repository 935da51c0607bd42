#include "view/PageFiles.h"

#include "hostkit/LibraryFile.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace view {

std::map<std::string, PageFile> ReadPageFiles() {
    struct Known {
        const char *path, *file, *type;
    };
    constexpr std::array known = {
        Known{"/", "index.html", "text/html; charset=utf-8"},
        Known{"/page.js", "page.js", "text/javascript; charset=utf-8"},
        Known{"/page.css", "page.css", "text/css; charset=utf-8"},
    };
    const std::filesystem::path folder =
        hostkit::LibraryFile::ProgramFolder() / ".." / "share" / "pansharp" / "view";
    std::map<std::string, PageFile> files;
    for (const Known& each : known) {
        std::ifstream stream(folder / each.file, std::ios::binary);
        std::ostringstream content;
        if (!stream || !(content << stream.rdbuf())) return {};
        files[each.path] = {each.type, std::make_shared<const std::string>(content.str())};
    }
    return files;
}

} // namespace view
