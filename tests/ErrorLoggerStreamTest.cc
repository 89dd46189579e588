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

std::string StdoutOfChild(const std::function<void()>& body) {
  const KzTest::ChildResult child = KzTest::RunInChild(body);
  EXPECT_EQ(child.fExitCode, 0) << child.fStderr;
  return child.fStdout;
}

// The stamped lines of print level 1 ("<time>: <severity>: '<text>'"), with the
// time checked against the window the child ran in.
std::string WithoutTimes(const std::string& output, time_t before, time_t after) {
  std::string rest;
  const std::regex stamped("( *)([0-9]+): (.*)");
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    std::smatch parts;
    if (!std::regex_match(line, parts, stamped)) {
      rest += line + "\n";
      continue;
    }
    EXPECT_GE(parts[1].length() + parts[2].length(), 9u) << line;
    EXPECT_GE(std::stol(parts[2]), before) << line;
    EXPECT_LE(std::stol(parts[2]), after) << line;
    rest += "T: " + parts[3].str() + "\n";
  }
  return rest;
}

}  // namespace

TEST(ErrorLoggerStream, EachMessageBecomesOneLine) {
  EXPECT_EQ(StdoutOfChild([] {
              ErrorLoggerStream& out = ErrorLoggerStream::GetInstance("daq");
              out.endm();
              out << "first " << 1;
              out.endm();
              out << "second" << KzUtil::endl;
            }),
            "\nfirst 1\nsecond\n");
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
              ErrorLoggerStream& out = ErrorLoggerStream::GetInstance("daq");
              insertAll(out);
              out.endm();
            }),
            reference.str() + "\n");
}

TEST(ErrorLoggerStream, FailedInsertionDoesNotSilenceTheNextMessage) {
  EXPECT_EQ(StdoutOfChild([] {
              ErrorLoggerStream& out = ErrorLoggerStream::GetInstance("daq");
              out << static_cast<const char*>(nullptr);
              out.endm();
              out << "next";
              out.endm();
            }),
            "\nnext\n");
}

TEST(ErrorLoggerStream, OneInstanceAndTheLastNameWins) {
  const time_t before = time(nullptr);
  const std::string output = StdoutOfChild([] {
    ErrorLoggerStream& first = ErrorLoggerStream::GetInstance("first");
    EXPECT_EQ(&first, &ErrorLoggerStream::GetInstance("second"));
    ErrorLoggerStream::SetPrintLevel(2);
    first.endm();
  });
  EXPECT_EQ(WithoutTimes(output, before, time(nullptr)),
            "Sending message with severity= 0 verbosity= 0 to stream 'second' !\n"
            "T: 0: ''\n");
}

TEST(ErrorLoggerStream, SeverityIsTracedAboveLevelOneButVerbosityAlways) {
  EXPECT_EQ(StdoutOfChild([] {
              ErrorLoggerStream& out = ErrorLoggerStream::GetInstance("daq");
              out << ErrorLogger::eError << ErrorLogger::eVerbose;
              ErrorLoggerStream::SetPrintLevel(2);
              out << ErrorLogger::eCritical;
            }),
            "ErrorLoggerStream::operator<<(EVerbosityLevel= 1) ... \n"
            "ErrorLoggerStream::operator<<(ESeverityLevel= 3) ... \n");
}

TEST(ErrorLoggerStream, PrintLevelOneStampsLinesWithTimeAndKeptSeverity) {
  const time_t before = time(nullptr);
  const std::string output = StdoutOfChild([] {
    ErrorLoggerStream::SetPrintLevel(1);
    ErrorLoggerStream& out = ErrorLoggerStream::GetInstance("daq");
    out.endm();
    out << ErrorLogger::eError << "a";
    out.endm();
    out << "b";
    out.endm();
  });
  EXPECT_EQ(WithoutTimes(output, before, time(nullptr)), "T: 0: ''\nT: 2: 'a'\nT: 2: 'b'\n");
}

TEST(ErrorLoggerStream, PrintLevelTwoTracesConstructionAndSending) {
  const time_t before = time(nullptr);
  const std::string output = StdoutOfChild([] {
    ErrorLoggerStream::SetPrintLevel(2);
    ErrorLoggerStream& out = ErrorLoggerStream::GetInstance("daq");
    out << ErrorLogger::eWarning << "m";
    out.endm();
  });
  EXPECT_EQ(WithoutTimes(output, before, time(nullptr)),
            "ErrorLoggerStream::ErrorLoggerStream() - source= ...\n"
            "ErrorLoggerStream::operator<<(ESeverityLevel= 1) ... \n"
            "Sending message with severity= 1 verbosity= 0 to stream 'daq' !\n"
            "T: 1: 'm'\n");
}

TEST(ErrorLoggerStream, LoggerHandsItsLinesToTheStream) {
  const time_t before = time(nullptr);
  const std::string output = StdoutOfChild([] {
    ErrorLogger& logger = ErrorLogger::GetInstance();
    logger.SetStream(&ErrorLoggerStream::GetInstance("logger"));
    logger.SetOption(ErrorLogger::eShowSeverity, true);
    logger.Log(ErrorLogger::eError, "Run", "daq.cc", 3, "stopped");
    ErrorLoggerStream::SetPrintLevel(1);
    logger.Log(ErrorLogger::eWarning, "Run", "daq.cc", 4, "slow", ErrorLogger::eVerbose);
    logger.SetStream(nullptr);
  });
  EXPECT_EQ(WithoutTimes(output, before, time(nullptr)),
            "ERR:stopped\nT: 0: 'WRN:daq.cc:4: slow'\n");
}
