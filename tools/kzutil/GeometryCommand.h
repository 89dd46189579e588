// Geometry helpers that `kzutil info` shares with `kzutil pixel` and `kzutil camera`.
//   result.fText << TelescopeName(9);  // "eye 2 (Birch Ridge), mirror 3"
#ifndef KZUTIL_TOOLS_KZUTIL_GEOMETRYCOMMAND_H
#define KZUTIL_TOOLS_KZUTIL_GEOMETRYCOMMAND_H

#include <string>

#include <nlohmann/json.hpp>

namespace KzTool {

// "reference telescope" for 0, else the eye with its name and the eye-local mirror.
std::string TelescopeName(unsigned int abs_tel_id);
// Applies the [Geometry] group of an ini file found along the search path;
// QueryFailed when there is no such file or group.
void ReadPointingConfig(const std::string& file);
// An angle from the library's single-precision tables as a short decimal for JSON.
double Degrees(double angle);
// {"azimuth": ..., "elevation": ...}
nlohmann::json Direction(double azimuth, double elevation);

}  // namespace KzTool

#endif
