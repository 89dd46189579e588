// The leap-second table as kzutil prints it, shared by `time leaps` and `info`.
//   DescribeLeapSecondTable(result.fText, result.fJson["leap_seconds"]);
#ifndef KZUTIL_TOOLS_KZUTIL_TIMECOMMAND_H
#define KZUTIL_TOOLS_KZUTIL_TIMECOMMAND_H

#include <ostream>

#include <nlohmann/json.hpp>

namespace KzTool {

// The library's print-out into text; its rows as json["entries"] (unix, gps, leap_seconds).
void DescribeLeapSecondTable(std::ostream& text, nlohmann::json& json);

}  // namespace KzTool

#endif
