// The error logger: header layouts of Log and of the log statement, the level
// filter, the options and verbosities, log files and the file-name assertion.
#include "ErrorLogger.h"

#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <ctime>
#include <regex>
#include <sstream>
#include <tuple>

#include "KzTestSupport.h"
#include "TimeConvert.h"

using KzUtil::ErrorLogger;
using L = KzUtil::ErrorLogger;  // keeps the tables narrow

namespace {

unsigned int GPSNow() { return KzUtil::TimeConvert::GetGPSTimeFromUnixTime(time(nullptr)); }

// Runs body in a child that succeeds and writes nothing on stdout; returns its
// stderr, where the default log stream goes.
std::string ClogOfChild(const std::function<void()>& body) {
  const KzTest::ChildResult child = KzTest::RunInChild(body);
  EXPECT_EQ(child.fExitCode, 0) << child.fStdout;
  EXPECT_EQ(child.fStdout, "");
  return child.fStderr;
}

// Every case starts from the logger's defaults, writing into fOut.
class ErrorLoggerOutput : public ::testing::Test {
 protected:
  void SetUp() override { Reset(&fOut); }
  void TearDown() override { Reset(nullptr); }
  // The defaults, but with the option bits given set and fOut emptied.
  void Reset(std::ostream* stream, int options = 0) {
    fOut.str("");
    fLogger.SetStream(stream);
    fLogger.SetLoggingLevel(L::eInfo, true);
    fLogger.SetVerbosity(L::eTerse);
    for (int bit = L::eShowSeverity; bit <= L::eShowFuncName; bit <<= 1)
      fLogger.SetOption(static_cast<L::ELoggingOption>(bit), options & bit);
  }

  ErrorLogger& fLogger = ErrorLogger::GetInstance();
  std::ostringstream fOut;  // everything the logger wrote
};

int gFormatted = 0;
int CountFormatting() { return ++gFormatted; }

}  // namespace

TEST(ErrorLoggerDefaults, InfoIsBareTextOnTheLogStreamAndDebugIsOff) {
  EXPECT_EQ(ClogOfChild([] {
              ErrorLogger::GetInstance().Log(L::eDebug, "f", "a.cc", 7, "hidden");
              ErrorLogger::GetInstance().Log(L::eInfo, "f", "a.cc", 7, "m");
            }),
            "m\n");
}

TEST_F(ErrorLoggerOutput, LogHeaderFollowsOptionsAndVerbosity) {
  const std::tuple<int, L::EVerbosityLevel, const char*> kCases[] = {
      {0, L::eTerse, "m\n"},
      {L::eShowSeverity, L::eTerse, "ERR:m\n"},
      {L::eShowFilename, L::eTerse, "a.cc:m\n"},
      {L::eShowLineNumber, L::eTerse, "7: m\n"},
      {L::eShowFuncName, L::eTerse, "f() - m\n"},
      {L::eShowSeverity | L::eShowFilename | L::eShowLineNumber | L::eShowFuncName, L::eTerse,
       "ERR:a.cc:7: f() - m\n"},
      {L::eShowUnixTime | L::eShowClassName, L::eTerse, "m\n"},
      {0, L::eVerbose, "a.cc:7: m\n"},
      {L::eShowFuncName, L::eVerbose, "a.cc:7: f() - m\n"},
      {L::eShowSeverity | L::eShowFilename | L::eShowLineNumber, L::eVerbose, "ERR:a.cc:7: m\n"},
  };
  for (const auto& [options, verbosity, line] : kCases) {
    SCOPED_TRACE(line);
    Reset(&fOut, options);
    fLogger.Log(L::eError, "f", "a.cc", 7, "m", verbosity);
    EXPECT_EQ(fOut.str(), line);
  }
}

// eVerbose switches function names on for good; eDefaultVerbosity changes nothing.
TEST_F(ErrorLoggerOutput, LoggerVerbosityAppliesUnlessTheCallNamesOne) {
  fLogger.SetVerbosity(L::eVerbose);
  fLogger.SetVerbosity(L::eDefaultVerbosity);
  fLogger.Log(L::eInfo, "f", "a.cc", 7, "m");
  fLogger.Log(L::eInfo, "f", "a.cc", 7, "m", L::eTerse);
  fLogger.SetVerbosity(L::eTerse);
  std::ostringstream message;
  message << "value " << 42;
  fLogger.Log(L::eInfo, "f", "a.cc", 7, message);  // the string-stream overload
  EXPECT_EQ(fOut.str(), "a.cc:7: f() - m\nf() - m\nf() - value 42\n");
}

TEST_F(ErrorLoggerOutput, GPSTimeFollowsTheTagInLogAndInStatements) {
  Reset(&fOut, L::eShowSeverity | L::eShowGPSTime | L::eShowLineNumber | L::eShowFuncName);
  fLogger.SetLoggingLevel(L::eDebug, true);
  const unsigned int before = GPSNow();
  fLogger.Log(L::eWarning, "Open", "x.cc", 42, "x");
  fLogger.SetOption(L::eShowSeverity, false);
  KZ_LOG(L::eError, "plain");
  const int line = __LINE__ + 1;
  KZ_LOG(L::eDebug, "debug");
  const unsigned int after = GPSNow();
  const std::string text = fOut.str();
  std::smatch parts;
  ASSERT_TRUE(std::regex_match(text, parts,
                               std::regex("WRN:(.{10}): 42: Open\\(\\) - x\n(.{10}): plain\n"
                                          "DBG:(.{10}): ErrorLoggerTest\\.cc:" +
                                          std::to_string(line) + ": debug\n")))
      << text;
  for (int i = 1; i <= 3; ++i) {
    EXPECT_GE(std::stoul(parts[i]), before) << parts[i];
    EXPECT_LE(std::stoul(parts[i]), after) << parts[i];
  }
}

TEST_F(ErrorLoggerOutput, StatementTagNeedsTheSeverityOptionExceptForDebug) {
  fLogger.SetLoggingLevel(L::eDebug, true);
  const int line = __LINE__ + 1;
  KZ_LOG(L::eDebug, "Reader::Open() - " << 3 << " files");
  KZ_LOG(L::eWarning, "Reader::Open() - " << 3 << " files");
  fLogger.SetOption(L::eShowSeverity, true);
  KZ_LOG(L::eFatal, "m");
  KZ_LOG(static_cast<L::ESeverityLevel>(9), "m");
  EXPECT_EQ(fOut.str(), "DBG:ErrorLoggerTest.cc:" + std::to_string(line) +
                            ": Reader::Open() - 3 files\nReader::Open() - 3 files\nFAT:m\n???:m\n");
}

TEST_F(ErrorLoggerOutput, BelowTheLevelNothingIsFormattedOrWritten) {
  fLogger.SetLoggingLevel(L::eWarning, true);
  gFormatted = 0;
  KZ_LOG(L::eDebug, "a " << CountFormatting());
  KZ_LOG(L::eInfo, "b " << CountFormatting());
  KZ_LOG(L::eWarning, "c " << CountFormatting());
  fLogger.Log(L::eInfo, "f", "a.cc", 7, "d");
  fLogger.Log(L::eFatal, "f", "a.cc", 7, "e");
  std::ostream& suppressed = fLogger.GetStream(L::eInfo);
  suppressed << "nowhere" << std::endl;
  EXPECT_TRUE(suppressed.good());
  EXPECT_EQ(gFormatted, 1);
  EXPECT_EQ(fOut.str(), "c 1\ne\n");
  EXPECT_EQ(&fLogger.GetStream(L::eWarning), &fOut);
  fLogger.SetStream(nullptr);
  EXPECT_EQ(&fLogger.GetStream(L::eWarning), &std::clog);
}

TEST_F(ErrorLoggerOutput, SetLoggingLevelWarnsAgainstTheOldLevel) {
  fLogger.SetLoggingLevel(L::eError, false);
  fLogger.SetLoggingLevel(L::eInfo, false);  // judged against eError: silent
  fLogger.SetOption(L::eShowSeverity, true);
  fLogger.SetLoggingLevel(L::eDebug, false);
  fLogger.SetLoggingLevel(static_cast<L::ESeverityLevel>(42), false);
  fLogger.SetLoggingLevel(L::eInfo, true);
  EXPECT_EQ(fOut.str(),
            "ErrorLogger::SetLoggingLevel(2=Error ) - ...\n"
            "WRN:ErrorLogger::SetLoggingLevel(-1=Debug ) - ...\n"
            "WRN:ErrorLogger::SetLoggingLevel(42=Unknown ) - ...\n");
  EXPECT_EQ(fLogger.GetLoggingLevel(), L::eInfo);
}

TEST_F(ErrorLoggerOutput, GPSTimeOptionExcludesUnixTimeWhicheverComesLast) {
  fLogger.SetOption(L::eShowUnixTime, true);
  fLogger.SetOption(L::eShowGPSTime, true);   // clears the Unix time
  fLogger.SetOption(L::eShowUnixTime, true);  // refused while the GPS time is on
  EXPECT_FALSE(fLogger.IsOptionSet(L::eShowUnixTime));
  EXPECT_TRUE(fLogger.IsOptionSet(L::eShowGPSTime));
}

TEST(ErrorLoggerNames, SeverityNamesAndUnknownValues) {
  const std::tuple<int, const char*, const char*> kNames[] = {
      {-1, "Debug", "DBG"},       {0, "Info", "INF"},     {1, "Warning", "WRN"},
      {2, "Error", "ERR"},        {3, "Critical", "CRI"}, {4, "Severe", "SEV"},
      {5, "Fatal", "FAT"},        {6, "Unknown", "???"},  {-2, "Unknown", "???"},
      {INT_MIN, "Unknown", "???"}};
  for (const auto& [level, name, tag] : kNames) {
    EXPECT_EQ(L::GetVerboseSeverity(static_cast<L::ESeverityLevel>(level)), name) << level;
    EXPECT_EQ(L::GetVerboseSeverityShort(static_cast<L::ESeverityLevel>(level)), tag) << level;
  }
}

TEST(ErrorLoggerNames, ASCIIFromIntPadsButNeverCuts) {
  EXPECT_EQ(L::GetASCIIFromInt(4294967295u, 12), "  4294967295");
  EXPECT_EQ(L::GetASCIIFromInt(123456, 3), "123456");
  EXPECT_EQ(L::GetASCIIFromInt(7, -3), "7");
}

// Both overloads; the second file closes the first, and each starts empty.
TEST_F(ErrorLoggerOutput, SetFileTruncatesAndTakesEveryLineUntilTheNext) {
  KzTest::TempDir dir;
  const std::string first = dir.Write("first.log", "old content\n");
  const std::string second = dir.Path() + "/second.log";
  fLogger.SetOption(L::eShowSeverity, true);
  fLogger.SetFile(first.c_str());
  KZ_LOG(L::eWarning, "Daq::Run() - " << 12 << " events");
  fLogger.Log(L::eError, "Run", "daq.cc", 3, "stopped");
  fLogger.SetFile(second);
  KZ_LOG(L::eInfo, "two");
  EXPECT_EQ(KzTest::ReadFile(first), "WRN:Daq::Run() - 12 events\nERR:stopped\n");
  EXPECT_EQ(KzTest::ReadFile(second), "INF:two\n");
  EXPECT_EQ(fOut.str(), "");
}

TEST(ErrorLoggerFile, UnwritablePathFallsBackToTheLogStreamSilently) {
  KzTest::TempDir dir;
  const std::string path = dir.Path() + "/no-such-directory/run.log";
  EXPECT_EQ(ClogOfChild([&] {
              std::ostringstream previous;
              ErrorLogger::GetInstance().SetStream(&previous);
              ErrorLogger::GetInstance().SetFile(path);
              KZ_LOG(L::eError, "Daq::Run() - still heard");
              EXPECT_EQ(previous.str(), "");
            }),
            "Daq::Run() - still heard\n");
  EXPECT_EQ(KzTest::ReadFile(path), "");
}

TEST(ErrorLoggerFile, NullOrEmptyNameStopsOnTheAssertion) {
  const std::function<void()> kCalls[] = {
      [] { ErrorLogger::GetInstance().SetFile(static_cast<const char*>(nullptr)); },
      [] { ErrorLogger::GetInstance().SetFile(""); },
      [] { ErrorLogger::GetInstance().SetFile(std::string()); }};
  for (const auto& call : kCalls) {
    const KzTest::ChildResult child = KzTest::RunInChild(call);
    EXPECT_EQ(child.fSignal, SIGABRT);
    EXPECT_EQ(child.fStderr,
              "ErrorLoggerTest: ErrorLogger.cc:200: void KzUtil::ErrorLogger::SetFile(const "
              "char*): Assertion `filename != __null && *filename != 0' failed.\n");
  }
}
