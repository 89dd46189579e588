#include "InifileChain.h"

#include <algorithm>

#include "ErrorLogger.h"

namespace KzUtil {

InifileChain::InifileChain(const char* filename) : Inifile(filename) {
  KZ_ASSERT(filename != NULL && *filename != 0);
  if (GetPrintLevel() > 1)
    KZ_LOG(ErrorLogger::eInfo, "InifileChain::InifileChain('" << filename << "') -");
  // A file found nowhere still leaves status 0 and an empty path in the list.
  if (GetStatus() == 0) fFiles.push_back(GetFilename());
}

InifileChain::InifileChain(Inifile& inifile) : Inifile(inifile) {
  if (GetPrintLevel() > 1)
    KZ_LOG(ErrorLogger::eInfo,
           "InifileChain::InifileChain('Inifile') - file= " << inifile.GetFilename());
  if (GetStatus() == 0) fFiles.push_back(GetFilename());
}

InifileChain::~InifileChain() { fFiles.clear(); }

int InifileChain::AddInifile(const char* filename) {
  if (filename == NULL || *filename == 0) {
    KZ_LOG(ErrorLogger::eWarning, "InifileChain::AddInifile() - passed empty filename!");
    return -1;
  }
  if (GetPrintLevel() > 1)
    KZ_LOG(ErrorLogger::eInfo, "InifileChain::AddInifile('" << filename << "') -");
  const std::string path = Locate(filename);
  if (GetPrintLevel() >= 1)
    KZ_LOG(ErrorLogger::eInfo, "InifileChain::AddInifile() - found " << path);
  if (path.empty()) return -1;
  if (std::find(fFiles.begin(), fFiles.end(), path) != fFiles.end())
    KZ_LOG(ErrorLogger::eWarning,
           "InifileChain::AddInifile() - file: " << path << " already added to the list!");
  // A duplicate is kept: the caller asked for it.
  fFiles.push_back(path);
  return 0;
}

int InifileChain::SpecifyGroup(const char* group) {
  Close();
  int found = -1;
  for (const std::string& file : fFiles) {
    // Reopening also clears a stream stuck at the end of the file.
    Open(file.c_str());
    found = Inifile::SpecifyGroup(group);
    if (found == 0) return 0;
    Close();
  }
  return found;
}

}  // namespace KzUtil
