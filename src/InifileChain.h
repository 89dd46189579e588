// An ordered list of ini files read as one: a group is taken from the first
// file that has it, and all lookups then read that file alone.
//   InifileChain ini("site.ini");
//   ini.AddInifile("local.ini");
//   if (ini.SpecifyGroup("Geometry") == 0) value = ini.GetFirstValue("axis1", 0, &error);
#ifndef KZUTIL_INIFILECHAIN_H
#define KZUTIL_INIFILECHAIN_H

#include <string>
#include <vector>

#include "Inifile.h"

namespace KzUtil {

class InifileChain : public Inifile {
 public:
  // The chain starts with filename, located and opened as by Inifile.
  explicit InifileChain(const char* filename);
  // The chain starts with a fresh reader of inifile's file.
  explicit InifileChain(Inifile& inifile);
  ~InifileChain() override;

  // Selects group in the first file of the chain that has it; -1 when none has.
  int SpecifyGroup(const char* group) override;
  // Locates filename and appends it, even when it is listed already; 0 when appended.
  virtual int AddInifile(const char* filename);

 private:
  InifileChain() = delete;
  InifileChain(const InifileChain&) = delete;
  InifileChain& operator=(const InifileChain&) = delete;

  std::vector<std::string> fFiles;  // located paths, in the order they were added
};

}  // namespace KzUtil

#endif
