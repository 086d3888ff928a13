#pragma once

#include <map>
#include <string>
#include <string_view>

/// The assignments of an os-release file, unquoted as a shell would. Lines that are no assignment,
/// or whose quotes don't close, are left out; of several of one name the last counts. Pure.
std::map<std::string, std::string, std::less<>> parse_os_release(std::string_view text);
