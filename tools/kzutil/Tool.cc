#include "Tool.h"

#include <algorithm>
#include <cctype>
#include <iostream>
#include <map>

#include "Inifile.h"

namespace KzTool {

using KzUtil::ErrorLogger;
using KzUtil::Singleton;

namespace {

// The output of the subcommand that ran; printed by FlushResult.
struct Pending {
  int fStatus = kExitOk;  // exit status of the subcommand
  std::string fOutput;    // text or JSON, complete
};

Pending& ThePending() {
  static Pending pending;
  return pending;
}

ErrorLogger::ESeverityLevel& TheLogLevel() {
  static ErrorLogger::ESeverityLevel level = ErrorLogger::eError;
  return level;
}

const std::map<std::string, ErrorLogger::ESeverityLevel>& SeverityTags() {
  static const std::map<std::string, ErrorLogger::ESeverityLevel> tags = {
      {"DBG", ErrorLogger::eDebug}, {"INF", ErrorLogger::eInfo},     {"WRN", ErrorLogger::eWarning},
      {"ERR", ErrorLogger::eError}, {"CRI", ErrorLogger::eCritical}, {"SEV", ErrorLogger::eSevere},
      {"FAT", ErrorLogger::eFatal}};
  return tags;
}

bool IsTagged(const std::string& line) {
  if (line.size() < 4 || line[3] != ':') return false;
  for (int i = 0; i < 3; ++i)
    if (!std::isupper(static_cast<unsigned char>(line[i])) && line[i] != '?') return false;
  return true;
}

}  // namespace

void SetAction(CLI::App* sub, std::function<void(Result&)> body) {
  auto json = std::make_shared<bool>(false);
  sub->add_flag("--json", *json, "Print one JSON document instead of text");
  sub->callback([json, body] {
    Result result;
    body(result);
    ThePending().fStatus = result.fStatus;
    ThePending().fOutput = *json ? result.fJson.dump(2) + "\n" : result.fText.str();
  });
}

int FlushResult() {
  std::cout << ThePending().fOutput << std::flush;
  if (!std::cout) {
    PrintDiagnostic("error", "cannot write the result to standard output");
    return kExitFailed;
  }
  return ThePending().fStatus;
}

void PrintDiagnostic(const std::string& kind, const std::string& message) {
  std::string line = message;
  for (char& c : line)
    if (c == '\n' || c == '\r') c = ' ';
  std::cerr << "kzutil: " << kind << ": " << line << std::endl;
}

unsigned int ParseUnsigned(const std::string& text, const std::string& what) {
  const bool digits = !text.empty() && text.size() <= 10 &&
                      text.find_first_not_of("0123456789") == std::string::npos;
  const unsigned long long value = digits ? std::stoull(text) : 0;
  if (!digits || value > 0xFFFFFFFFull)
    throw UsageError(what + " must be a number from 0 to 4294967295, not '" + text + "'");
  return static_cast<unsigned int>(value);
}

const CLI::Validator& UnsignedNumber() {
  static const CLI::Validator validator(
      [](std::string& text) {
        try {
          ParseUnsigned(text, "the value");
        } catch (const UsageError& e) {
          return std::string(e.what());
        }
        return std::string();
      },
      "UINT");
  return validator;
}

LogCapture::LogCapture(ErrorLogger::ESeverityLevel level) {
  ErrorLogger& logger = Singleton<ErrorLogger>::GetInstance();
  fPreviousLevel = logger.GetLoggingLevel();
  fPreviousStream = &logger.GetStream(ErrorLogger::eFatal);
  logger.SetStream(&fBuffer);
  logger.SetLoggingLevel(level, true);
}

LogCapture::~LogCapture() {
  ErrorLogger& logger = Singleton<ErrorLogger>::GetInstance();
  logger.SetStream(fPreviousStream);
  logger.SetLoggingLevel(fPreviousLevel, true);
}

ErrorLogger::ESeverityLevel LogLine::Severity() const {
  const auto known = SeverityTags().find(fTag);
  return known == SeverityTags().end() ? ErrorLogger::eFatal : known->second;
}

std::vector<LogLine> LogCapture::Lines() const {
  std::vector<LogLine> lines;
  std::istringstream text(fBuffer.str());
  for (std::string line; std::getline(text, line);) {
    if (IsTagged(line))
      lines.push_back({line.substr(0, 3), line.substr(4)});
    else
      lines.push_back({"", line});
  }
  return lines;
}

void CheckedByLibrary(const std::function<void()>& call) {
  std::string thrown;
  std::vector<LogLine> logged;
  {
    LogCapture capture(ErrorLogger::eError);
    try {
      call();
    } catch (const ToolError&) {
      throw;
    } catch (const std::exception& e) {
      thrown = e.what();
    }
    logged = capture.Lines();
  }
  if (!logged.empty()) throw UsageError(logged.front().fText);
  if (!thrown.empty()) throw UsageError(thrown);
}

void ForwardToLog(const std::vector<LogLine>& lines) {
  std::ostream& log = Singleton<ErrorLogger>::GetInstance().GetStream(ErrorLogger::eFatal);
  for (const LogLine& line : lines)
    log << (line.fTag.empty() ? "" : line.fTag + ":") << line.fText << std::endl;
}

std::string LocateIni(const std::string& name, std::vector<std::string>* tried) {
  static const std::string kMiss = "Inifile::Locate() - could not find ";
  static const std::string kNowhere = " in any directory !!!";
  if (name.empty()) throw UsageError("the ini file name is empty");
  std::string path;
  std::vector<LogLine> lines;
  {
    LogCapture capture(std::min(LogLevel(), ErrorLogger::eWarning));
    path = KzUtil::Inifile::Locate(name.c_str());
    lines = capture.Lines();
  }
  std::vector<LogLine> others;
  for (const LogLine& line : lines) {
    const bool miss = line.fText.rfind(kMiss, 0) == 0;
    const bool nowhere =
        miss && line.fText.size() >= kNowhere.size() &&
        line.fText.compare(line.fText.size() - kNowhere.size(), kNowhere.size(), kNowhere) == 0;
    if (miss && !nowhere && tried) tried->push_back(line.fText.substr(kMiss.size()));
    if (!miss && line.Severity() >= LogLevel()) others.push_back(line);
  }
  ForwardToLog(others);
  return path;
}

std::string LocateIniOrFail(const std::string& name) {
  const std::string path = LocateIni(name);
  if (path.empty())
    throw QueryFailed("cannot find " + name + " along the ini search path (see kzutil ini locate " +
                      name + ")");
  return path;
}

ErrorLogger::ESeverityLevel LogLevel() { return TheLogLevel(); }

void SetLogLevel(ErrorLogger::ESeverityLevel level) {
  TheLogLevel() = level;
  Singleton<ErrorLogger>::GetInstance().SetLoggingLevel(level, true);
}

}  // namespace KzTool
