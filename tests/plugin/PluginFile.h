#pragma once

#include "host/EntryPoints.h"

#include <cstring>
#include <dlfcn.h>
#include <span>
#include <stdexcept>

namespace fakehost {

using KOVA::Tessara::Global::NameValueMap;
using KOVA::Tessara::Pixmere::IRasterProcess;

/// The built plug-in, loaded by its file name as a server would.
struct Plugin {
    Plugin() : library(dlopen(PANSHARP_PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL)) {
        if (!library) throw std::runtime_error(dlerror());
    }
    ~Plugin() { dlclose(library); }
    template <class Function>
    Function Entry(const char* name) const {
        void* address = dlsym(library, name);
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
