# Language level, warnings, hardening and instrumentation, in force for every target of the tree.
include_guard()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()

set(ORB_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize takes them")
option(ORB_COVERAGE "Count the lines that run" OFF)
option(ORB_FUZZ "Build the fuzz targets with libFuzzer (clang only)" OFF)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

include(CheckPIESupported)
check_pie_supported()

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -fno-common)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # Lets ccache serve objects that were built with a precompiled header.
  add_compile_options(-fpch-preprocess)
endif()

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13
   AND CMAKE_BUILD_TYPE STREQUAL "Release")
  # When it optimises, this compiler takes moved and joined short texts for overruns. The address
  # checks and clang look at the same code.
  add_compile_options(-Wno-array-bounds -Wno-restrict -Wno-stringop-overflow -Wno-stringop-overread)
endif()

if(ORB_SANITIZE)
  add_compile_options(-fsanitize=${ORB_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ORB_SANITIZE})
elseif(CMAKE_BUILD_TYPE STREQUAL "Release")
  add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong
                      -fstack-clash-protection)
  add_link_options(-Wl,-z,relro,-z,now -Wl,--as-needed)
endif()
if(ORB_FUZZ)
  # The library is instrumented too; only the fuzz targets link libFuzzer's main.
  add_compile_options(-fsanitize=fuzzer-no-link)
  add_link_options(-fsanitize=fuzzer-no-link)
endif()
if(ORB_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic)
  add_link_options(--coverage)
endif()

# A precompiled header for the standard containers and jsoncpp, which nearly every file reads.
set(ORB_PRECOMPILED <algorithm> <array> <atomic> <condition_variable> <cstdint> <cstdio> <cstring>
    <map> <memory> <mutex> <span> <string> <string_view> <vector> <json/json.h>)
