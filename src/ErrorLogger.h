// The library's one message sink: output stream, minimum severity, verbosity
// and the option bits that choose the header fields of each line.
//   ErrorLogger& logger = Singleton<ErrorLogger>::GetInstance();
//   logger.SetOption(ErrorLogger::eShowSeverity, true);
//   KZ_LOG(ErrorLogger::eWarning, "MyDaq::Run() - " << nEvents << " events");
#ifndef KZUTIL_ERRORLOGGER_H
#define KZUTIL_ERRORLOGGER_H

#include <fstream>
#include <ostream>
#include <sstream>
#include <string>

#include "SingletonBase.h"

namespace KzUtil {

class ErrorLogger : public Singleton<ErrorLogger> {
 public:
  enum ESeverityLevel : int {
    eDebug = -1,
    eInfo = 0,
    eWarning = 1,
    eError = 2,
    eCritical = 3,
    eSevere = 4,
    eFatal = 5
  };
  enum EVerbosityLevel : int { eDefaultVerbosity = -1, eTerse = 0, eVerbose = 1 };
  enum ELoggingOption : int {
    eShowSeverity = 1,
    eShowGPSTime = 2,
    eShowUnixTime = 4,  // stored, adds no field
    eShowFilename = 8,
    eShowLineNumber = 16,
    eShowClassName = 32,  // stored, adds no field
    eShowFuncName = 64
  };

  // The output stream for a statement of this severity; the null stream below the level.
  std::ostream& GetStream(ESeverityLevel level);
  void SetOption(ELoggingOption option, bool enable);
  bool IsOptionSet(ELoggingOption option) const { return (fLoggingOption & option) != 0; }
  // eDefaultVerbosity is ignored; eVerbose also switches eShowFuncName on.
  void SetVerbosity(EVerbosityLevel verbosity);
  EVerbosityLevel GetVerbosity() const { return fVerbosity; }
  ESeverityLevel GetLoggingLevel() const { return fLoggingLevel; }
  // Unless quiet, announces the change with a warning judged against the old level.
  void SetLoggingLevel(ESeverityLevel level, bool quiet = false);
  // Writes to a fresh file from now on; falls back to the log stream if it cannot be opened.
  void SetFile(const char* filename);
  void SetFile(const std::string& filename);
  void SetStream(std::ostream* stream) { fOStream = stream; }  // not owned
  // Writes one message with the header the options and verbosity ask for.
  void Log(ESeverityLevel severity, const std::string& functionName, const std::string& fileName,
           int lineNumber, const std::string& message,
           EVerbosityLevel verbosity = eDefaultVerbosity) const;
  void Log(ESeverityLevel severity, const std::string& functionName, const std::string& fileName,
           int lineNumber, const std::ostringstream& message,
           EVerbosityLevel verbosity = eDefaultVerbosity) const;

  static std::string GetVerboseSeverity(ESeverityLevel level);
  static std::string GetVerboseSeverityShort(ESeverityLevel level);
  // Decimal text of i, blank-padded on the left to at least width characters.
  static std::string GetASCIIFromInt(unsigned int i, int width);

  // Whether a statement of this severity reaches the output; KZ_LOG asks first.
  bool IsLogged(ESeverityLevel severity) const { return severity >= fLoggingLevel; }
  // Starts a KZ_LOG statement: writes its header and returns the stream for the text.
  std::ostream& BeginStatement(ESeverityLevel severity, const char* sourceFile, int line);
  // Reports a failed KZ_ASSERT in the C library's assert() layout and aborts.
  [[noreturn]] static void AssertionFailed(const char* expression, const char* sourceFile, int line,
                                           const char* function);

 protected:
  friend class Singleton<ErrorLogger>;
  ErrorLogger();
  ~ErrorLogger() override;

 private:
  ErrorLogger(const ErrorLogger&) = delete;
  ErrorLogger& operator=(const ErrorLogger&) = delete;
  std::ostream& OutputStream() const;

  std::ostream* fOStream;              // stream in use, not owned
  std::ofstream fOfStream;             // the file of SetFile
  int fLoggingOption;                  // OR of ELoggingOption bits
  ESeverityLevel fLoggingLevel;        // lowest severity written
  EVerbosityLevel fVerbosity;          // eTerse or eVerbose
  static std::ofstream* fgNullStream;  // "/dev/null", sink of suppressed severities
};

}  // namespace KzUtil

// The log statement of every call site: the text is only formatted when the
// severity passes the logger's level. Debug lines carry source file and line.
// A class gates its statements with its print level as a plain condition:
//   if (fgPrintLevel > 1) KZ_LOG(ErrorLogger::eDebug, "Kz::Set() - " << value);
#define KZ_LOG(severity, text)                                                        \
  do {                                                                                \
    const ::KzUtil::ErrorLogger::ESeverityLevel kzSeverity_ = (severity);             \
    ::KzUtil::ErrorLogger& kzLogger_ = ::KzUtil::ErrorLogger::GetInstance();          \
    if (kzLogger_.IsLogged(kzSeverity_))                                              \
      kzLogger_.BeginStatement(kzSeverity_, __FILE__, __LINE__) << text << std::endl; \
  } while (0)

// An assertion that NDEBUG does not switch off; the text is the expanded expression.
#define KZ_STRINGIFY_(expr) #expr
#define KZ_STRINGIFY(expr) KZ_STRINGIFY_(expr)
#define KZ_ASSERT(expr)                                              \
  (static_cast<bool>(expr) ? void(0)                                 \
                           : ::KzUtil::ErrorLogger::AssertionFailed( \
                                 KZ_STRINGIFY(expr), __FILE__, __LINE__, __PRETTY_FUNCTION__))

#endif
