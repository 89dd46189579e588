// The frame's typical run: configure the logger, log at every severity,
// convert a few times and print the leap-second table.
#include <iostream>

#include "ErrorLogger.h"
#include "TimeConvert.h"

using namespace KzUtil;

int main() {
  ErrorLogger& logger = ErrorLogger::GetInstance();
  logger.SetStream(&std::cout);
  logger.SetOption(ErrorLogger::eShowSeverity, true);
  logger.SetOption(ErrorLogger::eShowGPSTime, true);
  logger.SetLoggingLevel(ErrorLogger::eDebug);

  KZ_LOG(ErrorLogger::eDebug, "frame_example - debug lines carry their source file and line");
  KZ_LOG(ErrorLogger::eInfo, "frame_example - information");
  KZ_LOG(ErrorLogger::eWarning, "frame_example - a warning");
  KZ_LOG(ErrorLogger::eError, "frame_example - an error");
  KZ_LOG(ErrorLogger::eCritical, "frame_example - a critical condition");
  KZ_LOG(ErrorLogger::eSevere, "frame_example - a severe condition");
  KZ_LOG(ErrorLogger::eFatal,
         "frame_example - a fatal condition (the logger never ends the program)");

  // Around the leap second at the end of 2012-06-30: GPS counts it, Unix time does not.
  for (unsigned int gps : {1025136014u, 1025136015u, 1025136016u})
    std::cout << "GPS " << gps << " -> Unix " << TimeConvert::GetUnixTimeFromGPSTime(gps) << " ("
              << TimeConvert::GetTimeStringFromGPSTime(gps, "%Y-%m-%d %H:%M:%S") << " UTC)"
              << std::endl;
  for (unsigned int unixTime : {1341100798u, 1341100801u, 1700000000u})
    std::cout << "Unix " << unixTime << " -> GPS " << TimeConvert::GetGPSTimeFromUnixTime(unixTime)
              << " (" << TimeConvert::GetTimeStringFromUnixTime(unixTime, "") << ")" << std::endl;
  TimeConvert::PrintLeapSecondTable(std::cout);
  return 0;
}
