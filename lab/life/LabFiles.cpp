#include "life/LabFiles.h"

#include <dlfcn.h>

#include <fstream>

void LabSyslog::write(const char *ident, int, int priority, const char *text) {
    const std::lock_guard<std::mutex> guard(lock);
    std::ofstream(path, std::ios::app) << ident << " <" << priority << "> " << text << '\n';
}

void *LabLibraries::open(const char *name, int flags) {
    const std::string path(name), wanted = path.substr(path.rfind('/') + 1);
    const std::string &from = wanted.starts_with("libgeoenc") ? encoders : folder;
    return ::dlopen((from + "/" + wanted).c_str(), flags);
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
