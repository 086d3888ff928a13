#pragma once

/// Shared objects of the platform's vendors, loaded at run time.
class IorbHostLibraries {
public:
    virtual ~IorbHostLibraries() = default;
    virtual void *open(const char *name, int flags) = 0;       ///< as dlopen(3)
    virtual void *symbol(void *library, const char *name) = 0; ///< as dlsym(3)
    virtual int close(void *library) = 0;                      ///< as dlclose(3)
    virtual char *error() = 0; ///< as dlerror(3); the text belongs to the loader

    static IorbHostLibraries &get(); ///< the host's own, or those put in by replace()
    static IorbHostLibraries *replace(IorbHostLibraries *next); ///< the former; null: the host's
};
