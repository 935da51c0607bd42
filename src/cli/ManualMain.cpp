#include "cli/CompletionText.h"
#include "cli/ManualText.h"

#include <iostream>
#include <string_view>

/// Prints what is made from the table of options, in the form that is named.
int main(int argc, char** argv) {
    const std::string_view form = argc == 2 ? argv[1] : "";
    const struct {
        std::string_view name;
        std::string (*make)();
    } forms[] = {{"man", cli::ManualPage},
                 {"markdown", cli::ManualMarkdown},
                 {"bash", cli::BashCompletion},
                 {"zsh", cli::ZshCompletion}};
    for (const auto& each : forms)
        if (each.name == form) {
            std::cout << each.make();
            return std::cout.flush() ? 0 : 1;
        }
    std::cerr << "usage: manual_text man|markdown|bash|zsh\n";
    return 2;
}
