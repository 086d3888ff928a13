#pragma once

#include <array>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/FakeLibraries.h"
#include "fakes/TemporaryRoot.h"
#include "fc/hba_loader.h"

/// A vendor's library: what it has and how it answers. Everything works, with no adapters, until a
/// test changes it.
struct HbaVendor {
    HBA_STATUS registration = HBA_STATUS_OK;
    HBA_UINT32 version = 1;
    HBA_STATUS loading = HBA_STATUS_OK, freeing = HBA_STATUS_OK;
    HBA_UINT32 count = 0;
    std::function<HBA_STATUS(HBA_UINT32 index, char *name)> naming; ///< null: "com.example-INDEX"
    std::function<HBA_HANDLE(char *name)> opening;                  ///< null: 0x1234
    std::function<void(HBA_ENTRYPOINTS &)> leaving; ///< takes away from the table or adds to it

    std::vector<std::string> calls; ///< "register", "version", "load", "name 3", ...
};

/// A host with an hba.conf and vendors' libraries. Libraries that are added are called
/// "/lib/0.so", "/lib/1.so", ... The loader's calls may come from one thread at a time.
class HbaVendors {
public:
    static constexpr std::size_t MOST = 4;

    HbaVendors() { inForce() = this; }
    ~HbaVendors() { inForce() = nullptr; }
    HbaVendors(const HbaVendors &) = delete;
    HbaVendors &operator=(const HbaVendors &) = delete;

    /// Puts the first libraries on the host.
    void install(std::size_t number) {
        if (number > 0) libraries.add("/lib/0.so", symbols<0>());
        if (number > 1) libraries.add("/lib/1.so", symbols<1>());
        if (number > 2) libraries.add("/lib/2.so", symbols<2>());
        if (number > 3) libraries.add("/lib/3.so", symbols<3>());
    }
    void configure(const std::string &text) { root.write(HBA_CONF_FILE, text); }
    /// An hba.conf with a line for each of the first libraries.
    void configure(std::size_t number) {
        std::string text;
        for (std::size_t index = 0; index < number; ++index)
            text += "vendor" + std::to_string(index) + "\t/lib/" + std::to_string(index) + ".so\n";
        configure(text);
    }
    /// Installs, configures and loads the first libraries.
    void load(std::size_t number) {
        install(number);
        configure(number);
        ASSERT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    }
    std::vector<std::string> opens() const {
        std::vector<std::string> all;
        for (const std::string &call : libraries.calls())
            if (call.starts_with("open ")) all.push_back(call);
        return all;
    }
    std::size_t times(const std::string &call) const {
        std::size_t sum = 0;
        for (const std::string &made : libraries.calls()) sum += made == call ? 1 : 0;
        return sum;
    }

    TemporaryRoot root;
    FakeLibraries libraries;
    std::array<HbaVendor, MOST> vendors;

    template <int N> static FakeLibraries::SYMBOLS symbols() {
        return {{"HBA_RegisterLibrary", FakeLibraries::entry(&Entries<N>::enrol)}};
    }

private:
    static HbaVendors *&inForce() {
        static HbaVendors *now = nullptr;
        return now;
    }
    template <int N> struct Entries {
        static HbaVendor &vendor(const std::string &call) {
            HbaVendor &mine = inForce()->vendors[N];
            mine.calls.push_back(call);
            return mine;
        }
        static HBA_STATUS enrol(HBA_ENTRYPOINTS *table) {
            HbaVendor &mine = vendor("register");
            const HBA_ENTRYPOINTS none{};
            EXPECT_EQ(std::memcmp(table, &none, sizeof none), 0) << "the table is not empty";
            table->GetVersionHandler = [] { return vendor("version").version; };
            table->LoadLibraryHandler = [] { return vendor("load").loading; };
            table->FreeLibraryHandler = [] { return vendor("free").freeing; };
            table->GetNumberOfAdaptersHandler = [] { return vendor("count").count; };
            table->GetAdapterNameHandler = [](HBA_UINT32 index, char *name) {
                const HbaVendor &asked = vendor("name " + std::to_string(index));
                if (asked.naming) return asked.naming(index, name);
                std::snprintf(name, HBA_ADAPTER_NAME_BYTES, "com.example%d-%u", N, index);
                return HBA_STATUS_OK;
            };
            table->OpenAdapterHandler = [](char *name) -> HBA_HANDLE {
                const HbaVendor &asked = vendor(std::string("open ") + name);
                return asked.opening ? asked.opening(name) : 0x1234;
            };
            table->CloseAdapterHandler = [](HBA_HANDLE handle) {
                (void)vendor("close " + std::to_string(handle));
            };
            if (mine.leaving) mine.leaving(*table);
            return mine.registration;
        }
    };
};
