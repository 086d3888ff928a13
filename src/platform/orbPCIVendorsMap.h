#pragma once

#include <map>
#include <string>

/// Names of PCI vendors by their ids, four lower-case hexadecimal digits such as "8086", from
/// "0001" to "fffe", as the distribution's list had them when the library was built. Constant and
/// usable by any thread once `main` has begun; statics of other files must not use it.
extern const std::map<std::string, std::string> orbPCIVendorsMap;
