#include "ErrorLogger.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iostream>

#include "ErrorLoggerStream.h"
#include "TimeConvert.h"

namespace KzUtil {

std::ofstream* ErrorLogger::fgNullStream =
    new std::ofstream("/dev/null", std::ios::out | std::ios::trunc);

namespace {

struct SeverityName {
  const char* fLong;   // "Warning"
  const char* fShort;  // "WRN"
};

const SeverityName& NameOf(ErrorLogger::ESeverityLevel level) {
  static const SeverityName kNames[] = {{"Debug", "DBG"}, {"Info", "INF"},     {"Warning", "WRN"},
                                        {"Error", "ERR"}, {"Critical", "CRI"}, {"Severe", "SEV"},
                                        {"Fatal", "FAT"}};
  static const SeverityName kUnknown = {"Unknown", "???"};
  // Compared before any arithmetic: a severity may hold any int.
  if (level < ErrorLogger::eDebug || level > ErrorLogger::eFatal) return kUnknown;
  return kNames[level - ErrorLogger::eDebug];
}

const char* BaseName(const char* path) {
  const char* slash = strrchr(path, '/');
  return slash ? slash + 1 : path;
}

std::string CurrentGPSTimeText() {
  return ErrorLogger::GetASCIIFromInt(
      TimeConvert::GetGPSTimeFromUnixTime(static_cast<unsigned int>(time(nullptr))), 10);
}

}  // namespace

ErrorLogger::ErrorLogger()
    : fOStream(&std::clog), fLoggingOption(0), fLoggingLevel(eInfo), fVerbosity(eTerse) {}

ErrorLogger::~ErrorLogger() { fOfStream.close(); }

std::ostream& ErrorLogger::OutputStream() const { return fOStream ? *fOStream : std::clog; }

std::ostream& ErrorLogger::GetStream(ESeverityLevel level) {
  if (level < fLoggingLevel) return *fgNullStream;
  return OutputStream();
}

void ErrorLogger::SetOption(ELoggingOption option, bool enable) {
  if (enable)
    fLoggingOption |= option;
  else
    fLoggingOption &= ~option;
  // The two time stamps exclude each other; GPS time wins.
  if (IsOptionSet(eShowGPSTime) && IsOptionSet(eShowUnixTime)) fLoggingOption &= ~eShowUnixTime;
}

void ErrorLogger::SetVerbosity(EVerbosityLevel verbosity) {
  if (verbosity == eDefaultVerbosity) return;
  fVerbosity = verbosity;
  if (verbosity == eVerbose) SetOption(eShowFuncName, true);
}

void ErrorLogger::SetLoggingLevel(ESeverityLevel level, bool quiet) {
  if (!quiet)
    KZ_LOG(eWarning, "ErrorLogger::SetLoggingLevel(" << static_cast<int>(level) << "="
                                                     << GetVerboseSeverity(level) << " ) - ...");
  fLoggingLevel = level;
}

void ErrorLogger::Log(ESeverityLevel severity, const std::string& functionName,
                      const std::string& fileName, int lineNumber, const std::string& message,
                      EVerbosityLevel verbosity) const {
  if (!IsLogged(severity)) return;
  if (verbosity == eDefaultVerbosity) verbosity = fVerbosity;

  std::string header;
  if (IsOptionSet(eShowSeverity)) header.append(NameOf(severity).fShort).append(":");
  if (IsOptionSet(eShowGPSTime)) header.append(CurrentGPSTimeText()).append(": ");
  const bool verbose = verbosity == eVerbose;
  if (verbose || IsOptionSet(eShowFilename)) header.append(fileName).append(":");
  if (verbose || IsOptionSet(eShowLineNumber))
    header.append(std::to_string(lineNumber)).append(": ");
  if (IsOptionSet(eShowFuncName)) header.append(functionName).append("() - ");

  std::ostream& out = OutputStream();
  if (auto* loggerStream = dynamic_cast<ErrorLoggerStream*>(&out)) {
    *loggerStream << header << message;
    loggerStream->endm();
    return;
  }
  out << header << message << std::endl;
}

void ErrorLogger::Log(ESeverityLevel severity, const std::string& functionName,
                      const std::string& fileName, int lineNumber,
                      const std::ostringstream& message, EVerbosityLevel verbosity) const {
  Log(severity, functionName, fileName, lineNumber, message.str(), verbosity);
}

std::ostream& ErrorLogger::BeginStatement(ESeverityLevel severity, const char* sourceFile,
                                          int line) {
  std::ostream& out = GetStream(severity);
  if (severity == eDebug)
    out << "DBG:";
  else if (IsOptionSet(eShowSeverity))
    out << NameOf(severity).fShort << ":";
  if (IsOptionSet(eShowGPSTime)) out << CurrentGPSTimeText() << ": ";
  if (severity == eDebug) out << BaseName(sourceFile) << ":" << line << ": ";
  return out;
}

void ErrorLogger::AssertionFailed(const char* expression, const char* sourceFile, int line,
                                  const char* function) {
  std::cerr << program_invocation_short_name << ": " << BaseName(sourceFile) << ":" << line << ": "
            << function << ": Assertion `" << expression << "' failed." << std::endl;
  abort();
}

std::string ErrorLogger::GetVerboseSeverity(ESeverityLevel level) { return NameOf(level).fLong; }

std::string ErrorLogger::GetVerboseSeverityShort(ESeverityLevel level) {
  return NameOf(level).fShort;
}

std::string ErrorLogger::GetASCIIFromInt(unsigned int i, int width) {
  std::string text = std::to_string(i);
  if (width > static_cast<int>(text.size())) text.insert(0, width - text.size(), ' ');
  return text;
}

void ErrorLogger::SetFile(const std::string& filename) { SetFile(filename.c_str()); }

// The file-name assertion is known by its place, ErrorLogger.cc:200, in
// operators' notes; SetFile closes this file so that the renumbering below
// only touches its own lines.
void ErrorLogger::SetFile(const char* filename) {
#line 200
  KZ_ASSERT(filename != NULL && *filename != 0);
  if (fOStream) fOStream->flush();
  if (fOfStream.is_open()) fOfStream.close();
  fOfStream.open(filename, std::ios::out | std::ios::trunc);
  if (fOfStream.is_open()) fOfStream.clear();
  // A log file that cannot be opened is not worth stopping a DAQ program for.
  fOStream = fOfStream.is_open() ? static_cast<std::ostream*>(&fOfStream) : &std::clog;
}

}  // namespace KzUtil
