#include "cli/TextLayout.h"

#include "fundament/Text.h"

namespace cli {

std::string Wrap(std::string_view head, std::size_t indent, std::string_view text) {
    const std::string margin(indent, ' ');
    std::string result;
    std::string line(head);
    if (line.size() + 1 > indent && indent > 0) {
        result = line + '\n';
        line.clear();
    }
    line.resize(indent, ' ');
    bool empty = true;
    for (const std::string& word : KOVA::Tessara::Fundament::Tokenize(std::string(text), " ")) {
        if (!empty && line.size() + 1 + word.size() > textWidth) {
            result += line + '\n';
            line = margin;
            empty = true;
        }
        if (!empty) line += ' ';
        line += word;
        empty = false;
    }
    return result + line + '\n';
}

} // namespace cli
