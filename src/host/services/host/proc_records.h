#pragma once

#include <cstdint>
#include <string_view>

namespace host {

// The two procfs records a process is known by, parsed from their text. Both give false for text
// that does not hold the value, never throw.

// Field 22 of /proc/<pid>/stat (the start time in clock ticks). The command name in parentheses
// may hold blanks and parentheses: fields count from the last ')'.
bool StartTimeFromStat(std::string_view stat, uint64_t& startTime);
// The real uid, the first value of the "Uid:" line of /proc/<pid>/status.
bool UidFromStatus(std::string_view status, uint32_t& uid);

}  // namespace host
