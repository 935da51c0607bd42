#include "Child.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <grp.h>
#include <pty.h>
#include <sstream>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace child {

namespace {

constexpr const char* outName = ".stdout";
constexpr const char* errName = ".stderr";

/// In the child: connects this descriptor to that file.
void Redirect(int descriptor, const std::string& name) {
    const int file = open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (file < 0 || dup2(file, descriptor) < 0) _exit(99);
    close(file);
}

} // namespace

Running::Running(const Folder& workFolder, const Arguments& arguments,
                 const std::optional<std::string>& plugin, const std::string& out, Terminal* terminal,
                 std::uint64_t largestFile, std::uint64_t mostThreads)
    : folder(workFolder) {
    std::vector<char*> pointers = {const_cast<char*>(PANSHARP_COMMAND_FILE)};
    for (const std::string& argument : arguments)
        pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);
    const winsize size{24, terminal ? terminal->columns : static_cast<unsigned short>(0), 0, 0};
    id = terminal ? forkpty(&terminal->descriptor, nullptr, nullptr, &size) : fork();
    if (id < 0) throw std::runtime_error("no child process");
    if (id > 0) return;
    if (chdir(folder.path.c_str()) != 0) _exit(99);
    for (const int number : {SIGINT, SIGTERM})
        std::signal(number, SIG_DFL); // a background shell may ignore these
    if (!terminal || !terminal->showsOutput) Redirect(STDOUT_FILENO, out.empty() ? folder / outName : out);
    if (!terminal) Redirect(STDERR_FILENO, folder / errName);
    const rlimit limit{largestFile, largestFile};
    if (largestFile > 0) setrlimit(RLIMIT_FSIZE, &limit);
    constexpr uid_t nobody = 65534;
    const rlimit threads{mostThreads, mostThreads};
    if (mostThreads > 0 && (setrlimit(RLIMIT_NPROC, &threads) != 0 ||
                            (geteuid() == 0 && (setgroups(0, nullptr) != 0 || setuid(nobody) != 0))))
        _exit(99);
    if (mostThreads > 0) setenv("ASAN_OPTIONS", "detect_leaks=0", 1); // its search needs a thread
    unsetenv("PANSHARP_PLUGIN");
    if (plugin) setenv("PANSHARP_PLUGIN", plugin->c_str(), 1);
    execv(pointers[0], pointers.data());
    _exit(99);
}

std::string Running::ErrorsSoFar() const { return testfiles::ReadText(folder / errName); }

void Running::Signal(int number) const { kill(id, number); }

Outcome Running::Finish() {
    int state = 0;
    waitpid(id, &state, 0);
    return {WIFEXITED(state) ? WEXITSTATUS(state) : 1000 + WTERMSIG(state),
            testfiles::ReadText(folder / outName), testfiles::ReadText(folder / errName)};
}

Outcome Run(const Folder& folder, const Arguments& arguments, const std::optional<std::string>& plugin,
            const std::string& out) {
    return Running(folder, arguments, plugin, out).Finish();
}

Outcome RunWell(const Folder& folder, const Arguments& arguments, const std::optional<std::string>& plugin) {
    Outcome outcome = Run(folder, arguments, plugin);
    if (outcome.code != 0) throw std::runtime_error(AsTyped(arguments) + "\n" + outcome.err);
    return outcome;
}

Outcome RunAt(Terminal terminal, const Folder& folder, const Arguments& arguments, char key) {
    Running running(folder, arguments, {}, {}, &terminal);
    std::string shown;
    for (char byte = 0; read(terminal.descriptor, &byte, 1) == 1;) {
        shown += byte;
        if (key != 0 && shown.ends_with("[N] ") && write(terminal.descriptor, &key, 1) == 1) key = 0;
    }
    close(terminal.descriptor);
    return {running.Finish().code, shown, {}};
}

bool WaitUntil(const std::function<bool()>& condition) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

Arguments::Arguments(const char* line) {
    std::istringstream words(line);
    for (std::string word; words >> word;)
        push_back(word == "''" ? "" : word);
}

Arguments operator+(Arguments first, const Arguments& more) {
    first.insert(first.end(), more.begin(), more.end());
    return first;
}

std::string AsTyped(const Arguments& arguments) {
    std::string text;
    for (const std::string& argument : arguments)
        text += "'" + argument + "' ";
    return text;
}

} // namespace child
