// What every kzutil subcommand shares: its result (text or one JSON document,
// written only when the subcommand finished), the errors that end it with exit
// status 1 or 2, argument parsing and the capture of the library's log lines.
//   SetAction(sub, [](Result& r) { r.fText << "42\n"; r.fJson["answer"] = 42; });
//   throw UsageError("row 23 is a virtual channel");  // one line on stderr, status 2
#ifndef KZUTIL_TOOLS_KZUTIL_TOOL_H
#define KZUTIL_TOOLS_KZUTIL_TOOL_H

#include <functional>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "ErrorLogger.h"

namespace KzTool {

enum EExitStatus { kExitOk = 0, kExitFailed = 1, kExitUsage = 2 };

// A subcommand's answer. Both forms are filled; --json selects which one is printed.
struct Result {
  int fStatus = kExitOk;     // kExitFailed for a finding that is still reported (ini check)
  std::ostringstream fText;  // the report for people
  nlohmann::json fJson = nlohmann::json::object();  // the same report for programs
};

// Ends a subcommand without output: one line on stderr and the exit status.
class ToolError : public std::runtime_error {
 public:
  ToolError(const std::string& message, int status)
      : std::runtime_error(message), fStatus(status) {}
  int Status() const { return fStatus; }

 private:
  int fStatus;  // kExitFailed or kExitUsage
};
// A query that found nothing or could not be answered: status 1.
struct QueryFailed : ToolError {
  explicit QueryFailed(const std::string& message) : ToolError(message, kExitFailed) {}
};
// Arguments the library or the tool refuses: status 2.
struct UsageError : ToolError {
  explicit UsageError(const std::string& message) : ToolError(message, kExitUsage) {}
};

// Adds --json to sub and makes body its action; the result is printed by main.
void SetAction(CLI::App* sub, std::function<void(Result&)> body);
// Runs when main has parsed the command line: prints the chosen result, returns its status.
int FlushResult();

// One diagnostic line on stderr: "kzutil: <kind>: <message>".
void PrintDiagnostic(const std::string& kind, const std::string& message);

// A non-negative decimal number below 2^32, else UsageError naming what.
unsigned int ParseUnsigned(const std::string& text, const std::string& what);
// A CLI11 validator that accepts what ParseUnsigned accepts.
const CLI::Validator& UnsignedNumber();

// One log line of the library, split into its severity tag and its text.
struct LogLine {
  std::string fTag;   // "ERR", "WRN", ... or empty when the line had none
  std::string fText;  // the message, e.g. "KzConfig::KzConfig() - ..."
  // The severity of the tag; untagged and unknown lines count as fatal.
  KzUtil::ErrorLogger::ESeverityLevel Severity() const;
};

// Collects the library's log lines from construction to destruction instead of
// letting them reach stderr; the logger's stream and level are restored afterwards.
class LogCapture {
 public:
  explicit LogCapture(KzUtil::ErrorLogger::ESeverityLevel level);
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;
  std::vector<LogLine> Lines() const;

 private:
  std::ostringstream fBuffer;                          // what the library wrote
  std::ostream* fPreviousStream;                       // restored at the end
  KzUtil::ErrorLogger::ESeverityLevel fPreviousLevel;  // restored at the end
};

// Runs a library call on user-given numbers: an exception it throws, or an error
// it logs, becomes a UsageError carrying the library's own message.
void CheckedByLibrary(const std::function<void()>& call);

// Writes captured lines to the log stream, as the library would have written them.
void ForwardToLog(const std::vector<LogLine>& lines);

// The lowest severity of library lines that reach stderr (global --log-level).
KzUtil::ErrorLogger::ESeverityLevel LogLevel();
void SetLogLevel(KzUtil::ErrorLogger::ESeverityLevel level);

// Ini search along the library's path. Its own "could not find" lines are kept in
// tried (the places it looked at, in order); other library lines go on to stderr.
std::string LocateIni(const std::string& name, std::vector<std::string>* tried = nullptr);
// The full path of an ini file along the search path; QueryFailed when it is nowhere.
std::string LocateIniOrFail(const std::string& name);

}  // namespace KzTool

#endif
