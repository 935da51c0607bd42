#include "fundament/Files.h"
#include "fundament/Platform.h"
#include "fundament/Text.h"

#include <fstream>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace KOVA::Tessara::Fundament {

namespace {

// A folder from the environment. The base directory rules say to ignore relative ones.
std::string Configured(const char* variable, const std::string& usual) {
    const std::string value = Platform::Environment(variable);
    return StartsWith(value, "/", false) ? value : usual;
}

// The home folder in the user's account, or an empty text.
std::string AccountHome() {
    std::vector<char> buffer(16384);
    passwd account{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &account, buffer.data(), buffer.size(), &found) != 0 || !found) return {};
    return found->pw_dir ? found->pw_dir : "";
}

// A folder of the desktop, from lines such as XDG_PICTURES_DIR="$HOME/Pictures".
std::string UserFolder(const std::string& home, const std::string& name, const std::string& usual) {
    std::ifstream settings(Configured("XDG_CONFIG_HOME", home + "/.config") + "/user-dirs.dirs");
    const std::string start = "XDG_" + name + "_DIR=\"";
    for (std::string line; std::getline(settings, line);) {
        line = Trim(line);
        if (!StartsWith(line, start, false) || !EndsWith(line, "\"", false)) continue;
        std::string folder = line.substr(start.size());
        folder.pop_back();
        if (StartsWith(folder, "$HOME", false)) folder = home + folder.substr(5);
        if (StartsWith(folder, "/", false)) return folder;
    }
    return home + usual;
}

std::string Folder(int code) {
    if (code == 35) {
        const auto folders = Tokenize(Configured("XDG_DATA_DIRS", "/usr/local/share"), ":");
        return folders.front();
    }
    if (code == 38) return "/opt";
    std::string home = Configured("HOME", AccountHome());
    if (home.empty()) return {};
    switch (code) {
    case 0:
        return UserFolder(home, "DESKTOP", "/Desktop");
    case 5:
        return UserFolder(home, "DOCUMENTS", "/Documents");
    case 39:
        return UserFolder(home, "PICTURES", "/Pictures");
    case 26:
        return Configured("XDG_CONFIG_HOME", home + "/.config");
    case 28:
        return Configured("XDG_DATA_HOME", home + "/.local/share");
    case 40:
        return home;
    default:
        return {};
    }
}

} // namespace

std::string GetSpecialFolder(int folder) {
    const std::string path = Folder(folder);
    return path.empty() || EndsWith(path, "\\", true) ? path : path + "\\";
}

} // namespace KOVA::Tessara::Fundament
