#include "life/LabFiles.h"

#include <dlfcn.h>

#include <fstream>

void LabSyslog::write(const char *ident, int, int priority, const char *text) {
    const std::lock_guard<std::mutex> guard(lock);
    std::ofstream(path, std::ios::app) << ident << " <" << priority << "> " << text << '\n';
}

void *LabLibraries::open(const char *name, int flags) {
    const std::string wanted(name);
    return ::dlopen((folder + "/" + wanted.substr(wanted.rfind('/') + 1)).c_str(), flags);
}

void *LabLibraries::symbol(void *library, const char *name) {
    return ::dlsym(library, name);
}

int LabLibraries::close(void *library) {
    return ::dlclose(library);
}

char *LabLibraries::error() {
    return ::dlerror();
}
