#pragma once

#include "host/EntryPoints.h"
#include "hostkit/LibraryFile.h"

#include <cstring>
#include <span>
#include <stdexcept>

namespace fakehost {

using KOVA::Tessara::Global::NameValueMap;
using KOVA::Tessara::Pixmere::IRasterProcess;

/// The built plug-in, loaded by its file name as a server would.
struct Plugin {
    Plugin() {
        std::string reason;
        library = hostkit::LibraryFile::Open(PANSHARP_PLUGIN_FILE, reason);
        if (!library) throw std::runtime_error(reason);
    }
    ~Plugin() { hostkit::LibraryFile::Close(library); }
    template <class Function>
    Function Entry(const char* name) const {
        void* address = hostkit::LibraryFile::Find(library, name);
        if (!address) throw std::runtime_error(name);
        Function function;
        std::memcpy(&function, &address, sizeof function);
        return function;
    }
    IRasterProcess* Create(const NameValueMap* map) const {
        namespace Names = KOVA::Tessara::EntryPoints;
        return Entry<TessaraCreateObject>(Names::createObject)(nullptr, nullptr, map);
    }
    int Destroy(IRasterProcess** object) const {
        namespace Names = KOVA::Tessara::EntryPoints;
        return Entry<TessaraDestroyObject>(Names::destroyObject)(nullptr, object);
    }

    [[nodiscard]] const PansharpDescription& Describe() const {
        return *Entry<PansharpDescribe>(KOVA::Tessara::EntryPoints::describe)();
    }
    [[nodiscard]] std::span<const PansharpMethod> Methods() const {
        return {Describe().methods, Describe().methodCount};
    }

    void* library;
};

} // namespace fakehost
