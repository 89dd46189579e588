// The logger stream: one collected message per line on standard output, its
// print-level traces and stamps, and its use as the error logger's stream.
// Every case runs in a child, which builds the one instance afresh.
#include "ErrorLoggerStream.h"

#include <gtest/gtest.h>

#include <ctime>
#include <regex>
#include <sstream>

#include "KzTestSupport.h"

using KzUtil::ErrorLogger;
using KzUtil::ErrorLoggerStream;

namespace {

const int gPointee = 7;  // has the same address in parent and child

// The child's stdout, with the Unix time that starts each stamped line of print
// level 1 ("<time>: <severity>: '<text>'") checked against the child's run and
// replaced by "T".
std::string StdoutOfChild(const std::function<void()>& body) {
  const time_t before = time(nullptr);
  const KzTest::ChildResult child = KzTest::RunInChild(body);
  const time_t after = time(nullptr);
  EXPECT_EQ(child.fExitCode, 0) << child.fStderr;
  const std::regex stamp("^ *([0-9]+): ", std::regex::multiline);
  const std::string& out = child.fStdout;
  for (std::sregex_iterator it(out.begin(), out.end(), stamp), end; it != end; ++it) {
    EXPECT_GE(std::stol((*it)[1]), before) << it->str();
    EXPECT_LE(std::stol((*it)[1]), after) << it->str();
  }
  return std::regex_replace(out, stamp, "T: ");
}

}  // namespace

TEST(ErrorLoggerStream, EachMessageBecomesOneLineAndAFailedInsertionSpoilsOnlyItsOwn) {
  EXPECT_EQ(StdoutOfChild([] {
              ErrorLoggerStream& out = ErrorLoggerStream::GetInstance("daq");
              out.endm();
              out << "first " << 1;
              out.endm();
              out << static_cast<const char*>(nullptr);
              out.endm();
              out << "next" << KzUtil::endl;
            }),
            "\nfirst 1\n\nnext\n");
}

TEST(ErrorLoggerStream, TextAndNumbersAreFormattedAsByAnyOutputStream) {
  const auto insertAll = [](auto& stream) {
    stream << "s" << ' ' << std::string("str") << ' ' << static_cast<short>(-3) << ' ' << -7L << ' '
           << 18446744073709551615ULL << ' ' << 4294967295u << ' ' << 2.5 << ' ' << 1e-7f << ' '
           << static_cast<const void*>(&gPointee);
  };
  std::ostringstream reference;
  insertAll(reference);
  EXPECT_EQ(StdoutOfChild([&] {
              insertAll(ErrorLoggerStream::GetInstance("daq"));
              ErrorLoggerStream::GetInstance("daq").endm();
            }),
            reference.str() + "\n");
}

TEST(ErrorLoggerStream, PrintLevelOneStampsLinesWithTimeAndKeptSeverity) {
  EXPECT_EQ(StdoutOfChild([] {
              ErrorLoggerStream::SetPrintLevel(1);
              ErrorLoggerStream& out = ErrorLoggerStream::GetInstance("daq");
              out.endm();
              out << ErrorLogger::eError << "a";
              out.endm();
              out << "b";
              out.endm();
            }),
            "T: 0: ''\nT: 2: 'a'\nT: 2: 'b'\n");
}

// A verbosity is traced at every print level, a severity only above 1. There is
// one instance, and the name of the last GetInstance is the one reported.
TEST(ErrorLoggerStream, PrintLevelTwoTracesConstructionSeverityAndSending) {
  EXPECT_EQ(StdoutOfChild([] {
              ErrorLoggerStream::SetPrintLevel(2);
              ErrorLoggerStream& out = ErrorLoggerStream::GetInstance("first");
              ErrorLoggerStream::SetPrintLevel(0);
              out << ErrorLogger::eError << ErrorLogger::eVerbose;
              ErrorLoggerStream::SetPrintLevel(2);
              EXPECT_EQ(&out, &ErrorLoggerStream::GetInstance("daq"));
              out << ErrorLogger::eWarning << "m";
              out.endm();
            }),
            "ErrorLoggerStream::ErrorLoggerStream() - source= ...\n"
            "ErrorLoggerStream::operator<<(EVerbosityLevel= 1) ... \n"
            "ErrorLoggerStream::operator<<(ESeverityLevel= 1) ... \n"
            "Sending message with severity= 1 verbosity= 1 to stream 'daq' !\n"
            "T: 1: 'm'\n");
}

TEST(ErrorLoggerStream, LoggerHandsItsLinesToTheStream) {
  EXPECT_EQ(StdoutOfChild([] {
              ErrorLogger& logger = ErrorLogger::GetInstance();
              logger.SetStream(&ErrorLoggerStream::GetInstance("logger"));
              logger.SetOption(ErrorLogger::eShowSeverity, true);
              logger.Log(ErrorLogger::eError, "Run", "daq.cc", 3, "stopped");
              ErrorLoggerStream::SetPrintLevel(1);
              logger.Log(ErrorLogger::eWarning, "Run", "daq.cc", 4, "slow", ErrorLogger::eVerbose);
              logger.SetStream(nullptr);
            }),
            "ERR:stopped\nT: 0: 'WRN:daq.cc:4: slow'\n");
}
