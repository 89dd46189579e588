// Uses the installed headers by bare name and the installed library: one log
// line and one leap second. The test compares the output byte for byte.
#include <iostream>

#include "ErrorLogger.h"
#include "KzUtilVersion.h"
#include "TimeConvert.h"

int main() {
  KzUtil::ErrorLogger& logger = KzUtil::ErrorLogger::GetInstance();
  logger.SetStream(&std::cout);
  logger.SetOption(KzUtil::ErrorLogger::eShowSeverity, true);
  KZ_LOG(KzUtil::ErrorLogger::eWarning, "consumer - KzUtil " << KzUtil::kKzUtilVersionString);
  std::cout << KzUtil::TimeConvert::GetTimeStringFromGPSTime(1025136015, "%Y-%m-%d %H:%M:%S")
            << std::endl;
  return 0;
}
