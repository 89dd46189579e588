// kzutil ini: values of a key, the search for a file, and the linter.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "Commands.h"
#include "IniCheck.h"
#include "Inifile.h"
#include "Tool.h"

namespace KzTool {

namespace {

void AddGet(CLI::App& ini) {
  auto file = std::make_shared<std::string>();
  auto group = std::make_shared<std::string>();
  auto key = std::make_shared<std::string>();
  CLI::App* sub = ini.add_subcommand("get", "Print all values of a key, one per line");
  sub->add_option("FILE", *file, "Ini file, found along the ini search path")->required();
  sub->add_option("GROUP", *group, "Group name, without the brackets")->required();
  sub->add_option("KEY", *key, "Key within the group")->required();
  sub->footer(
      "Examples:\n  kzutil ini get KzSite.ini Geometry axis3        # 44.945 and 15.96\n"
      "  kzutil ini get ./daq.ini Run trigger --json\n"
      "Exit status 1 when the file, the group or a value of the key is not found.");
  SetAction(sub, [file, group, key](Result& result) {
    const std::string path = LocateIniOrFail(*file);
    KzUtil::Inifile reader(path.c_str());
    if (reader.SpecifyGroup(group->c_str()) != 0)
      throw QueryFailed("no group [" + *group + "] with entries in " + path);
    std::vector<std::string> values;
    for (const char* value = reader.GetFirstString(key->c_str()); value;
         value = reader.GetNextString(static_cast<int*>(nullptr)))
      values.push_back(value);
    if (values.empty())
      throw QueryFailed("no value of key '" + *key + "' in group [" + *group + "] of " + path);
    for (const std::string& value : values) result.fText << value << "\n";
    result.fJson = {{"file", path}, {"group", *group}, {"key", *key}, {"values", values}};
  });
}

// "$KZ_ROOT/etc/x.ini": the variable that was not set, else empty.
std::string UnsetVariable(const std::string& place) {
  if (place.empty() || place[0] != '$') return "";
  return place.substr(1, place.find('/') - 1);
}

void AddLocate(CLI::App& ini) {
  auto name = std::make_shared<std::string>();
  CLI::App* sub = ini.add_subcommand(
      "locate", "Show every place the ini search tries, in order, and what it found");
  sub->add_option("NAME", *name, "Ini file name as a program would give it")->required();
  sub->footer(
      "The search: the name's own directory (when it has one), ./, this host's configuration\n"
      "directory, $HOME, /opt/vesta/etc/, $KZ_ROOT/etc/, $KZDAS_CONFIG_DIR/config/,\n"
      "$KZDAS_BASE_DIR/config/, $INIFILE_PATH/; the first readable file wins.\n"
      "Examples:\n  kzutil ini locate KzSite.ini\n  kzutil ini locate daq.ini --json\n"
      "Exit status 1 when the file is found nowhere.");
  SetAction(sub, [name](Result& result) {
    std::vector<std::string> tried;
    const std::string found = LocateIni(*name, &tried);
    result.fJson["name"] = *name;
    result.fJson["tried"] = nlohmann::json::array();
    for (const std::string& place : tried) {
      const std::string unset = UnsetVariable(place);
      result.fText << (unset.empty() ? "not found  " : "not set    ") << place << "\n";
      nlohmann::json entry = {{"path", place}, {"found", false}};
      if (!unset.empty()) entry["unset"] = unset;
      result.fJson["tried"].push_back(entry);
    }
    if (found.empty()) {
      result.fText << "not found in any directory\n";
      result.fJson["found"] = nullptr;
      result.fStatus = kExitFailed;
      return;
    }
    result.fText << "found      " << found << "\n";
    result.fJson["tried"].push_back({{"path", found}, {"found", true}});
    result.fJson["found"] = found;
  });
}

// The bytes of a file; false (errno set) when it cannot be opened or read, e.g. a directory.
bool ReadWholeFile(const std::string& path, std::string& content) {
  std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (!file) return false;
  char buffer[8192];
  size_t n = 0;
  while ((n = std::fread(buffer, 1, sizeof buffer, file.get())) > 0) content.append(buffer, n);
  return !std::ferror(file.get());
}

void AddCheck(CLI::App& ini) {
  auto files = std::make_shared<std::vector<std::string>>();
  CLI::App* sub = ini.add_subcommand(
      "check", "Find the traps of hand-edited ini files, each as FILE:LINE: message");
  sub->add_option("FILE", *files, "Ini files, as paths (not searched for)")->required();
  sub->footer(
      "Finds: a last line without a newline (the reader never sees it), an indented group\n"
      "header (does not end the group before it), a group or key given twice (the later one\n"
      "is never read), carriage returns, a ';' or '#' that cuts a value, a key with no value,\n"
      "a line in no group.\n"
      "Examples:\n  kzutil ini check KzSite.ini daq.ini\n  kzutil ini check site.ini --json\n"
      "Exit status 1 when anything is found or a file cannot be read, else 0 (and no output).");
  SetAction(sub, [files](Result& result) {
    result.fJson["findings"] = nlohmann::json::array();
    for (const std::string& file : *files) {
      std::string content;
      if (!ReadWholeFile(file, content)) {
        PrintDiagnostic("error", "cannot read " + file + ": " + std::strerror(errno));
        result.fStatus = kExitFailed;
        continue;
      }
      for (const IniFinding& f : CheckIniText(file, content)) {
        result.fText << f.fFile << ":" << f.fLine << ": " << f.fMessage << "\n";
        result.fJson["findings"].push_back(
            {{"file", f.fFile}, {"line", f.fLine}, {"kind", f.fKind}, {"message", f.fMessage}});
        result.fStatus = kExitFailed;
      }
    }
  });
}

}  // namespace

void AddIniCommand(CLI::App& app) {
  CLI::App* ini = app.add_subcommand("ini", "Read, search for and check ini files");
  ini->require_subcommand(1);
  AddGet(*ini);
  AddLocate(*ini);
  AddCheck(*ini);
}

}  // namespace KzTool
