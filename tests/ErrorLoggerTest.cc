// The error logger: header layouts of Log and of the log statement, the level
// filter, the options and verbosities, log files and the file-name assertion.
#include "ErrorLogger.h"

#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <ctime>
#include <iostream>
#include <regex>
#include <sstream>

#include "KzTestSupport.h"
#include "TimeConvert.h"

using KzUtil::ErrorLogger;
using KzUtil::TimeConvert;

namespace {

constexpr ErrorLogger::ELoggingOption kAllOptions[] = {
    ErrorLogger::eShowSeverity, ErrorLogger::eShowGPSTime,    ErrorLogger::eShowUnixTime,
    ErrorLogger::eShowFilename, ErrorLogger::eShowLineNumber, ErrorLogger::eShowClassName,
    ErrorLogger::eShowFuncName};

unsigned int GPSNow() { return TimeConvert::GetGPSTimeFromUnixTime(time(nullptr)); }

// Checks a GPS time field: ten characters, blank-padded, a time from [before, after].
void ExpectGPSField(const std::string& field, unsigned int before, unsigned int after) {
  EXPECT_EQ(field.size(), 10u) << "'" << field << "'";
  const unsigned long value = std::stoul(field);
  EXPECT_GE(value, before);
  EXPECT_LE(value, after);
}

// Every case starts from the logger's defaults, writing into fOut.
class ErrorLoggerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Reset();
    fLogger.SetStream(&fOut);
  }
  void TearDown() override { Reset(); }
  void Reset() {
    fLogger.SetStream(&std::clog);
    fLogger.SetLoggingLevel(ErrorLogger::eInfo, true);
    fLogger.SetVerbosity(ErrorLogger::eTerse);
    for (ErrorLogger::ELoggingOption option : kAllOptions) fLogger.SetOption(option, false);
  }
  void Enable(int options) {
    for (ErrorLogger::ELoggingOption option : kAllOptions)
      if (options & option) fLogger.SetOption(option, true);
  }

  ErrorLogger& fLogger = ErrorLogger::GetInstance();
  std::ostringstream fOut;  // everything the logger wrote
};

int gFormatted = 0;
int CountFormatting() { return ++gFormatted; }

}  // namespace

TEST(ErrorLoggerDefaults, InfoIsBareTextOnTheLogStreamAndDebugIsOff) {
  const KzTest::ChildResult child = KzTest::RunInChild([] {
    ErrorLogger& logger = ErrorLogger::GetInstance();
    EXPECT_EQ(logger.GetLoggingLevel(), ErrorLogger::eInfo);
    EXPECT_EQ(logger.GetVerbosity(), ErrorLogger::eTerse);
    for (ErrorLogger::ELoggingOption option : kAllOptions) EXPECT_FALSE(logger.IsOptionSet(option));
    logger.Log(ErrorLogger::eDebug, "f", "a.cc", 7, "hidden");
    logger.Log(ErrorLogger::eInfo, "f", "a.cc", 7, "m");
  });
  EXPECT_EQ(child.fExitCode, 0) << child.fStdout;
  EXPECT_EQ(child.fStderr, "m\n");
  EXPECT_EQ(child.fStdout, "");
}

TEST_F(ErrorLoggerTest, LogHeaderFollowsOptionsAndVerbosity) {
  using L = ErrorLogger;
  const struct {
    int fOptions;
    L::EVerbosityLevel fVerbosity;
    const char* fLine;
  } kCases[] = {
      {0, L::eTerse, "m\n"},
      {L::eShowSeverity, L::eTerse, "ERR:m\n"},
      {L::eShowFilename, L::eTerse, "a.cc:m\n"},
      {L::eShowLineNumber, L::eTerse, "7: m\n"},
      {L::eShowFuncName, L::eTerse, "f() - m\n"},
      {L::eShowSeverity | L::eShowFilename, L::eTerse, "ERR:a.cc:m\n"},
      {L::eShowFilename | L::eShowFuncName, L::eTerse, "a.cc:f() - m\n"},
      {L::eShowSeverity | L::eShowFilename | L::eShowLineNumber | L::eShowFuncName, L::eTerse,
       "ERR:a.cc:7: f() - m\n"},
      {L::eShowUnixTime | L::eShowClassName, L::eTerse, "m\n"},
      {0, L::eVerbose, "a.cc:7: m\n"},
      {L::eShowFuncName, L::eVerbose, "a.cc:7: f() - m\n"},
      {L::eShowSeverity | L::eShowFilename | L::eShowLineNumber, L::eVerbose, "ERR:a.cc:7: m\n"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.fLine);
    Reset();
    fLogger.SetStream(&fOut);
    fOut.str("");
    Enable(c.fOptions);
    fLogger.Log(ErrorLogger::eError, "f", "a.cc", 7, "m", c.fVerbosity);
    EXPECT_EQ(fOut.str(), c.fLine);
  }
}

TEST_F(ErrorLoggerTest, LoggerVerbosityAppliesUnlessTheCallNamesOne) {
  fLogger.SetVerbosity(ErrorLogger::eVerbose);
  fLogger.Log(ErrorLogger::eInfo, "f", "a.cc", 7, "m");
  fLogger.Log(ErrorLogger::eInfo, "f", "a.cc", 7, "m", ErrorLogger::eTerse);
  EXPECT_EQ(fOut.str(), "a.cc:7: f() - m\nf() - m\n");
}

TEST_F(ErrorLoggerTest, StringStreamMessageIsLoggedLikeItsText) {
  Enable(ErrorLogger::eShowSeverity);
  std::ostringstream message;
  message << "value " << 42;
  fLogger.Log(ErrorLogger::eCritical, "f", "a.cc", 7, message);
  EXPECT_EQ(fOut.str(), "CRI:value 42\n");
}

TEST_F(ErrorLoggerTest, LogHeaderWithGPSTime) {
  Enable(ErrorLogger::eShowSeverity | ErrorLogger::eShowGPSTime | ErrorLogger::eShowLineNumber |
         ErrorLogger::eShowFuncName);
  const unsigned int before = GPSNow();
  fLogger.Log(ErrorLogger::eWarning, "Open", "x.cc", 42, "x");
  const unsigned int after = GPSNow();
  std::smatch parts;
  const std::string line = fOut.str();
  ASSERT_TRUE(std::regex_match(line, parts, std::regex("WRN:(.{10}): 42: Open\\(\\) - x\n")))
      << line;
  ExpectGPSField(parts[1], before, after);
}

TEST_F(ErrorLoggerTest, StatementAddsTagsOnlyWithSeverityOption) {
  KZ_LOG(ErrorLogger::eWarning, "Reader::Open() - " << 3 << " files");
  Enable(ErrorLogger::eShowSeverity);
  const std::pair<ErrorLogger::ESeverityLevel, const char*> kTags[] = {
      {ErrorLogger::eInfo, "INF:"},
      {ErrorLogger::eWarning, "WRN:"},
      {ErrorLogger::eError, "ERR:"},
      {ErrorLogger::eCritical, "CRI:"},
      {ErrorLogger::eSevere, "SEV:"},
      {ErrorLogger::eFatal, "FAT:"},
      {static_cast<ErrorLogger::ESeverityLevel>(9), "???:"}};
  std::string expected = "Reader::Open() - 3 files\n";
  for (const auto& [severity, tag] : kTags) {
    KZ_LOG(severity, "m");
    expected += std::string(tag) + "m\n";
  }
  EXPECT_EQ(fOut.str(), expected);
}

TEST_F(ErrorLoggerTest, DebugStatementCarriesBaseNameAndLineWithoutSeverityOption) {
  fLogger.SetLoggingLevel(ErrorLogger::eDebug, true);
  const int line = __LINE__ + 1;
  KZ_LOG(ErrorLogger::eDebug, "Reader::Open() - " << 3 << " files");
  EXPECT_EQ(fOut.str(),
            "DBG:ErrorLoggerTest.cc:" + std::to_string(line) + ": Reader::Open() - 3 files\n");
}

TEST_F(ErrorLoggerTest, StatementWithGPSTime) {
  fLogger.SetLoggingLevel(ErrorLogger::eDebug, true);
  Enable(ErrorLogger::eShowGPSTime);
  const unsigned int before = GPSNow();
  KZ_LOG(ErrorLogger::eError, "plain");
  const int line = __LINE__ + 1;
  KZ_LOG(ErrorLogger::eDebug, "debug");
  const unsigned int after = GPSNow();
  std::smatch parts;
  const std::string text = fOut.str();
  ASSERT_TRUE(std::regex_match(text, parts,
                               std::regex("(.{10}): plain\nDBG:(.{10}): ErrorLoggerTest.cc:" +
                                          std::to_string(line) + ": debug\n")))
      << text;
  ExpectGPSField(parts[1], before, after);
  ExpectGPSField(parts[2], before, after);
}

TEST_F(ErrorLoggerTest, StatementsBelowTheLevelAreNeitherFormattedNorWritten) {
  fLogger.SetLoggingLevel(ErrorLogger::eWarning, true);
  gFormatted = 0;
  KZ_LOG(ErrorLogger::eDebug, "a " << CountFormatting());
  KZ_LOG(ErrorLogger::eInfo, "b " << CountFormatting());
  KZ_LOG(ErrorLogger::eWarning, "c " << CountFormatting());
  fLogger.Log(ErrorLogger::eInfo, "f", "a.cc", 7, "d");
  fLogger.Log(ErrorLogger::eFatal, "f", "a.cc", 7, "e");
  EXPECT_EQ(gFormatted, 1);
  EXPECT_EQ(fOut.str(), "c 1\ne\n");
}

TEST_F(ErrorLoggerTest, GetStreamGivesTheNullStreamBelowTheLevel) {
  fLogger.SetLoggingLevel(ErrorLogger::eError, true);
  std::ostream& suppressed = fLogger.GetStream(ErrorLogger::eWarning);
  EXPECT_NE(&suppressed, &fOut);
  suppressed << "nowhere" << std::endl;
  EXPECT_TRUE(suppressed.good());
  EXPECT_EQ(&fLogger.GetStream(ErrorLogger::eError), &fOut);
  EXPECT_EQ(fOut.str(), "");
  fLogger.SetStream(nullptr);
  EXPECT_EQ(&fLogger.GetStream(ErrorLogger::eError), &std::clog);
}

TEST_F(ErrorLoggerTest, SetLoggingLevelWarnsAgainstTheOldLevel) {
  fLogger.SetLoggingLevel(ErrorLogger::eError, false);
  EXPECT_EQ(fLogger.GetLoggingLevel(), ErrorLogger::eError);
  fLogger.SetLoggingLevel(ErrorLogger::eInfo, false);  // judged against eError: silent
  Enable(ErrorLogger::eShowSeverity);
  fLogger.SetLoggingLevel(ErrorLogger::eDebug, false);
  fLogger.SetLoggingLevel(static_cast<ErrorLogger::ESeverityLevel>(42), false);
  fLogger.SetLoggingLevel(ErrorLogger::eInfo, true);
  EXPECT_EQ(fOut.str(),
            "ErrorLogger::SetLoggingLevel(2=Error ) - ...\n"
            "WRN:ErrorLogger::SetLoggingLevel(-1=Debug ) - ...\n"
            "WRN:ErrorLogger::SetLoggingLevel(42=Unknown ) - ...\n");
  EXPECT_EQ(fLogger.GetLoggingLevel(), ErrorLogger::eInfo);
}

TEST_F(ErrorLoggerTest, GPSTimeOptionExcludesUnixTimeWhicheverComesLast) {
  fLogger.SetOption(ErrorLogger::eShowUnixTime, true);
  EXPECT_TRUE(fLogger.IsOptionSet(ErrorLogger::eShowUnixTime));
  fLogger.SetOption(ErrorLogger::eShowGPSTime, true);
  EXPECT_FALSE(fLogger.IsOptionSet(ErrorLogger::eShowUnixTime));
  fLogger.SetOption(ErrorLogger::eShowUnixTime, true);
  EXPECT_FALSE(fLogger.IsOptionSet(ErrorLogger::eShowUnixTime));
  EXPECT_TRUE(fLogger.IsOptionSet(ErrorLogger::eShowGPSTime));
  fLogger.SetOption(ErrorLogger::eShowGPSTime, false);
  EXPECT_FALSE(fLogger.IsOptionSet(ErrorLogger::eShowGPSTime));
}

TEST_F(ErrorLoggerTest, VerboseSwitchesFunctionNamesOnForGood) {
  fLogger.SetVerbosity(ErrorLogger::eVerbose);
  EXPECT_TRUE(fLogger.IsOptionSet(ErrorLogger::eShowFuncName));
  fLogger.SetVerbosity(ErrorLogger::eDefaultVerbosity);
  EXPECT_EQ(fLogger.GetVerbosity(), ErrorLogger::eVerbose);
  fLogger.SetVerbosity(ErrorLogger::eTerse);
  EXPECT_EQ(fLogger.GetVerbosity(), ErrorLogger::eTerse);
  EXPECT_TRUE(fLogger.IsOptionSet(ErrorLogger::eShowFuncName));
}

TEST(ErrorLoggerNames, SeverityNamesAndUnknownValues) {
  const struct {
    int fLevel;
    const char* fLong;
    const char* fShort;
  } kNames[] = {{-1, "Debug", "DBG"},        {0, "Info", "INF"},         {1, "Warning", "WRN"},
                {2, "Error", "ERR"},         {3, "Critical", "CRI"},     {4, "Severe", "SEV"},
                {5, "Fatal", "FAT"},         {6, "Unknown", "???"},      {-2, "Unknown", "???"},
                {INT_MAX, "Unknown", "???"}, {INT_MIN, "Unknown", "???"}};
  for (const auto& n : kNames) {
    const auto level = static_cast<ErrorLogger::ESeverityLevel>(n.fLevel);
    EXPECT_EQ(ErrorLogger::GetVerboseSeverity(level), n.fLong) << n.fLevel;
    EXPECT_EQ(ErrorLogger::GetVerboseSeverityShort(level), n.fShort) << n.fLevel;
  }
}

TEST(ErrorLoggerNames, ASCIIFromIntPadsButNeverCuts) {
  EXPECT_EQ(ErrorLogger::GetASCIIFromInt(42, 5), "   42");
  EXPECT_EQ(ErrorLogger::GetASCIIFromInt(0, 1), "0");
  EXPECT_EQ(ErrorLogger::GetASCIIFromInt(0, 0), "0");
  EXPECT_EQ(ErrorLogger::GetASCIIFromInt(123456, 3), "123456");
  EXPECT_EQ(ErrorLogger::GetASCIIFromInt(4294967295u, 10), "4294967295");
  EXPECT_EQ(ErrorLogger::GetASCIIFromInt(4294967295u, 12), "  4294967295");
  EXPECT_EQ(ErrorLogger::GetASCIIFromInt(7, -3), "7");
}

TEST_F(ErrorLoggerTest, SetFileTruncatesAndTakesEveryLine) {
  KzTest::TempDir dir;
  const std::string path = dir.Write("run.log", "old content\n");
  Enable(ErrorLogger::eShowSeverity);
  fLogger.SetFile(path.c_str());
  KZ_LOG(ErrorLogger::eWarning, "Daq::Run() - " << 12 << " events");
  fLogger.Log(ErrorLogger::eError, "Run", "daq.cc", 3, "stopped");
  EXPECT_EQ(KzTest::ReadFile(path), "WRN:Daq::Run() - 12 events\nERR:stopped\n");
  EXPECT_EQ(fOut.str(), "");
}

TEST_F(ErrorLoggerTest, SetFileAgainClosesTheFirstFile) {
  KzTest::TempDir dir;
  const std::string first = dir.Path() + "/first.log", second = dir.Path() + "/second.log";
  fLogger.SetFile(first);
  KZ_LOG(ErrorLogger::eInfo, "one");
  fLogger.SetFile(second);
  KZ_LOG(ErrorLogger::eInfo, "two");
  EXPECT_EQ(KzTest::ReadFile(first), "one\n");
  EXPECT_EQ(KzTest::ReadFile(second), "two\n");
}

TEST(ErrorLoggerFile, UnwritablePathFallsBackToTheLogStreamSilently) {
  KzTest::TempDir dir;
  const std::string path = dir.Path() + "/no-such-directory/run.log";
  const KzTest::ChildResult child = KzTest::RunInChild([&] {
    std::ostringstream previous;
    ErrorLogger& logger = ErrorLogger::GetInstance();
    logger.SetStream(&previous);
    logger.SetFile(path);
    KZ_LOG(ErrorLogger::eError, "Daq::Run() - still heard");
    EXPECT_EQ(previous.str(), "");
  });
  EXPECT_EQ(child.fExitCode, 0) << child.fStdout;
  EXPECT_EQ(child.fStderr, "Daq::Run() - still heard\n");
  EXPECT_EQ(child.fStdout, "");
  EXPECT_EQ(KzTest::ReadFile(path), "");
}

TEST(ErrorLoggerFile, NullOrEmptyNameStopsOnTheAssertion) {
  const std::string kAssertion =
      "ErrorLoggerTest: ErrorLogger.cc:200: void KzUtil::ErrorLogger::SetFile(const char*): "
      "Assertion `filename != __null && *filename != 0' failed.\n";
  const std::function<void()> kCalls[] = {
      [] { ErrorLogger::GetInstance().SetFile(static_cast<const char*>(nullptr)); },
      [] { ErrorLogger::GetInstance().SetFile(""); },
      [] { ErrorLogger::GetInstance().SetFile(std::string()); }};
  for (const auto& call : kCalls) {
    const KzTest::ChildResult child = KzTest::RunInChild(call);
    EXPECT_EQ(child.fSignal, SIGABRT);
    EXPECT_EQ(child.fStderr, kAssertion);
  }
}
