// Runs the built kzutil program the way a shell would, in a clean environment
// whose HOME is a fresh temporary directory, and checks what it gives. The
// program's path comes from the build (KZUTIL_PROGRAM).
//   KzTest::ExpectCases({{"time gps2unix 0", 0, "315964800\n"}});
#ifndef KZUTIL_TESTS_KZUTILTESTSUPPORT_H
#define KZUTIL_TESTS_KZUTILTESTSUPPORT_H

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iomanip>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "KzTestSupport.h"

namespace KzTest {

// The words of a command line: split at spaces, '...' keeps spaces in a word.
inline std::vector<std::string> Words(const std::string& line) {
  std::vector<std::string> words;
  std::istringstream text(line);
  for (std::string word; text >> std::quoted(word, '\'');) words.push_back(word);
  return words;
}

// How to start the program: arguments, environment beyond HOME, working directory.
struct KzutilCall {
  std::string fCommand;                     // the arguments as a command line (see Words)
  std::map<std::string, std::string> fEnv;  // added to HOME (which may be overridden)
  std::string fCwd;                         // empty: the HOME directory
};

// Replaces the calling child with kzutil; never returns.
inline void ExecKzutil(const KzutilCall& call, const std::string& home) {
  clearenv();
  setenv("HOME", home.c_str(), 1);
  setenv("PATH", "/usr/bin:/bin", 1);
  for (const auto& [name, value] : call.fEnv) setenv(name.c_str(), value.c_str(), 1);
  std::vector<std::string> args = Words(call.fCommand);
  std::vector<char*> argv = {const_cast<char*>(KZUTIL_PROGRAM)};
  for (std::string& arg : args) argv.push_back(&arg[0]);
  argv.push_back(nullptr);
  if (chdir(call.fCwd.empty() ? home.c_str() : call.fCwd.c_str()) != 0) _exit(126);
  execv(KZUTIL_PROGRAM, argv.data());
  _exit(127);
}

// kzutil on this host, with a HOME of its own.
class KzutilRun : public ChildResult {
 public:
  explicit KzutilRun(const KzutilCall& call) {
    TempDir home;
    static_cast<ChildResult&>(*this) = RunInChild([&] { ExecKzutil(call, home.Path()); });
  }
  explicit KzutilRun(const std::string& command, const std::string& cwd = "")
      : KzutilRun(KzutilCall{command, {}, cwd}) {}
  // The stdout as JSON; a parse error fails the test.
  nlohmann::json Json() const {
    const nlohmann::json json = nlohmann::json::parse(fStdout, nullptr, false);
    EXPECT_FALSE(json.is_discarded()) << "stdout is no JSON document:\n" << fStdout;
    return json;
  }
  // The stdout's lines.
  std::vector<std::string> Lines() const {
    std::vector<std::string> lines;
    std::istringstream text(fStdout);
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
  }
};

// Each field (JSON pointer -> value) of fields has its value in doc.
inline void ExpectFields(const nlohmann::json& doc, const nlohmann::json& fields) {
  for (const auto& [pointer, value] : fields.items()) {
    const nlohmann::json::json_pointer at(pointer);
    EXPECT_EQ(doc.contains(at) ? doc[at] : nlohmann::json("(missing)"), value) << pointer;
  }
}

// One call and what it must give.
struct KzutilCase {
  std::string fCommand;      // the arguments as a command line (see Words)
  int fExitCode;             // the exit status
  nlohmann::json fStdout;    // the whole stdout, or fields of its JSON (pointer -> value)
  std::string fStderr = "";  // the whole stderr
};

// Runs every case in cwd (empty: HOME) and checks it, naming the row on a failure.
inline void ExpectCases(const std::vector<KzutilCase>& cases, const std::string& cwd = "") {
  for (const KzutilCase& expected : cases) {
    SCOPED_TRACE("kzutil " + expected.fCommand);
    const KzutilRun run(expected.fCommand, cwd);
    EXPECT_EQ(run.fExitCode, expected.fExitCode);
    EXPECT_EQ(run.fStderr, expected.fStderr);
    if (expected.fStdout.is_string())
      EXPECT_EQ(run.fStdout, expected.fStdout.get<std::string>());
    else
      ExpectFields(run.Json(), expected.fStdout);
  }
}

// Each command (-> a text of its diagnostic), run in cwd, is a usage error: no output,
// one diagnostic line naming the fault, status 2.
inline void ExpectUsageErrors(const std::vector<std::pair<std::string, std::string>>& cases,
                              const std::string& cwd = "") {
  for (const auto& [command, text] : cases) {
    SCOPED_TRACE("kzutil " + command);
    const KzutilRun run(command, cwd);
    EXPECT_EQ(run.fExitCode, 2);
    EXPECT_EQ(run.fStdout, "");
    EXPECT_EQ(run.fStderr.rfind("kzutil: usage error: ", 0), 0u) << run.fStderr;
    EXPECT_NE(run.fStderr.find(text), std::string::npos) << run.fStderr;
    EXPECT_EQ(std::count(run.fStderr.begin(), run.fStderr.end(), '\n'), 1) << run.fStderr;
  }
}

}  // namespace KzTest

#endif
