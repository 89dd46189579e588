#include "ErrorLoggerStream.h"

#include <ctime>
#include <iomanip>
#include <iostream>

namespace KzUtil {

unsigned int ErrorLoggerStream::fgPrintLevel = 0;

ErrorLoggerStream::ErrorLoggerStream()
    : std::ostream(nullptr),
      fName("default"),
      fSeverity(ErrorLogger::eInfo),
      fVerbosity(ErrorLogger::eTerse) {
  rdbuf(fStream.rdbuf());
  if (fgPrintLevel > 1)
    std::cout << "ErrorLoggerStream::ErrorLoggerStream() - source= ..." << std::endl;
}

ErrorLoggerStream& ErrorLoggerStream::GetInstance(std::string name) {
  ErrorLoggerStream& stream = Singleton<ErrorLoggerStream>::GetInstance();
  stream.SetName(std::move(name));
  return stream;
}

ErrorLoggerStream& ErrorLoggerStream::operator<<(ErrorLogger::ESeverityLevel severity) {
  if (fgPrintLevel > 1)
    std::cout << "ErrorLoggerStream::operator<<(ESeverityLevel= " << static_cast<int>(severity)
              << ") ... " << std::endl;
  fSeverity = severity;
  return *this;
}

ErrorLoggerStream& ErrorLoggerStream::operator<<(ErrorLogger::EVerbosityLevel verbosity) {
  std::cout << "ErrorLoggerStream::operator<<(EVerbosityLevel= " << static_cast<int>(verbosity)
            << ") ... " << std::endl;
  fVerbosity = verbosity;
  return *this;
}

ErrorLoggerStream& ErrorLoggerStream::endm() {
  const time_t now = time(nullptr);
  if (fgPrintLevel > 1)
    std::cout << "Sending message with severity= " << static_cast<int>(fSeverity)
              << " verbosity= " << static_cast<int>(fVerbosity) << " to stream '" << fName << "' !"
              << std::endl;
  const std::string text = fStream.str();
  if (fgPrintLevel)
    std::cout << std::setw(9) << now << ": " << static_cast<int>(fSeverity) << ": '" << text << "'"
              << std::endl;
  else
    std::cout << text << std::endl;
  // A failed insertion must not silence the messages after it.
  fStream.str("");
  clear();
  return *this;
}

ErrorLoggerStream& endl(ErrorLoggerStream& stream) { return stream.endm(); }

}  // namespace KzUtil
