// Naming on the EyePC and MirrorPCs of an eye, run for real in a child with its own
// host name, /etc/hosts and /etc/passwd: under an ordinary account, the system
// account vesta, and a user id that has no password entry at all.
#include <sys/mount.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "KzHostTestSupport.h"

using KzHostTest::Contains;
using KzHostTest::ExpectThrowWithText;
using KzHostTest::Host;
using KzHostTest::Naming;
using KzUtil::KzNaming;
namespace fs = std::filesystem;

namespace {

// Eye 2's EyePC and MirrorPC 4, the effective user named user ("" = no password entry).
KzTest::HostSetup EyePC(const char* user) { return Host("eyepc", "eyepc.eye2-vesta.lan", user); }
KzTest::HostSetup MirrorPC4(const char* user) {
  return Host("mirrorpc4", "mirrorpc4.eye2-vesta.lan", user);
}

// Gives the child an empty /home of its own, so the system account's tree can be made.
void PrivateHome() { ASSERT_EQ(mount("tmpfs", "/home", "tmpfs", 0, nullptr), 0); }

void ExpectMirrorIdRefused(const std::function<void()>& call) {
  ExpectThrowWithText<std::invalid_argument>(call, "passed Mirror ID not valid");
}

#define CALL(call) #call, [] { return Naming().call; }

const struct {
  const char* fCall;
  std::function<std::string()> fGet;
  const char* fOnEyePC;  // ~ stands for HOME, {night} for the night's date directory
  const char* fOnMirrorPC4;
} kPathsOfUserDaq[] = {
    {CALL(GetEyeDirectoryName()), "eyepc", "eyepc"},
    {CALL(GetSystemDirectoryName()), "eyepc", "mirrorpc4"},
    {CALL(GetMirrorDirectoryName(0)), "eyepc", "mirrorpc4"},
    {CALL(GetMirrorDirectoryName(1)), "mirrorpc1", "mirrorpc1"},
    {CALL(GetMirrorDirectoryName(6)), "mirrorpc6", "mirrorpc6"},
    {CALL(GetBaseDirectory()), "~", "~"},
    {CALL(GetEyeHomeDirectory()), "~", "/home/eyePC/daq"},
    {CALL(GetMirrorHomeDirectory()), "/export/mirror_home/daq", "~"},
    {CALL(GetEyeConfigDirectory()), "~/general/eyepc/", "/home/eyePC/daq/general/eyepc/"},
    {CALL(GetConfigDirectory()), "~/general/eyepc/", "~/general/mirrorpc4/"},
    {CALL(GetMirrorConfigDirectory(0)), "/export/mirror_home/daq/general/eyepc/",
     "~/general/mirrorpc0/"},
    {CALL(GetMirrorConfigDirectory(9)), "/export/mirror_home/daq/general/eyepc/",
     "~/general/mirrorpc3/"},
    {CALL(GetMirrorConfigDirectory(24)), "/export/mirror_home/daq/general/eyepc/",
     "~/general/mirrorpc6/"},
    {CALL(GetRunDataDirectory()), "~/eyepc/{night}run/", "~/mirrorpc4/{night}run/"},
    {CALL(GetMirrorTestDataDirectory(3)), "~/mirrorpc3/{night}test/", "~/mirrorpc3/{night}test/"},
    {CALL(GetRunDataFilename(1234, "root", 4)), "run_m10_001234.root", "run_m10_001234.root"},
    {CALL(GetRunDataFilename(1234, "root", 0)), "run_e2_001234.root", "run_e2_001234.root"},
};

#undef CALL

using KzNamingOnDaqHost = KzHostTest::OnOwnHost;

TEST_F(KzNamingOnDaqHost, EyePCAndMirrorPCPathsOfAnOrdinaryAccount) {
  for (const bool onEyePC : {true, false}) {
    OnHost(onEyePC ? EyePC("daq") : MirrorPC4("daq"), [&] {
      EXPECT_TRUE(Naming().IsVestaSystem());
      EXPECT_FALSE(Naming().IsVestaTestSystem());
      Naming().SetOption(KzNaming::kUseIsoDate, false);
      Naming().SetOption(KzNaming::kUseIsoTime, false);
      const std::string night = Naming().GetDirectoryFromDate();
      for (const auto& path : kPathsOfUserDaq) {
        const std::string expected = onEyePC ? path.fOnEyePC : path.fOnMirrorPC4;
        EXPECT_EQ(path.fGet(), KzHostTest::ReplaceAll(KzHostTest::ReplaceAll(expected, "~", Home()),
                                                      "{night}", night))
            << path.fCall << (onEyePC ? " on the EyePC" : " on MirrorPC 4");
      }
      EXPECT_TRUE(fs::is_directory(Naming().GetRunDataDirectory()));
      EXPECT_TRUE(fs::is_directory(Home() + "/mirrorpc3/" + night + "test"));
      ExpectMirrorIdRefused([] { Naming().GetMirrorConfigDirectory(28); });
    });
  }
}

TEST_F(KzNamingOnDaqHost, IllegalMirrorDirectoryEndsTheProcess) {
  for (unsigned int mirror : {7u, 27u}) {
    const KzTest::ChildResult result = Run(MirrorPC4("daq"), [mirror] {
      Naming().GetMirrorDirectoryName(mirror);
      ADD_FAILURE() << "still running";
    });
    EXPECT_EQ(result.fExitCode, 1);
    EXPECT_TRUE(Contains(result.fStderr, "KzNaming::GetMirrorDirectoryName(" +
                                             std::to_string(mirror) +
                                             ") - passed Mirror id is illegal !"))
        << result.fStderr;
    EXPECT_FALSE(Contains(result.fStdout, "still running"));
  }
}

TEST_F(KzNamingOnDaqHost, LoftMirrorPCsAboveTheThirdHaveNoConfigDirectory) {
  for (const std::string host : {"mirrorpc3", "mirrorpc4", "mirrorpc5", "mirrorpc6"}) {
    OnHost(Host(host, host + ".eye5-vesta.lan", "daq"), [&] {
      if (host != "mirrorpc3") return ExpectMirrorIdRefused([] { Naming().GetConfigDirectory(); });
      EXPECT_EQ(Naming().GetObservatoryMirrorId(3), 27u);
      EXPECT_EQ(Naming().GetConfigDirectory(), Home() + "/general/mirrorpc3/");
    });
  }
}

TEST_F(KzNamingOnDaqHost, BaseIsTheEyeTreeOnlyForTheExactSystemAccountOnADaqHost) {
  const struct {
    KzTest::HostSetup fHost;
    const char* fFlags;  // the flags line of Test()
    const char* fBase;   // ~ stands for HOME
  } cases[] = {
      {EyePC("vesta"), "fIsVestaSystem= 1 fIsVestaUser= 1", "/home/vesta/KZ-BirchRidge"},
      {Host("mirrorpc2", "mirrorpc2.eye3-vesta.lan", "vesta"), "fIsVestaSystem= 1 fIsVestaUser= 1",
       "/home/vesta/KZ-CedarSlope"},
      {EyePC("vestaops"), "fIsVestaSystem= 1 fIsVestaUser= 0", "~"},
      {Host("ana7", "ana7.physics.example.org", "vesta"), "fIsVestaSystem= 0 fIsVestaUser= 1", "~"},
      {MirrorPC4(""), "fIsVestaSystem= 1 fIsVestaUser= 0", "~"},  // no password entry
  };
  for (const auto& c : cases) {
    OnHost(c.fHost, [&] {
      const std::string base = KzHostTest::ReplaceAll(c.fBase, "~", Home());
      EXPECT_EQ(Naming().GetBaseDirectory(), base) << c.fHost.fHostname;
      std::ostringstream out;
      Naming().Test(out);
      EXPECT_TRUE(Contains(out.str(), "\n" + std::string(c.fFlags) + "\n")) << out.str();
      EXPECT_TRUE(Contains(out.str(), "\nGetBaseDirectory:   " + base + "\n")) << out.str();
    });
  }
}

TEST_F(KzNamingOnDaqHost, SystemAccountMakesDataDirectoriesInTheEyeTree) {
  OnHost(EyePC("vesta"), [] {
    PrivateHome();
    const std::string date = Naming().GetDirectoryFromDate();
    const std::string run = Naming().GetEyeRunDataDirectory();
    EXPECT_EQ(run, "/home/vesta/KZ-BirchRidge/eyepc/" + date + "run/");
    const std::string calibration = Naming().GetMirrorCalibrationDataDirectory(5);
    EXPECT_EQ(calibration, "/home/vesta/KZ-BirchRidge/mirrorpc5/" + date + "calib/");
    EXPECT_TRUE(fs::is_directory(run) && fs::is_directory(calibration));
  });
}

TEST_F(KzNamingOnDaqHost, SystemAccountBaseThatIsAFileIsRefused) {
  const KzTest::ChildResult result = OnHost(EyePC("vesta"), [] {
    PrivateHome();
    fs::create_directories("/home/vesta");
    std::ofstream("/home/vesta/KZ-BirchRidge") << "not a directory";
    EXPECT_EQ(Naming().GetBaseDirectory(), "");
  });
  EXPECT_TRUE(Contains(result.fStderr,
                       "KzNaming::GetBaseDirectory() - /home/vesta/KZ-BirchRidge is "
                       "not a directory !"))
      << result.fStderr;
}

TEST_F(KzNamingOnDaqHost, AccountHomeOfTheOtherHostStopsWithoutAPasswordEntry) {
  const KzTest::ChildResult fromMirror = Run(MirrorPC4(""), [] { Naming().GetEyeHomeDirectory(); });
  const KzTest::ChildResult fromEye = Run(EyePC(""), [] { Naming().GetMirrorHomeDirectory(); });
  for (const KzTest::ChildResult& result : {fromMirror, fromEye}) {
    EXPECT_EQ(result.fSignal, SIGABRT) << result.fStdout << result.fStderr;
    EXPECT_TRUE(Contains(result.fStderr, "Assertion `user != __null' failed.")) << result.fStderr;
  }
}

}  // namespace
