// The leap-second table as kzutil reads and prints it, shared by `time leaps` and `info`.
//   DescribeLeapSecondTable(result.fText, result.fJson["leap_seconds"]);
#ifndef KZUTIL_TOOLS_KZUTIL_TIMECOMMAND_H
#define KZUTIL_TOOLS_KZUTIL_TIMECOMMAND_H

#include <ostream>

#include <nlohmann/json.hpp>

#include "InifileChain.h"

namespace KzTool {

// Extends the leap-second table from group [LeapSeconds] of chain; false, changing
// nothing, when the chain has no such group.
bool ExtendLeapSeconds(KzUtil::InifileChain& chain);
// The library's print-out into text; its rows as json["entries"] (unix, gps, leap_seconds).
void DescribeLeapSecondTable(std::ostream& text, nlohmann::json& json);

}  // namespace KzTool

#endif
