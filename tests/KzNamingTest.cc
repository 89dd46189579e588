// Naming on an analysis host (neither EyePC nor MirrorPC): paths under HOME, file names,
// mirror numbers, night dates and directory creation. Every case runs in a child on
// host Ana7 of its own, whose clock is nine hours ahead of UTC (TZ KST-9).
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KzHostTestSupport.h"

using KzHostTest::Contains;
using KzHostTest::Naming;
using KzHostTest::ReplaceAll;
using KzUtil::KzNaming;
namespace fs = std::filesystem;

namespace {

// The moment written "2024-03-05 23:41:07" on a clock that is utcOffset seconds ahead of UTC.
time_t At(const char* text, long utcOffset = 0) {
  tm t = {};
  strptime(text, "%Y-%m-%d %H:%M:%S", &t);
  return timegm(&t) - utcOffset;
}

// pattern with {D} and {T} replaced by the UTC date and time of when, made without the library.
std::string Stamped(const std::string& pattern, time_t when) {
  tm t;
  gmtime_r(&when, &t);
  char date[16], minutes[8];
  strftime(date, sizeof(date), "%Y-%m-%d", &t);
  strftime(minutes, sizeof(minutes), "%H-%M", &t);
  return ReplaceAll(ReplaceAll(pattern, "{D}", date), "{T}", minutes);
}

// Checks a text made from the current time against the stamps before and after,
// so that a minute turning over in between does not matter.
void ExpectStamped(const std::string& pattern, const std::function<std::string()>& make) {
  const time_t before = time(nullptr);
  const std::string text = make();
  const time_t after = time(nullptr);
  EXPECT_TRUE(text == Stamped(pattern, before) || text == Stamped(pattern, after))
      << text << " does not match " << pattern;
}

void SetOptions(bool isoDate, bool isoTime, bool runId) {
  Naming().SetOption(KzNaming::kUseIsoDate, isoDate);
  Naming().SetOption(KzNaming::kUseIsoTime, isoTime);
  Naming().SetOption(KzNaming::kUseRunId, runId);
}

class KzNamingOnAnalysisHost : public KzHostTest::OnOwnHost {
 protected:
  static KzTest::HostSetup Ana7() { return KzHostTest::Host("Ana7", "ana7.physics.example.org"); }

  // Runs body on Ana7, a host of eye `eye`; body's failures fail the test.
  KzTest::ChildResult OnAnalysisHost(const std::function<void()>& body, const char* eye = "2") {
    return OnHost(
        Ana7(),
        [&] {
          setenv("TZ", "KST-9", 1);  // local date and hour differ from UTC
          tzset();
          body();
        },
        eye);
  }
};

using KzNamingHomeAndHost = KzNamingOnAnalysisHost;

TEST_F(KzNamingHomeAndHost, PathsUnderHomeNamedAfterLowerCaseHostNoDaqHomesAndSelfTestShowsThem) {
  const KzTest::ChildResult result = OnAnalysisHost([&] {
    EXPECT_FALSE(Naming().IsVestaSystem());
    EXPECT_EQ(Naming().GetHomeDirectory(), Home());
    EXPECT_EQ(Naming().GetBaseDirectory(), Home());
    EXPECT_EQ(Naming().GetEyeDirectoryName(), "ana7");
    EXPECT_EQ(Naming().GetSystemDirectoryName(), "ana7");
    EXPECT_EQ(Naming().GetMirrorDirectoryName(99), "ana7");
    EXPECT_EQ(Naming().GetEyeConfigDirectory(), Home() + "/general/ana7/");
    EXPECT_EQ(Naming().GetConfigDirectory(), Home() + "/general/ana7/");
    EXPECT_EQ(Naming().GetMirrorConfigDirectory(99), Home() + "/general/ana7/");
    for (auto get : {&KzNaming::GetEyeHomeDirectory, &KzNaming::GetMirrorHomeDirectory})
      EXPECT_EQ(KzTest::Thrown([get] { (Naming().*get)(); }),
                "logic_error: not running on VESTA DAQ host");
    // The self test writes ids, flags and values under aligned labels.
    const std::string selfTest =
        "\nKzNaming::Test() ...\nfEyeId= 2 fMirrorId= 1\n"
        "fIsVestaSystem= 0 fIsVestaUser= 0\nGetBaseDirectory:   ~\n"
        "GetISODate:         {D}\nGetISOTime(UTC):    {T}\n"
        "GetISODateTime:     {D}.{T}\n\n";
    ExpectStamped(ReplaceAll(selfTest, "~", Home()), [] {
      std::ostringstream out;
      Naming().Test(out);
      return out.str();
    });
  });
  EXPECT_FALSE(Contains(result.fStderr, "illegal")) << result.fStderr;
}

TEST_F(KzNamingHomeAndHost, UnsetHomeStopsTheProcess) {
  for (auto get : {&KzNaming::GetHomeDirectory, &KzNaming::GetBaseDirectory}) {
    const KzTest::ChildResult result = Run(Ana7(), [get] {
      unsetenv("HOME");
      (Naming().*get)();
    });
    EXPECT_EQ(result.fSignal, SIGABRT) << result.fStdout << result.fStderr;
    EXPECT_TRUE(Contains(result.fStderr, "Assertion `home != __null' failed.")) << result.fStderr;
  }
}

using KzNamingDataDirectory = KzNamingOnAnalysisHost;

TEST_F(KzNamingDataDirectory, IsDatedUnderBaseAndConvenienceFormsNameHostKindAndPrefix) {
  OnAnalysisHost([&] {
    const std::string date = Naming().GetDirectoryFromDate(time(nullptr));  // tonight's
    const std::string host = Home() + "/ana7/" + date, eye = Home() + "/eyepc/" + date;
    EXPECT_EQ(Naming().GetDataDirectory("ana7", "run"), host + "run/");
    EXPECT_EQ(Naming().GetRunDataDirectory(), host + "run/");
    EXPECT_EQ(Naming().GetCalibrationDataDirectory(), host + "calib/");
    EXPECT_EQ(Naming().GetAuxDataDirectory(), host + "aux/");
    EXPECT_EQ(Naming().GetTestDataDirectory(), host + "test/");
    EXPECT_EQ(Naming().GetEyeRunDataDirectory(), eye + "run/");
    EXPECT_EQ(Naming().GetEyeAuxDataDirectory(), eye + "aux/");
    EXPECT_EQ(Naming().GetMirrorCalibrationDataDirectory(4), host + "calib/");
    EXPECT_TRUE(fs::is_directory(host + "calib") && fs::is_directory(eye + "aux"));

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

using KzNamingFilename = KzNamingOnAnalysisHost;

// Stamps are the UTC date and minutes: of the given time, or of now.
TEST_F(KzNamingFilename, StampsAndNamesCarryExactlyTheEnabledParts) {
  const struct {
    bool fIsoDate, fIsoTime, fRunId;
    const char* fStamp;  // GetISODateTime
    const char* fData;   // GetDataFilename("run", 1234, "root", 3) at eye 2
    const char* fAux;    // GetAuxDataFilename("temp", "txt", 3); for mirror 0 without "_m09"
  } cases[] = {{true, true, true, "{D}.{T}", "run_m09_001234_{D}.{T}.root", "temp_m09_{D}.{T}.txt"},
               {true, true, false, "{D}.{T}", "run_m09_{D}.{T}.root", "temp_m09_{D}.{T}.txt"},
               {true, false, true, "{D}", "run_m09_001234_{D}.root", "temp_m09_{D}.txt"},
               {true, false, false, "{D}", "run_m09_{D}.root", "temp_m09_{D}.txt"},
               {false, true, true, "{T}", "run_m09_001234_{T}.root", "temp_m09_{T}.txt"},
               {false, true, false, "{T}", "run_m09_{T}.root", "temp_m09_{T}.txt"},
               {false, false, true, "", "run_m09_001234.root", "temp_m09.txt"},
               {false, false, false, "", "run_m09.root", "temp_m09.txt"}};
  OnAnalysisHost([&] {
    const time_t when = At("2024-03-05 23:41:07");
    const tm t = *gmtime(&when);
    for (const auto& c : cases) {
      SCOPED_TRACE(::testing::Message()
                   << "date " << c.fIsoDate << " time " << c.fIsoTime << " run " << c.fRunId);
      SetOptions(c.fIsoDate, c.fIsoTime, c.fRunId);
      EXPECT_EQ(Naming().GetISODate(&t), c.fIsoDate ? "2024-03-05" : "");
      EXPECT_EQ(Naming().GetISOTime(&t), c.fIsoTime ? "23-41" : "");
      EXPECT_EQ(Naming().GetISODateTime(&t), Stamped(c.fStamp, when));
      ExpectStamped(c.fData, [] { return Naming().GetDataFilename("run", 1234, "root", 3); });
      ExpectStamped(c.fAux, [] { return Naming().GetAuxDataFilename("temp", "txt", 3); });
      ExpectStamped(ReplaceAll(c.fAux, "_m09", ""),
                    [] { return Naming().GetAuxDataFilename("temp", "txt", 0); });
    }
  });
}

// Options off: no stamps, no run id, no directory made.
TEST_F(KzNamingFilename, IllegalOptionChangesNothingAndDefaultsTurnEverythingOn) {
  const KzTest::ChildResult result = OnAnalysisHost([&] {
    SetOptions(false, false, false);
    Naming().SetOption(KzNaming::kCreateDirectory, false);
    Naming().SetOption(static_cast<KzNaming::ENamingOption>(5), true);
    Naming().SetOption(static_cast<KzNaming::ENamingOption>(-1), true);
    EXPECT_EQ(Naming().GetDataFilename("run", 1, "root", 0), "run_e2.root");
    Naming().GetDataDirectory("ana7", "run");
    EXPECT_FALSE(fs::exists(Home() + "/ana7"));
    Naming().SetOption(KzNaming::kDefaultOptions, false);
    ExpectStamped("run_m09_001234_{D}.{T}.root",
                  [] { return Naming().GetDataFilename("run", 1234, "root", 3); });
    EXPECT_TRUE(fs::is_directory(Naming().GetDataDirectory("ana7", "run")));
  });
  EXPECT_TRUE(Contains(result.fStderr,
                       "KzNaming::SetOption() - illegal option specified !\n"
                       "KzNaming::SetOption() - illegal option specified !\n"))
      << result.fStderr;
}

using KzNamingMirrorId = KzNamingOnAnalysisHost;

// At eye 4; eye 5's last mirror is checked on a MirrorPC of that eye.
TEST_F(KzNamingMirrorId, LocalIdsBecomeObservatoryWideAtEachBoundary) {
  const unsigned int cases[][2] = {{0, 0}, {1, 19}, {6, 24}, {7, 7}, {27, 27}, {28, 0}};
  const KzTest::ChildResult result = OnAnalysisHost(
      [&] {
        for (const auto& [mirror, expected] : cases)
          EXPECT_EQ(Naming().GetObservatoryMirrorId(mirror), expected) << "mirror " << mirror;
      },
      "4");
  EXPECT_EQ(result.fStderr,
            "KzConfig::KzConfig() - getenv(KZ_EYE_ID)= 4\n"
            "KzNaming::GetObservatoryMirrorId(0) - passed Mirror ID is illegal !\n"
            "KzNaming::GetObservatoryMirrorId(28) - passed Mirror ID is illegal !\n");
}

using KzNamingNightDate = KzNamingOnAnalysisHost;

TEST_F(KzNamingNightDate, NightBelongsToTheLocalDateOnWhichItBegan) {
  const char* const cases[][2] = {
      // local time at UTC+9, the night's date directory
      {"2024-03-06 11:59:59", "2024/03/05/"}, {"2024-03-06 12:00:00", "2024/03/06/"},
      {"2024-03-01 06:30:00", "2024/02/29/"}, {"2023-05-01 00:00:00", "2023/04/30/"},
      {"2024-01-01 11:59:59", "2023/12/31/"}, {"2024-01-01 12:00:00", "2024/01/01/"}};
  OnAnalysisHost([&] {
    for (const auto& [local, night] : cases)
      EXPECT_EQ(Naming().GetDirectoryFromDate(At(local, 9 * 3600)), night) << "local " << local;
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
  EXPECT_EQ(result.fStderr.rfind(constructed), result.fStderr.size() - constructed.size())
      << result.fStderr;
}

}  // namespace
