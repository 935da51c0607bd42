#pragma once

#include <map>
#include <memory>
#include <string>

namespace view {

/// A file of the page.
struct PageFile {
    std::string type;
    std::shared_ptr<const std::string> content;
};

/// The files of the page by request path, read once from beside the program. Empty when the page was not
/// built.
[[nodiscard]] std::map<std::string, PageFile> ReadPageFiles();

} // namespace view
