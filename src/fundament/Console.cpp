#include "fundament/Console.h"

#include "fundament/Files.h"
#include "fundament/Platform.h"
#include "fundament/Text.h"

#include <cstdio>

namespace KOVA::Tessara::Fundament {

namespace {

// `safe` is one of the upper-case `answers`: the one that changes nothing.
char Ask(const std::string& question, const std::string& answers, char safe) {
    std::fflush(stdout);
    std::fflush(stderr);
    char answer = safe;
    {
        Platform::KeyReader keys; // before the question, so that the answer is not echoed
        std::fputs(question.c_str(), stderr);
        std::fflush(stderr);
        while (const auto key = keys.Next()) {
            const std::string upper = ToUpper(std::string(1, *key));
            if (answers.find(upper) == std::string::npos) continue;
            answer = upper.front();
            break;
        }
    }
    std::fprintf(stderr, "%c\n", answer);
    return answer;
}

} // namespace

bool IsInteractive() { return Platform::IsInteractive(); }

std::int32_t ConfirmOverwrite(const std::string& path, bool force) {
    if (!FileExists(path)) return 1;
    const std::string question = FormatString("%s already exists! Overwrite?(Y/N)[N] ", path.c_str());
    if (!force && Ask(question, "YN", 'N') != 'Y') return 0;
    return IsWritable(path) ? 1 : -1;
}

std::uint32_t ConfirmOverwriteOrAppend(const std::string& path, bool overwrite, bool append) {
    if (!FileExists(path)) return 1;
    const std::string question =
        FormatString("%s already exists! Cancel/Append/Overwrite?(C/A/O)[C] ", path.c_str());
    const char answer = overwrite ? 'O' : append ? 'A' : Ask(question, "CAO", 'C');
    if (answer == 'C') return 0;
    if (!IsWritable(path)) return 0xFFFFFFFFu;
    return answer == 'O' ? 1 : 2;
}

} // namespace KOVA::Tessara::Fundament
