#pragma once

#include <ostream>

#include "info_report.h"

namespace module_host {

// Aligned text for a person.
void PrintInfoText(const InfoReport& report, std::ostream& out);
// One JSON document: identifiers and results as "0x%08x" strings, sizes and offsets as numbers.
void PrintInfoJson(const InfoReport& report, std::ostream& out);

}  // namespace module_host
