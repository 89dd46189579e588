// Helpers of the ini file suites: the logger's output caught in a string, and a
// reader that lets a test reach the protected reopening, search and decoder calls.
//   LogCapture log;
//   Inifile ini("x.ini");
//   EXPECT_NE(log.Text().find("could not find"), std::string::npos);
#ifndef KZUTIL_TESTS_INIFILETESTSUPPORT_H
#define KZUTIL_TESTS_INIFILETESTSUPPORT_H

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "ErrorLogger.h"
#include "Inifile.h"

namespace KzTest {

// Sends the error logger's output into a string for the lifetime of the object.
class LogCapture {
 public:
  LogCapture() { KzUtil::Singleton<KzUtil::ErrorLogger>::GetInstance().SetStream(&fText); }
  ~LogCapture() { KzUtil::Singleton<KzUtil::ErrorLogger>::GetInstance().SetStream(&std::clog); }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;
  std::string Text() const { return fText.str(); }
  std::vector<std::string> Lines() const {
    std::vector<std::string> lines;
    std::istringstream in(fText.str());
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }

 private:
  std::ostringstream fText;  // everything logged so far
};

// An Inifile whose protected operations a test may call.
class OpenInifile : public KzUtil::Inifile {
 public:
  using Inifile::Close;
  using Inifile::Digit2Value;
  using Inifile::Digits2Value;
  using Inifile::GetNextCharacter;
  using Inifile::Inifile;
  using Inifile::Open;
  using Inifile::TestFile;
};

}  // namespace KzTest

#endif
