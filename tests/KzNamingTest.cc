// Naming on an analysis host (neither EyePC nor MirrorPC): paths under HOME,
// file names with every option combination, mirror numbers, night dates and
// directory creation. Every case runs in a child on a host of its own, so the
// singletons see exactly the host, environment and clock set up for them.
#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KzNaming.h"
#include "KzTestSupport.h"

using KzUtil::KzNaming;
namespace fs = std::filesystem;

namespace {

const KzTest::HostSetup kAnalysisHost = {
    "Ana7", {{"/etc/hosts", "127.0.0.1 localhost\n10.7.0.7 ana7.physics.example.org Ana7\n"}}};

KzNaming& Naming() { return KzUtil::Singleton<KzNaming>::GetInstance(); }

tm UtcFields(time_t when) {
  tm t;
  gmtime_r(&when, &t);
  return t;
}

std::string Strftime(const char* format, const tm& t) {
  char text[64];
  return std::string(text, strftime(text, sizeof(text), format, &t));
}

// The ISO date and time of now in UTC, formatted independently of the library.
struct UtcStamp {
  std::string fDate;  // 2024-03-05
  std::string fTime;  // 23-41
};

UtcStamp UtcNow() {
  const tm t = UtcFields(time(nullptr));
  return {Strftime("%Y-%m-%d", t), Strftime("%H-%M", t)};
}

// Replaces {D} and {T} in pattern by the stamp's date and time.
std::string Expand(std::string pattern, const UtcStamp& stamp) {
  for (size_t at; (at = pattern.find("{D}")) != std::string::npos;)
    pattern.replace(at, 3, stamp.fDate);
  for (size_t at; (at = pattern.find("{T}")) != std::string::npos;)
    pattern.replace(at, 3, stamp.fTime);
  return pattern;
}

// Checks a name made from the current time against the stamps before and after,
// so that a minute turning over in between does not matter.
void ExpectStamped(const std::string& pattern, const std::function<std::string()>& make) {
  const UtcStamp before = UtcNow();
  const std::string name = make();
  const UtcStamp after = UtcNow();
  EXPECT_TRUE(name == Expand(pattern, before) || name == Expand(pattern, after))
      << name << " does not match " << pattern;
}

void SetOptions(bool isoDate, bool isoTime, bool runId) {
  Naming().SetOption(KzNaming::kUseIsoDate, isoDate);
  Naming().SetOption(KzNaming::kUseIsoTime, isoTime);
  Naming().SetOption(KzNaming::kUseRunId, runId);
}

time_t Utc(int year, int month, int day, int hour, int minute, int second) {
  tm t = {};
  t.tm_year = year - 1900;
  t.tm_mon = month - 1;
  t.tm_mday = day;
  t.tm_hour = hour;
  t.tm_min = minute;
  t.tm_sec = second;
  return timegm(&t);
}

class KzNamingOnAnalysisHost : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string why;
    if (!KzTest::NamespacesAvailable(&why)) GTEST_SKIP() << why;
  }

  // Runs body on host Ana7 of the given eye with HOME in a fresh directory and
  // returns what the child wrote; body's failures fail the test.
  KzTest::ChildResult OnAnalysisHost(const std::function<void()>& body, const char* eye = "2") {
    const KzTest::ChildResult result = KzTest::RunOnHost(kAnalysisHost, [&] {
      setenv("HOME", fHome.Path().c_str(), 1);
      setenv("KZ_EYE_ID", eye, 1);
      unsetenv("KZ_MIRROR_ID");
      body();
    });
    EXPECT_EQ(result.fExitCode, 0) << result.fStdout << result.fStderr;
    return result;
  }

  // Runs body there expecting the process to stop on an assertion.
  KzTest::ChildResult AbortingOnAnalysisHost(const std::function<void()>& body) {
    const KzTest::ChildResult result = KzTest::RunOnHost(kAnalysisHost, [&] {
      unsetenv("KZ_EYE_ID");
      body();
    });
    EXPECT_EQ(result.fSignal, SIGABRT) << result.fStdout << result.fStderr;
    return result;
  }

  std::string Home() const { return fHome.Path(); }

  KzTest::TempDir fHome;
};

using KzNamingHomeAndHost = KzNamingOnAnalysisHost;

TEST_F(KzNamingHomeAndHost, HomeIsTheBaseOfEverything) {
  OnAnalysisHost([&] {
    EXPECT_FALSE(Naming().IsVestaSystem());
    EXPECT_FALSE(Naming().IsVestaTestSystem());
    EXPECT_EQ(Naming().GetHomeDirectory(), Home());
    EXPECT_EQ(Naming().GetBaseDirectory(), Home());
  });
}

TEST_F(KzNamingHomeAndHost, EveryHostDirectoryIsTheLowerCaseHostName) {
  const KzTest::ChildResult result = OnAnalysisHost([] {
    EXPECT_EQ(Naming().GetEyeDirectoryName(), "ana7");
    EXPECT_EQ(Naming().GetSystemDirectoryName(), "ana7");
    EXPECT_EQ(Naming().GetMirrorDirectoryName(0), "ana7");
    EXPECT_EQ(Naming().GetMirrorDirectoryName(3), "ana7");
    EXPECT_EQ(Naming().GetMirrorDirectoryName(99), "ana7");
  });
  EXPECT_EQ(result.fStderr.find("illegal"), std::string::npos) << result.fStderr;
}

TEST_F(KzNamingHomeAndHost, EveryConfigDirectoryIsTheHostsUnderHomeGeneral) {
  OnAnalysisHost([&] {
    const std::string expected = Home() + "/general/ana7/";
    EXPECT_EQ(Naming().GetEyeConfigDirectory(), expected);
    EXPECT_EQ(Naming().GetConfigDirectory(), expected);
    EXPECT_EQ(Naming().GetMirrorConfigDirectory(3), expected);
    EXPECT_EQ(Naming().GetMirrorConfigDirectory(99), expected);
  });
}

TEST_F(KzNamingHomeAndHost, DaqAccountHomesAreRefused) {
  OnAnalysisHost([] {
    for (auto get : {&KzNaming::GetEyeHomeDirectory, &KzNaming::GetMirrorHomeDirectory}) {
      try {
        (Naming().*get)();
        ADD_FAILURE() << "no std::domain_error";
      } catch (const std::domain_error& e) {
        EXPECT_STREQ(e.what(), "not running on VESTA DAQ host");
      }
    }
  });
}

TEST_F(KzNamingHomeAndHost, UnsetHomeStopsTheProcess) {
  for (auto get : {&KzNaming::GetHomeDirectory, &KzNaming::GetBaseDirectory}) {
    const KzTest::ChildResult result = AbortingOnAnalysisHost([get] {
      unsetenv("HOME");
      (Naming().*get)();
    });
    EXPECT_NE(result.fStderr.find("Assertion `home != __null' failed."), std::string::npos)
        << result.fStderr;
  }
}

using KzNamingDataDirectory = KzNamingOnAnalysisHost;

TEST_F(KzNamingDataDirectory, IsDatedUnderBaseAndCreated) {
  OnAnalysisHost([&] {
    const std::string date = Naming().GetDirectoryFromDate();
    const std::string path = Naming().GetDataDirectory("ana7", "run");
    EXPECT_EQ(path, Home() + "/ana7/" + date + "run/");
    EXPECT_TRUE(fs::is_directory(path));
  });
}

TEST_F(KzNamingDataDirectory, IsOnlyNamedWhenCreationIsOff) {
  OnAnalysisHost([&] {
    Naming().SetOption(KzNaming::kCreateDirectory, false);
    const std::string path = Naming().GetDataDirectory("ana7", "run");
    EXPECT_EQ(path, Home() + "/ana7/" + Naming().GetDirectoryFromDate() + "run/");
    EXPECT_FALSE(fs::exists(Home() + "/ana7"));
  });
}

TEST_F(KzNamingDataDirectory, ConvenienceFormsNameHostAndKind) {
  OnAnalysisHost([&] {
    const std::string date = Naming().GetDirectoryFromDate();
    const std::string host = Home() + "/ana7/" + date;
    EXPECT_EQ(Naming().GetRunDataDirectory(), host + "run/");
    EXPECT_EQ(Naming().GetCalibrationDataDirectory(), host + "calib/");
    EXPECT_EQ(Naming().GetAuxDataDirectory(), host + "aux/");
    EXPECT_EQ(Naming().GetTestDataDirectory(), host + "test/");
    EXPECT_EQ(Naming().GetEyeRunDataDirectory(), Home() + "/eyepc/" + date + "run/");
    EXPECT_EQ(Naming().GetEyeAuxDataDirectory(), Home() + "/eyepc/" + date + "aux/");
    EXPECT_EQ(Naming().GetMirrorCalibrationDataDirectory(4), host + "calib/");
    EXPECT_TRUE(fs::is_directory(host + "calib"));
    EXPECT_TRUE(fs::is_directory(Home() + "/eyepc/" + date + "aux"));
  });
}

using KzNamingFilename = KzNamingOnAnalysisHost;

struct _FilenameCaseRec {
  bool fIsoDate, fIsoTime, fRunId;
  const char* fForMirror3;  // GetDataFilename("run", 1234, "root", 3) at eye 2
  const char* fForEye;      // the same for mirror 0
  const char* fAux;         // GetAuxDataFilename("temp", "txt", 3); for mirror 0 without "_m09"
};

const _FilenameCaseRec kFilenameCases[] = {
    {true, true, true, "run_m09_001234_{D}.{T}.root", "run_e2_001234_{D}.{T}.root",
     "temp_m09_{D}.{T}.txt"},
    {true, true, false, "run_m09_{D}.{T}.root", "run_e2_{D}.{T}.root", "temp_m09_{D}.{T}.txt"},
    {true, false, true, "run_m09_001234_{D}.root", "run_e2_001234_{D}.root", "temp_m09_{D}.txt"},
    {true, false, false, "run_m09_{D}.root", "run_e2_{D}.root", "temp_m09_{D}.txt"},
    {false, true, true, "run_m09_001234_{T}.root", "run_e2_001234_{T}.root", "temp_m09_{T}.txt"},
    {false, true, false, "run_m09_{T}.root", "run_e2_{T}.root", "temp_m09_{T}.txt"},
    {false, false, true, "run_m09_001234.root", "run_e2_001234.root", "temp_m09.txt"},
    {false, false, false, "run_m09.root", "run_e2.root", "temp_m09.txt"},
};

TEST_F(KzNamingFilename, CarriesExactlyTheEnabledParts) {
  OnAnalysisHost([] {
    for (const _FilenameCaseRec& c : kFilenameCases) {
      SCOPED_TRACE(::testing::Message()
                   << "date " << c.fIsoDate << " time " << c.fIsoTime << " run " << c.fRunId);
      SetOptions(c.fIsoDate, c.fIsoTime, c.fRunId);
      ExpectStamped(c.fForMirror3, [] { return Naming().GetDataFilename("run", 1234, "root", 3); });
      ExpectStamped(c.fForEye, [] { return Naming().GetDataFilename("run", 1234, "root", 0); });
      ExpectStamped(c.fAux, [] { return Naming().GetAuxDataFilename("temp", "txt", 3); });
      const std::string auxWithoutMirror = std::string(c.fAux).erase(4, 4);
      ExpectStamped(auxWithoutMirror, [] { return Naming().GetAuxDataFilename("temp", "txt", 0); });
    }
  });
}

TEST_F(KzNamingFilename, EyeOnlyNameAtEyeFour) {
  OnAnalysisHost(
      [] {
        SetOptions(false, false, false);
        EXPECT_EQ(Naming().GetDataFilename("prefix", 1, "suffix", 0), "prefix_e4.suffix");
      },
      "4");
}

TEST_F(KzNamingFilename, ConvenienceFormsUseTheirPrefix) {
  OnAnalysisHost([] {
    SetOptions(false, false, true);
    EXPECT_EQ(Naming().GetRunDataFilename(1234, "root", 3), "run_m09_001234.root");
    EXPECT_EQ(Naming().GetCalibrationDataFilename(77, "root", 1), "calib_m07_000077.root");
    EXPECT_EQ(Naming().GetTestDataFilename(5, "dat", 0), "test_e2_000005.dat");
    EXPECT_EQ(Naming().GetMinBiasDataFilename(12, "root", 6), "minbias_m12_000012.root");
    EXPECT_EQ(Naming().GetAPFDataFilename(3, "dat"), "apf_e2_000003.dat");
    EXPECT_EQ(Naming().GetFlasherDataFilename(3, "dat"), "flasher_e2_000003.dat");
    EXPECT_EQ(Naming().GetLaserDataFilename(17, "dat"), "laser_e2_000017.dat");
    EXPECT_EQ(Naming().GetLidarDataFilename(9, "dat"), "lidar_e2_000009.dat");
  });
}

using KzNamingMirrorId = KzNamingOnAnalysisHost;

TEST_F(KzNamingMirrorId, LocalIdsBecomeObservatoryWideAtEachBoundary) {
  const KzTest::ChildResult result = OnAnalysisHost(
      [] {
        EXPECT_EQ(Naming().GetObservatoryMirrorId(0), 0u);
        EXPECT_EQ(Naming().GetObservatoryMirrorId(1), 19u);
        EXPECT_EQ(Naming().GetObservatoryMirrorId(6), 24u);
        EXPECT_EQ(Naming().GetObservatoryMirrorId(7), 7u);
        EXPECT_EQ(Naming().GetObservatoryMirrorId(27), 27u);
        EXPECT_EQ(Naming().GetObservatoryMirrorId(28), 0u);
      },
      "4");
  EXPECT_NE(result.fStderr.find("KzNaming::GetObservatoryMirrorId(0) - passed Mirror ID is "
                                "illegal !"),
            std::string::npos)
      << result.fStderr;
  EXPECT_NE(result.fStderr.find("KzNaming::GetObservatoryMirrorId(28) - passed Mirror ID is "
                                "illegal !"),
            std::string::npos)
      << result.fStderr;
}

TEST_F(KzNamingMirrorId, FirstAndLastEyeMapToTheEndsOfTheRange) {
  OnAnalysisHost(
      [] {
        EXPECT_EQ(Naming().GetObservatoryMirrorId(1), 1u);
        EXPECT_EQ(Naming().GetObservatoryMirrorId(6), 6u);
      },
      "1");
  OnAnalysisHost([] { EXPECT_EQ(Naming().GetObservatoryMirrorId(3), 27u); }, "5");
}

using KzNamingOption = KzNamingOnAnalysisHost;

TEST_F(KzNamingOption, DefaultsTurnEverythingOnWhateverTheValue) {
  OnAnalysisHost([&] {
    SetOptions(false, false, false);
    Naming().SetOption(KzNaming::kCreateDirectory, false);
    Naming().SetOption(KzNaming::kDefaultOptions, false);
    ExpectStamped("run_m09_001234_{D}.{T}.root",
                  [] { return Naming().GetDataFilename("run", 1234, "root", 3); });
    EXPECT_TRUE(fs::is_directory(Naming().GetDataDirectory("ana7", "run")));
  });
}

TEST_F(KzNamingOption, IllegalOptionIsReportedAndChangesNothing) {
  const KzTest::ChildResult result = OnAnalysisHost([] {
    SetOptions(false, false, true);
    Naming().SetOption(static_cast<KzNaming::ENamingOption>(5), true);
    Naming().SetOption(static_cast<KzNaming::ENamingOption>(-1), true);
    EXPECT_EQ(Naming().GetDataFilename("run", 1, "root", 0), "run_e2_000001.root");
  });
  EXPECT_NE(result.fStderr.find("KzNaming::SetOption() - illegal option specified !"),
            std::string::npos)
      << result.fStderr;
}

using KzNamingIsoStamp = KzNamingOnAnalysisHost;

TEST_F(KzNamingIsoStamp, GivenTimeShowsDateAndMinutes) {
  OnAnalysisHost([] {
    const tm t = UtcFields(Utc(2024, 3, 5, 23, 41, 7));
    EXPECT_EQ(Naming().GetISODate(&t), "2024-03-05");
    EXPECT_EQ(Naming().GetISOTime(&t), "23-41");
    EXPECT_EQ(Naming().GetISODateTime(&t), "2024-03-05.23-41");
  });
}

TEST_F(KzNamingIsoStamp, SwitchedOffPartsLeaveNoSeparator) {
  OnAnalysisHost([] {
    const tm t = UtcFields(Utc(2024, 3, 5, 23, 41, 7));
    Naming().SetOption(KzNaming::kUseIsoDate, false);
    EXPECT_EQ(Naming().GetISODate(&t), "");
    EXPECT_EQ(Naming().GetISODateTime(&t), "23-41");
    Naming().SetOption(KzNaming::kUseIsoDate, true);
    Naming().SetOption(KzNaming::kUseIsoTime, false);
    EXPECT_EQ(Naming().GetISOTime(&t), "");
    EXPECT_EQ(Naming().GetISODateTime(&t), "2024-03-05");
    Naming().SetOption(KzNaming::kUseIsoDate, false);
    EXPECT_EQ(Naming().GetISODateTime(&t), "");
  });
}

TEST_F(KzNamingIsoStamp, NoTimeMeansNowInUtcNotLocalTime) {
  OnAnalysisHost([] {
    setenv("TZ", "KST-9", 1);  // nine hours ahead: local date and hour differ from UTC
    tzset();
    ExpectStamped("{D}", [] { return Naming().GetISODate(); });
    ExpectStamped("{T}", [] { return Naming().GetISOTime(); });
    ExpectStamped("{D}.{T}", [] { return Naming().GetISODateTime(); });
  });
}

using KzNamingNightDate = KzNamingOnAnalysisHost;

struct _NightCaseRec {
  time_t fWhen;           // a moment given in UTC
  const char* fLocal;     // the same moment on the local clock of UTC+9
  const char* fExpected;  // the night's date directory
};

TEST_F(KzNamingNightDate, NightBelongsToTheLocalDateOnWhichItBegan) {
  const _NightCaseRec cases[] = {
      {Utc(2024, 3, 5, 18, 0, 0), "2024-03-06 03:00", "2024/03/05/"},
      {Utc(2024, 3, 6, 2, 59, 59), "2024-03-06 11:59:59", "2024/03/05/"},
      {Utc(2024, 3, 6, 3, 0, 0), "2024-03-06 12:00", "2024/03/06/"},
      {Utc(2024, 3, 6, 14, 59, 59), "2024-03-06 23:59:59", "2024/03/06/"},
      {Utc(2024, 2, 29, 21, 30, 0), "2024-03-01 06:30", "2024/02/29/"},
      {Utc(2023, 4, 30, 15, 0, 0), "2023-05-01 00:00", "2023/04/30/"},
      {Utc(2023, 12, 31, 16, 0, 0), "2024-01-01 01:00", "2023/12/31/"},
      {Utc(2024, 1, 1, 2, 59, 59), "2024-01-01 11:59:59", "2023/12/31/"},
      {Utc(2024, 1, 1, 3, 0, 0), "2024-01-01 12:00", "2024/01/01/"},
  };
  OnAnalysisHost([&] {
    setenv("TZ", "KST-9", 1);
    tzset();
    for (const _NightCaseRec& c : cases)
      EXPECT_EQ(Naming().GetDirectoryFromDate(c.fWhen), c.fExpected) << "local " << c.fLocal;
  });
}

TEST_F(KzNamingNightDate, WithoutTimeItIsTonightsDate) {
  OnAnalysisHost([] {
    setenv("TZ", "KST-9", 1);
    tzset();
    const std::string before = Naming().GetDirectoryFromDate(time(nullptr));
    const std::string now = Naming().GetDirectoryFromDate();
    const std::string after = Naming().GetDirectoryFromDate(time(nullptr));
    EXPECT_TRUE(now == before || now == after) << now;
  });
}

using KzNamingCreateDirectory = KzNamingOnAnalysisHost;

TEST_F(KzNamingCreateDirectory, ShellCharactersAreTakenLiterally) {
  const std::string name =
      "night run; touch semicolon 'single' \"double\" $(touch dollar) `touch backquote` && x";
  OnAnalysisHost([&] {
    ASSERT_EQ(chdir(Home().c_str()), 0);
    Naming().CreateDirectory(Home() + "/" + name + "/sub");
    EXPECT_TRUE(fs::is_directory(Home() + "/" + name + "/sub"));
  });
  std::vector<std::string> entries;
  for (const fs::directory_entry& entry : fs::directory_iterator(Home()))
    entries.push_back(entry.path().filename().string());
  EXPECT_EQ(entries, std::vector<std::string>{name});
}

TEST_F(KzNamingCreateDirectory, FailureIsNotReported) {
  const std::string file = fHome.Write("plain", "not a directory");
  const std::string constructed = "-- naming constructed --\n";
  const KzTest::ChildResult result = OnAnalysisHost([&] {
    Naming();
    std::cerr << constructed << std::flush;
    Naming().CreateDirectory(file + "/below");
    Naming().CreateDirectory("");
    Naming().CreateDirectory(Home());
  });
  EXPECT_FALSE(fs::exists(file + "/below"));
  ASSERT_GE(result.fStderr.size(), constructed.size());
  EXPECT_EQ(result.fStderr.substr(result.fStderr.size() - constructed.size()), constructed)
      << result.fStderr;
}

using KzNamingSelfTest = KzNamingOnAnalysisHost;

TEST_F(KzNamingSelfTest, WritesIdsFlagsAndAlignedValues) {
  OnAnalysisHost([&] {
    std::ostringstream out;
    const UtcStamp before = UtcNow();
    Naming().Test(out);
    const UtcStamp after = UtcNow();
    const auto expected = [&](const UtcStamp& s) {
      return "\nKzNaming::Test() ...\n"
             "fEyeId= 2 fMirrorId= 1\n"
             "fIsVestaSystem= 0 fIsVestaUser= 0\n"
             "GetBaseDirectory:   " +
             Home() +
             "\n"
             "GetISODate:         " +
             s.fDate +
             "\n"
             "GetISOTime(UTC):    " +
             s.fTime +
             "\n"
             "GetISODateTime:     " +
             s.fDate + "." + s.fTime + "\n\n";
    };
    EXPECT_TRUE(out.str() == expected(before) || out.str() == expected(after)) << out.str();
  });
}

}  // namespace
