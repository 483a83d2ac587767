#pragma once

#include <array>
#include <string_view>

namespace qel::tools::process {

// Where a program named without "/" is looked for, in this order; also the child's PATH.
constexpr std::array<const char*, 4> kSearchDirectories = {"/usr/sbin", "/usr/bin", "/bin",
                                                           "/sbin"};

// Variables of this process that a child gets, matched with their "=".
constexpr std::array<std::string_view, 10> kPassedVariables = {
    "LANG=",        "TZ=",          "LC_ALL=",     "LC_COLLATE=", "LC_CTYPE=",
    "LC_MESSAGES=", "LC_MONETARY=", "LC_NUMERIC=", "LC_TIME=",    "TERM="};

constexpr const char* kDevNull = "/dev/null";
constexpr const char* kProcSelfFd = "/proc/self/fd";
constexpr const char* kProcSelfStatus = "/proc/self/status";

}  // namespace qel::tools::process
