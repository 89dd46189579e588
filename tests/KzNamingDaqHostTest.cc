// Naming on the EyePC and MirrorPCs of an eye, run for real in a child with its own
// host name, /etc/hosts and /etc/passwd: under an ordinary account, the system
// account vesta, and a user id that has no password entry at all.
#include <sys/mount.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "KzHostTestSupport.h"

using KzHostTest::Contains;
using KzHostTest::Host;
using KzHostTest::Naming;
namespace fs = std::filesystem;

namespace {

// Eye 2's EyePC and MirrorPC 4, the effective user named user ("" = no password entry).
KzTest::HostSetup EyePC(const char* user) { return Host("eyepc", "eyepc.eye2-vesta.lan", user); }
KzTest::HostSetup MirrorPC4(const char* user) {
  return Host("mirrorpc4", "mirrorpc4.eye2-vesta.lan", user);
}

const char* const kMirrorIdRefused = "invalid_argument: passed Mirror ID not valid";

#define CALL(call) #call, [] { return Naming().call; }

const struct {
  const char* fCall;
  std::function<std::string()> fGet;
  const char* fOnEyePC;  // ~ stands for HOME, {night} for the night's date directory
  const char* fOnMirrorPC4;
} kPathsOfUserDaq[] = {
    {CALL(GetEyeDirectoryName()), "eyepc", "eyepc"},
    {CALL(GetSystemDirectoryName()), "eyepc", "mirrorpc4"},
    {CALL(GetMirrorDirectoryName(1)), "mirrorpc1", "mirrorpc1"},
    {CALL(GetMirrorDirectoryName(6)), "mirrorpc6", "mirrorpc6"},
    {CALL(GetEyeHomeDirectory()), "~", "/home/eyePC/daq"},
    {CALL(GetMirrorHomeDirectory()), "/export/mirror_home/daq", "~"},
    {CALL(GetEyeConfigDirectory()), "~/general/eyepc/", "/home/eyePC/daq/general/eyepc/"},
    {CALL(GetConfigDirectory()), "~/general/eyepc/", "~/general/mirrorpc4/"},
    {CALL(GetMirrorConfigDirectory(0)), "/export/mirror_home/daq/general/eyepc/",
     "~/general/mirrorpc0/"},
    {CALL(GetMirrorConfigDirectory(9)), "/export/mirror_home/daq/general/eyepc/",
     "~/general/mirrorpc3/"},
    {CALL(GetRunDataDirectory()), "~/eyepc/{night}run/", "~/mirrorpc4/{night}run/"},
    {CALL(GetMirrorTestDataDirectory(3)), "~/mirrorpc3/{night}test/", "~/mirrorpc3/{night}test/"},
};

#undef CALL

using KzNamingOnDaqHost = KzHostTest::OnOwnHost;

TEST_F(KzNamingOnDaqHost, EyePCAndMirrorPCPathsOfAnOrdinaryAccount) {
  for (const bool onEyePC : {true, false}) {
    OnHost(onEyePC ? EyePC("daq") : MirrorPC4("daq"), [&] {
      EXPECT_TRUE(Naming().IsVestaSystem());
      EXPECT_FALSE(Naming().IsVestaTestSystem());
      const std::string night = Naming().GetDirectoryFromDate();
      for (const auto& path : kPathsOfUserDaq) {
        const std::string expected = onEyePC ? path.fOnEyePC : path.fOnMirrorPC4;
        EXPECT_EQ(path.fGet(), KzHostTest::ReplaceAll(KzHostTest::ReplaceAll(expected, "~", Home()),
                                                      "{night}", night))
            << path.fCall << (onEyePC ? " on the EyePC" : " on MirrorPC 4");
      }
      EXPECT_TRUE(fs::is_directory(Home() + "/mirrorpc3/" + night + "test"));
      EXPECT_EQ(KzTest::Thrown([] { Naming().GetMirrorConfigDirectory(28); }), kMirrorIdRefused);
    });
  }
}

TEST_F(KzNamingOnDaqHost, IllegalMirrorDirectoryEndsTheProcess) {
  const KzTest::ChildResult result = Run(MirrorPC4("daq"), [] {
    Naming().GetMirrorDirectoryName(7);
    std::cout << "still running";
  });
  EXPECT_EQ(result.fExitCode, 1);
  EXPECT_EQ(result.fStdout, "");
  EXPECT_TRUE(Contains(result.fStderr,
                       "KzNaming::GetMirrorDirectoryName(7) - passed Mirror id is illegal !"))
      << result.fStderr;
}

TEST_F(KzNamingOnDaqHost, LoftMirrorPCsAboveTheThirdHaveNoConfigDirectory) {
  for (const std::string host : {"mirrorpc3", "mirrorpc4", "mirrorpc5", "mirrorpc6"}) {
    OnHost(Host(host, host + ".eye5-vesta.lan", "daq"), [&] {
      if (host == "mirrorpc3") {
        EXPECT_EQ(Naming().GetObservatoryMirrorId(3), 27u);
      }
      EXPECT_EQ(KzTest::Thrown([] { Naming().GetConfigDirectory(); }),
                host == "mirrorpc3" ? "nothing thrown" : kMirrorIdRefused);
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
    });
  }
}

TEST_F(KzNamingOnDaqHost, SystemAccountBaseThatIsAFileIsRefused) {
  const KzTest::ChildResult result = OnHost(EyePC("vesta"), [] {
    ASSERT_EQ(mount("tmpfs", "/home", "tmpfs", 0, nullptr), 0);  // an empty /home of its own
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
