#include "IniCheck.h"

#include <algorithm>
#include <map>
#include <sstream>

namespace KzTool {

namespace {

// One line as the reader sees it after its clean-up.
struct CleanLine {
  std::string fText;                 // tabs as blanks, carriage returns and comment removed
  std::string::size_type fCut;       // where ';' or '#' cut the line, npos when nowhere
  char fCutBy;                       // the character that cut it
  std::vector<std::string> fTokens;  // split at blanks and '='
};

CleanLine Clean(const std::string& raw) {
  CleanLine line{raw, std::string::npos, 0, {}};
  line.fText.erase(std::remove(line.fText.begin(), line.fText.end(), '\r'), line.fText.end());
  std::replace(line.fText.begin(), line.fText.end(), '\t', ' ');
  for (char comment : {';', '#'}) {
    const std::string::size_type at = line.fText.find(comment);
    if (at == std::string::npos) continue;
    line.fText.erase(at);
    line.fCut = at;
    line.fCutBy = comment;
  }
  std::string::size_type start = 0;
  while ((start = line.fText.find_first_not_of(" =", start)) != std::string::npos) {
    const std::string::size_type end = line.fText.find_first_of(" =", start);
    line.fTokens.push_back(line.fText.substr(start, end - start));
    start = end;
  }
  return line;
}

// Walks a file line by line, keeping the groups and keys met so far.
class Checker {
 public:
  explicit Checker(const std::string& file) : fFile(file) {}

  void Line(unsigned int number, const std::string& raw) {
    fNumber = number;
    if (raw.find('\r') != std::string::npos)
      Report("carriage-return", "carriage return in the line; it becomes part of a key or value");
    const CleanLine line = Clean(raw);
    const std::string::size_type first = line.fText.find_first_not_of(' ');
    if (first != std::string::npos && line.fText[first] == '[')
      return Header(line.fText.substr(first), first > 0);
    if (line.fTokens.empty()) return;
    if (fGroup.empty()) return Report("outside-group", "line is in no group; no lookup reads it");
    Entry(line);
  }

  void MissingLastNewline(unsigned int number) {
    fNumber = number;
    Report("no-newline", "last line has no newline; the reader never sees it");
  }

  std::vector<IniFinding> Findings() const { return fFindings; }

 private:
  void Header(const std::string& text, bool indented) {
    const std::string name = text.substr(1, text.find(']') - 1);
    if (indented && !fGroup.empty())
      Report("indented-header", "group header [" + name + "] is indented; it does not end group [" +
                                    fGroup + "], whose lookups run on into it");
    const auto seen = fGroupLines.find(name);
    if (seen != fGroupLines.end())
      Report("duplicate-group", "group [" + name + "] given again (first at line " +
                                    std::to_string(seen->second) + "); this one is never read");
    else
      fGroupLines[name] = fNumber;
    fGroup = name;
    fKeyLines.clear();
  }

  void Entry(const CleanLine& line) {
    const std::string& key = line.fTokens.front();
    const auto seen = fKeyLines.find(key);
    if (seen != fKeyLines.end())
      Report("duplicate-key", "key '" + key + "' given again in group [" + fGroup +
                                  "] (first at line " + std::to_string(seen->second) +
                                  "); this one is never read");
    else
      fKeyLines[key] = fNumber;
    if (line.fCut != std::string::npos && line.fCut > 0 && line.fText[line.fCut - 1] != ' ')
      Report("comment-cuts-value", std::string("'") + line.fCutBy +
                                       "' cuts the value; the rest of the line is a comment");
    if (line.fTokens.size() == 1)
      Report("no-value", "key '" + key + "' has no value; lookups report it as not found");
  }

  void Report(const std::string& kind, const std::string& message) {
    fFindings.push_back({fFile, fNumber, kind, message});
  }

  std::string fFile;                                // name used in the findings
  unsigned int fNumber = 0;                         // line being checked
  std::string fGroup;                               // name of the group the line is in
  std::map<std::string, unsigned int> fGroupLines;  // first header line of each group
  std::map<std::string, unsigned int> fKeyLines;    // first line of each key of the group
  std::vector<IniFinding> fFindings;                // in line order
};

}  // namespace

std::vector<IniFinding> CheckIniText(const std::string& file, const std::string& content) {
  Checker checker(file);
  std::istringstream lines(content);
  unsigned int number = 0;
  for (std::string raw; std::getline(lines, raw);) checker.Line(++number, raw);
  if (!content.empty() && content.back() != '\n') checker.MissingLastNewline(number);
  return checker.Findings();
}

}  // namespace KzTool
