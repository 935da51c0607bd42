#include "cli/CompletionText.h"
#include "cli/ManualText.h"
#include "cli/OptionTable.h"
#include "cli/OptionValues.h"
#include "hostkit/PluginLibrary.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>

namespace {

/// The keywords that a plug-in offers, in lower case. Empty, with the reasons printed, when it cannot be
/// loaded.
std::string ListMethods(const char* file) {
    KOVA::Tessara::Fundament::Status status;
    const auto plugin = hostkit::PluginLibrary::Load(file, status);
    if (!plugin) {
        std::cerr << status.ToText() << "\n";
        return {};
    }
    return cli::MethodWords(plugin->GetDescription());
}

/// Writes the manual into a folder that exists: the page for man(1), command.md and commands/NAME.md.
int WriteManual(const std::filesystem::path& folder) {
    std::filesystem::create_directory(folder / "commands");
    const auto write = [&](const std::string& name, const std::string& text) {
        return bool(std::ofstream(folder / name, std::ios::binary) << text << std::flush);
    };
    bool isWritten = write("pansharp.1", cli::ManualPage()) && write("command.md", cli::ManualMarkdown());
    for (const cli::CommandEntry& command : cli::Commands())
        isWritten =
            isWritten && write("commands/" + std::string(command.name) + ".md", cli::ManualMarkdown(command));
    if (!isWritten) std::cerr << "the manual cannot be written into '" << folder.string() << "'\n";
    return isWritten ? 0 : 1;
}

int Print(const std::string& text) {
    std::cout << text;
    return !text.empty() && std::cout.flush() ? 0 : 1;
}

} // namespace

/// Generates what comes from the table of options: the manual, into a folder; and completion, printed, with
/// the methods of a plug-in.
int main(int argc, char** argv) {
    const std::string_view form = argc > 1 ? argv[1] : "";
    if (argc == 3 && form == "docs") return WriteManual(argv[2]);
    if (argc == 3 && (form == "bash" || form == "zsh")) {
        const std::string methods = ListMethods(argv[2]);
        if (methods.empty()) return 1;
        return Print(form == "bash" ? cli::BashCompletion(methods) : cli::ZshCompletion(methods));
    }
    std::cerr << "usage: manual_text docs FOLDER, or manual_text bash|zsh PLUGIN\n";
    return 2;
}
