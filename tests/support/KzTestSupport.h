// Helpers shared by the test suites: real temporary directories, forked children
// whose output and exit status are captured, children that run on a host of their
// own (UTS + mount namespaces, chosen host name, bind-mounted /etc files), and the
// library's log caught in a string.
//   KzTest::ChildResult r = KzTest::RunInChild([] { std::cout << "x"; });
//   EXPECT_EQ(r.fStdout, "x");
#ifndef KZUTIL_TESTS_KZTESTSUPPORT_H
#define KZUTIL_TESTS_KZTESTSUPPORT_H

#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ErrorLogger.h"

namespace KzTest {

// A fresh directory under the system's temporary directory, removed with its contents.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& Path() const { return fPath; }
  // Writes content to Path()/name (parents created) and returns the full path.
  std::string Write(const std::string& name, const std::string& content) const;

 private:
  std::string fPath;  // absolute, no trailing slash
};

struct ChildResult {
  int fExitCode = -1;   // exit status, -1 when ended by a signal
  int fSignal = 0;      // the ending signal, 0 when exited
  std::string fStdout;  // everything the child wrote on file descriptor 1
  std::string fStderr;  // everything the child wrote on file descriptor 2
};

// Runs body in a forked child and returns its output and status. After body the
// child calls exit(): status 1 when a gtest assertion inside body failed, else 0,
// and the exit handlers and static destructors run as in a real program.
ChildResult RunInChild(const std::function<void()>& body);

struct HostSetup {
  std::string fHostname;                      // set with sethostname()
  std::map<std::string, std::string> fFiles;  // e.g. "/etc/hosts" -> content, bind-mounted
  std::vector<std::string> fHidden = {};      // e.g. "/etc/networks": absent for the child
};

// Whether this machine lets a child enter UTS + mount namespaces; why not, if not.
bool NamespacesAvailable(std::string* why);
// As RunInChild, but the child first enters its own UTS + mount namespaces and
// takes the host name, hidden paths and files of host. Status 77 when that set-up failed.
ChildResult RunOnHost(const HostSetup& host, const std::function<void()>& body);

// Reads a whole file; empty when it cannot be read.
std::string ReadFile(const std::string& path);
// A file of the source tree, e.g. SourcePath("etc/KzSite.ini").
std::string SourcePath(const std::string& relative);

// Sends the error logger's output into a string while it lives (back to the log
// stream afterwards: exit handlers may log later); with a level, lets that
// severity and all above it through.
class LogCapture {
 public:
  LogCapture();
  explicit LogCapture(KzUtil::ErrorLogger::ESeverityLevel level);
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;
  std::string Text() const { return fText.str(); }  // logged since the last Take
  std::vector<std::string> Lines() const;           // the same, line by line
  std::string Take();                               // Text(), then forgets it

 private:
  std::ostringstream fText;  // what the logger wrote
};

// A test whose whole log, debug lines included, is caught.
class LoggedTest : public ::testing::Test {
 protected:
  std::string TakeLog() { return fLog.Take(); }

  LogCapture fLog{KzUtil::ErrorLogger::eDebug};
};

// What body throws, as "kind: text"; "nothing thrown" when it returns.
std::string Thrown(const std::function<void()>& body);

}  // namespace KzTest

#endif
