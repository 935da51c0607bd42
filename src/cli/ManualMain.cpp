#include "cli/ManualText.h"

#include <iostream>
#include <string_view>

/// Prints the manual of the command: "manual man" or "manual markdown".
int main(int argc, char** argv) {
    const std::string_view form = argc == 2 ? argv[1] : "";
    if (form != "man" && form != "markdown") {
        std::cerr << "usage: manual man|markdown\n";
        return 2;
    }
    std::cout << (form == "man" ? cli::ManualPage() : cli::ManualMarkdown());
    return std::cout.flush() ? 0 : 1;
}
