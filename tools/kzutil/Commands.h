// The subcommand groups of kzutil. Each group lives in its own source file
// (TimeCommand.cc, ...) and registers its subcommands on the main program with
// one function declared here; main.cc calls them all, in the order of --help.
// A new group: declare AddXxxCommand here, define it in XxxCommand.cc with
// SetAction (Tool.h) for every leaf subcommand, and add it to main.cc's list.
//   CLI::App app;
//   AddTimeCommand(app);  // kzutil time gps2unix|unix2gps|show|leaps
#ifndef KZUTIL_TOOLS_KZUTIL_COMMANDS_H
#define KZUTIL_TOOLS_KZUTIL_COMMANDS_H

#include <CLI/CLI.hpp>

namespace KzTool {

void AddInfoCommand(CLI::App& app);      // this host as the library sees it
void AddTimeCommand(CLI::App& app);      // GPS and Unix seconds, leap seconds
void AddGeometryCommand(CLI::App& app);  // pixel and camera directions
void AddNumberCommand(CLI::App& app);    // detector numbering conversions
void AddFovCommand(CLI::App& app);       // cameras on the sky as a picture
void AddDisplayCommand(CLI::App& app);   // one camera's pixel values as a picture
void AddIniCommand(CLI::App& app);       // ini get, locate and check

}  // namespace KzTool

#endif
