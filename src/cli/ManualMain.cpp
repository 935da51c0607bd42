#include "cli/CompletionText.h"
#include "cli/ManualText.h"
#include "fundament/Text.h"
#include "hostkit/MethodTable.h"
#include "hostkit/PluginLibrary.h"

#include <iostream>
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
    std::string methods;
    for (const PansharpMethod& method : hostkit::MethodsOf(plugin->GetDescription()))
        methods += (methods.empty() ? "" : " ") + KOVA::Tessara::Fundament::ToLower(method.keyword);
    return methods;
}

int Print(const std::string& text) {
    std::cout << text;
    return !text.empty() && std::cout.flush() ? 0 : 1;
}

} // namespace

/// Prints what is made from the table of options, in the form that is named; completion with the methods of
/// the plug-in that is named after it.
int main(int argc, char** argv) {
    const std::string_view form = argc > 1 ? argv[1] : "";
    if (argc == 2 && form == "man") return Print(cli::ManualPage());
    if (argc == 2 && form == "markdown") return Print(cli::ManualMarkdown());
    if (argc == 3 && (form == "bash" || form == "zsh")) {
        const std::string methods = ListMethods(argv[2]);
        if (methods.empty()) return 1;
        return Print(form == "bash" ? cli::BashCompletion(methods) : cli::ZshCompletion(methods));
    }
    std::cerr << "usage: manual_text man|markdown, or manual_text bash|zsh PLUGIN\n";
    return 2;
}
