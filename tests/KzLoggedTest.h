// Shared by the geometry and leap-second suites: a fixture that collects the library's
// log with every level passing, what a call throws, and the site file shipped in etc/.
//   using MySuite = KzTest::LoggedTest;  ...  EXPECT_EQ(TakeLog(), "...\n");
#ifndef KZUTIL_TESTS_KZLOGGEDTEST_H
#define KZUTIL_TESTS_KZLOGGEDTEST_H

#include <cstdlib>
#include <functional>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "ErrorLogger.h"

namespace KzTest {

class LoggedTest : public ::testing::Test {
 protected:
  void SetUp() override {
    KzUtil::ErrorLogger::GetInstance().SetLoggingLevel(KzUtil::ErrorLogger::eDebug, true);
    KzUtil::ErrorLogger::GetInstance().SetStream(&fLog);
  }
  // Exit handlers may still log after the test: never into this object.
  void TearDown() override { KzUtil::ErrorLogger::GetInstance().SetStream(&std::clog); }
  // The log since the last call.
  std::string TakeLog() {
    const std::string log = fLog.str();
    fLog.str("");
    return log;
  }

  std::ostringstream fLog;
};

// What body throws, as "kind: text".
inline std::string Thrown(const std::function<void()>& body) {
  try {
    body();
  } catch (const std::range_error& e) {
    return std::string("range_error: ") + e.what();
  } catch (const std::invalid_argument& e) {
    return std::string("invalid_argument: ") + e.what();
  } catch (const std::logic_error& e) {
    return std::string("logic_error: ") + e.what();
  }
  return "nothing thrown";
}

// ctest passes the source tree in KZUTIL_SOURCE_DIR; run by hand, this header's place tells.
inline std::string ShippedSiteFile() {
  const char* dir = getenv("KZUTIL_SOURCE_DIR");
  const std::string here = __FILE__;
  return (dir && *dir ? std::string(dir) : here.substr(0, here.rfind("/tests/"))) +
         "/etc/KzSite.ini";
}

}  // namespace KzTest

#endif
