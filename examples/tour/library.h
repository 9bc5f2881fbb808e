// A shared library loaded at run time, whose symbols are found by name.
#pragma once

#include <dlfcn.h>

#include <filesystem>
#include <stdexcept>
#include <string>

class Library {
public:
    // A bare file name is looked for as the dynamic loader does: in the program's own RPATH, LD_LIBRARY_PATH and the
    // system's folders. A name with a slash is a path.
    explicit Library(const std::string& name) : handle(dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL)) {
        if (!handle) throw std::runtime_error("the library can't be loaded: " + std::string(dlerror()));
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library() { dlclose(handle); }

    // The function or the table of that name. Nothing checks that it is of the given type: see NVO_FIND.
    template <class Symbol> Symbol* find(const char* name) const { return reinterpret_cast<Symbol*>(address(name)); }

    // Where the library that has the symbol was loaded from.
    std::filesystem::path file_of(const char* name) const {
        Dl_info info;
        if (!dladdr(address(name), &info)) return {};
        return std::filesystem::canonical(info.dli_fname);
    }

private:
    void* address(const char* name) const {
        void* const symbol = dlsym(handle, name);
        if (!symbol) throw std::runtime_error("the library has no symbol named " + std::string(name));
        return symbol;
    }

    void* handle;
};

// Finds a symbol with the type that the public header declares for it, so that name and type can't disagree. The name
// stands inside decltype only: the program needs no library to link with.
#define NVO_FIND(library, name) (library).find<decltype(name)>(#name)
