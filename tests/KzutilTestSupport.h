// Runs the built kzutil program the way a shell would, in a clean environment
// whose HOME is a fresh temporary directory, and returns its stdout, stderr and
// exit status. The program's path comes from the build (KZUTIL_PROGRAM).
//   KzutilRun run({"time", "gps2unix", "0"});
//   EXPECT_EQ(run.fStdout, "315964800\n");
#ifndef KZUTIL_TESTS_KZUTILTESTSUPPORT_H
#define KZUTIL_TESTS_KZUTILTESTSUPPORT_H

#include <unistd.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "KzTestSupport.h"

namespace KzTest {

// How to start the program: arguments, environment beyond HOME, working directory.
struct KzutilCall {
  std::vector<std::string> fArgs;           // after the program name
  std::map<std::string, std::string> fEnv;  // added to HOME (which may be overridden)
  std::string fCwd;                         // empty: the HOME directory
};

// Replaces the calling child with kzutil; never returns.
inline void ExecKzutil(const KzutilCall& call, const std::string& home) {
  std::map<std::string, std::string> env = {{"HOME", home}, {"PATH", "/usr/bin:/bin"}};
  for (const auto& [name, value] : call.fEnv) env[name] = value;
  std::vector<std::string> envText;
  for (const auto& [name, value] : env) envText.push_back(name + "=" + value);
  std::vector<char*> argv = {const_cast<char*>(KZUTIL_PROGRAM)};
  for (const std::string& arg : call.fArgs) argv.push_back(const_cast<char*>(arg.c_str()));
  argv.push_back(nullptr);
  std::vector<char*> envp;
  for (std::string& entry : envText) envp.push_back(&entry[0]);
  envp.push_back(nullptr);
  if (chdir(call.fCwd.empty() ? home.c_str() : call.fCwd.c_str()) != 0) _exit(126);
  execve(KZUTIL_PROGRAM, argv.data(), envp.data());
  _exit(127);
}

// kzutil on this host, with a HOME of its own.
class KzutilRun : public ChildResult {
 public:
  explicit KzutilRun(const KzutilCall& call) {
    TempDir home;
    static_cast<ChildResult&>(*this) = RunInChild([&] { ExecKzutil(call, home.Path()); });
  }
  KzutilRun(const std::vector<std::string>& args) : KzutilRun(KzutilCall{args, {}, ""}) {}
  // The stdout as JSON; a parse error fails the test.
  nlohmann::json Json() const {
    try {
      return nlohmann::json::parse(fStdout);
    } catch (const nlohmann::json::exception& e) {
      ADD_FAILURE() << "stdout is no JSON document: " << e.what() << "\n" << fStdout;
      return nlohmann::json();
    }
  }
  // The stdout's lines.
  std::vector<std::string> Lines() const {
    std::vector<std::string> lines;
    std::istringstream text(fStdout);
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
  }
};

// kzutil on a host of its own (see RunOnHost); status 77 when the host could not be set up.
inline ChildResult RunKzutilOnHost(const HostSetup& host, const KzutilCall& call,
                                   const std::string& home) {
  return RunOnHost(host, [&] { ExecKzutil(call, home); });
}

// A usage error: no output, one diagnostic line naming the fault, status 2.
inline void ExpectUsageError(const ChildResult& run, const std::string& text) {
  EXPECT_EQ(run.fExitCode, 2);
  EXPECT_EQ(run.fStdout, "");
  EXPECT_EQ(run.fStderr.rfind("kzutil: usage error: ", 0), 0u) << run.fStderr;
  EXPECT_NE(run.fStderr.find(text), std::string::npos) << run.fStderr;
  EXPECT_EQ(std::count(run.fStderr.begin(), run.fStderr.end(), '\n'), 1) << run.fStderr;
}
#define EXPECT_USAGE_ERROR(run, text)       \
  do {                                      \
    SCOPED_TRACE("expected a usage error"); \
    KzTest::ExpectUsageError(run, text);    \
  } while (0)

}  // namespace KzTest

#endif
