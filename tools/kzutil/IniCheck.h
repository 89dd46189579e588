// The ini-file linter of `kzutil ini check`: finds the traps of the format that
// hand-edited files fall into, each at its line, as the reader would meet them.
//   for (const IniFinding& f : CheckIniText("site.ini", text))
//     std::cout << f.fFile << ":" << f.fLine << ": " << f.fMessage << "\n";
#ifndef KZUTIL_TOOLS_KZUTIL_INICHECK_H
#define KZUTIL_TOOLS_KZUTIL_INICHECK_H

#include <string>
#include <vector>

namespace KzTool {

struct IniFinding {
  std::string fFile;     // as given on the command line
  unsigned int fLine;    // 1-based
  std::string fKind;     // short name, e.g. "duplicate-key"
  std::string fMessage;  // what the reader will do
};

// The findings of one file's content, in line order.
std::vector<IniFinding> CheckIniText(const std::string& file, const std::string& content);

}  // namespace KzTool

#endif
