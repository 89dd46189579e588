// A named output stream that collects one message and emits it as one line on
// standard output at endm(); it can also serve as the error logger's stream.
//   ErrorLoggerStream& out = ErrorLoggerStream::GetInstance("daq");
//   out << ErrorLogger::eWarning << "trigger rate " << rate; out.endm();
#ifndef KZUTIL_ERRORLOGGERSTREAM_H
#define KZUTIL_ERRORLOGGERSTREAM_H

#include <ostream>
#include <sstream>
#include <string>

#include "ErrorLogger.h"
#include "SingletonBase.h"

namespace KzUtil {

class ErrorLoggerStream : public std::ostream, public Singleton<ErrorLoggerStream> {
 public:
  // The one instance, renamed to name.
  static ErrorLoggerStream& GetInstance(std::string name);
  void SetName(std::string name) { fName = std::move(name); }
  // Stores the message's severity; it is printed, never used to filter.
  ErrorLoggerStream& operator<<(ErrorLogger::ESeverityLevel severity);
  ErrorLoggerStream& operator<<(ErrorLogger::EVerbosityLevel verbosity);
  ErrorLoggerStream& operator<<(ErrorLoggerStream& (*manipulator)(ErrorLoggerStream&)) {
    return manipulator(*this);
  }
  ErrorLoggerStream& operator<<(std::ostream& (*manipulator)(std::ostream&)) {
    manipulator(*this);
    return *this;
  }
  // Text and numbers are appended as an ordinary output stream formats them.
  template <class V>
  ErrorLoggerStream& operator<<(const V& value) {
    static_cast<std::ostream&>(*this) << value;
    return *this;
  }
  // Emits the collected text as one line and starts a new message.
  ErrorLoggerStream& endm();
  static void SetPrintLevel(unsigned int level) { fgPrintLevel = level; }

 protected:
  friend class Singleton<ErrorLoggerStream>;
  ErrorLoggerStream();
  ~ErrorLoggerStream() override = default;

 private:
  std::string fName;                        // current source of messages
  ErrorLogger::ESeverityLevel fSeverity;    // of the message being collected
  ErrorLogger::EVerbosityLevel fVerbosity;  // of the message being collected
  std::ostringstream fStream;               // holds the collected text
  static unsigned int fgPrintLevel;         // >0 stamps lines, >1 traces
};

// Ends the current message, as endm() does.
ErrorLoggerStream& endl(ErrorLoggerStream& stream);

}  // namespace KzUtil

#endif
