// Naming on the hosts of the data-acquisition system: the EyePC and MirrorPCs
// of an eye, run for real in a child with its own host name, /etc/hosts and
// /etc/passwd, under an ordinary account, the system account vesta, and a user
// id that has no password entry at all.
#include <signal.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "KzNaming.h"
#include "KzTestSupport.h"

using KzUtil::KzNaming;
namespace fs = std::filesystem;

namespace {

KzNaming& Naming() { return KzUtil::Singleton<KzNaming>::GetInstance(); }

// A password table whose entry for the effective user carries this name
// (none when name is empty), so getpwuid(geteuid()) answers with it.
std::string Passwd(const std::string& name) {
  std::string table = "nobody:x:65534:65534:nobody:/nonexistent:/usr/sbin/nologin\n";
  if (!name.empty())
    table +=
        name + ":x:" + std::to_string(geteuid()) + ":0:" + name + ":/home/" + name + ":/bin/sh\n";
  return table;
}

// Host hostname resolving to fqdn, the effective user named user.
KzTest::HostSetup DaqHost(const std::string& hostname, const std::string& fqdn,
                          const std::string& user) {
  return {hostname,
          {{"/etc/hosts", "127.0.0.1 localhost\n10.2.0.10 " + fqdn + " " + hostname + "\n"},
           {"/etc/passwd", Passwd(user)},
           // Files only: no other service may invent a user the table lacks.
           {"/etc/nsswitch.conf", "passwd: files\ngroup: files\nhosts: files\nnetworks: files\n"}}};
}

KzTest::HostSetup EyePC(const std::string& user) {
  return DaqHost("eyepc", "eyepc.eye2-vesta.lan", user);
}

KzTest::HostSetup MirrorPC4(const std::string& user) {
  return DaqHost("mirrorpc4", "mirrorpc4.eye2-vesta.lan", user);
}

// Gives the child an empty /home of its own, so the system account's tree can be made.
void PrivateHome() { ASSERT_EQ(mount("tmpfs", "/home", "tmpfs", 0, nullptr), 0); }

template <class E>
void ExpectThrowWithText(const std::function<void()>& call, const char* text) {
  try {
    call();
    ADD_FAILURE() << "no exception";
  } catch (const E& e) {
    EXPECT_STREQ(e.what(), text);
  }
}

class KzNamingOnDaqHost : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string why;
    if (!KzTest::NamespacesAvailable(&why)) GTEST_SKIP() << why;
  }

  // Runs body on host with HOME in a fresh directory and no identity variables.
  KzTest::ChildResult Run(const KzTest::HostSetup& host, const std::function<void()>& body) {
    return KzTest::RunOnHost(host, [&] {
      setenv("HOME", Home().c_str(), 1);
      unsetenv("KZ_EYE_ID");
      unsetenv("KZ_MIRROR_ID");
      body();
    });
  }

  KzTest::ChildResult OnHost(const KzTest::HostSetup& host, const std::function<void()>& body) {
    const KzTest::ChildResult result = Run(host, body);
    EXPECT_EQ(result.fExitCode, 0) << result.fStdout << result.fStderr;
    return result;
  }

  std::string Home() const { return fHome.Path(); }

  KzTest::TempDir fHome;
};

using KzNamingEyePC = KzNamingOnDaqHost;

TEST_F(KzNamingEyePC, HostsAreNamedEyepcAndMirrorpcN) {
  OnHost(EyePC("daq"), [] {
    EXPECT_TRUE(Naming().IsVestaSystem());
    EXPECT_FALSE(Naming().IsVestaTestSystem());
    EXPECT_EQ(Naming().GetEyeDirectoryName(), "eyepc");
    EXPECT_EQ(Naming().GetSystemDirectoryName(), "eyepc");
    EXPECT_EQ(Naming().GetMirrorDirectoryName(0), "eyepc");
    EXPECT_EQ(Naming().GetMirrorDirectoryName(1), "mirrorpc1");
    EXPECT_EQ(Naming().GetMirrorDirectoryName(6), "mirrorpc6");
  });
}

TEST_F(KzNamingEyePC, SeesMirrorHomesInTheExportedTree) {
  OnHost(EyePC("daq"), [&] {
    EXPECT_EQ(Naming().GetEyeHomeDirectory(), Home());
    EXPECT_EQ(Naming().GetMirrorHomeDirectory(), "/export/mirror_home/daq");
  });
}

TEST_F(KzNamingEyePC, EveryMirrorConfigIsTheOneExportedEyepcDirectory) {
  OnHost(EyePC("daq"), [&] {
    EXPECT_EQ(Naming().GetEyeConfigDirectory(), Home() + "/general/eyepc/");
    EXPECT_EQ(Naming().GetConfigDirectory(), Home() + "/general/eyepc/");
    for (unsigned int mirror : {0u, 3u, 9u, 27u})
      EXPECT_EQ(Naming().GetMirrorConfigDirectory(mirror), "/export/mirror_home/daq/general/eyepc/")
          << mirror;
    ExpectThrowWithText<std::invalid_argument>([] { Naming().GetMirrorConfigDirectory(28); },
                                               "passed Mirror ID not valid");
  });
}

TEST_F(KzNamingEyePC, OrdinaryAccountKeepsDataUnderHome) {
  OnHost(EyePC("daq"), [&] {
    const std::string date = Naming().GetDirectoryFromDate();
    EXPECT_EQ(Naming().GetBaseDirectory(), Home());
    EXPECT_EQ(Naming().GetRunDataDirectory(), Home() + "/eyepc/" + date + "run/");
    EXPECT_EQ(Naming().GetMirrorTestDataDirectory(3), Home() + "/mirrorpc3/" + date + "test/");
    EXPECT_TRUE(fs::is_directory(Home() + "/eyepc/" + date + "run"));
    EXPECT_TRUE(fs::is_directory(Home() + "/mirrorpc3/" + date + "test"));
  });
}

using KzNamingMirrorPC = KzNamingOnDaqHost;

TEST_F(KzNamingMirrorPC, HostIsNamedAfterItsMirror) {
  OnHost(MirrorPC4("daq"), [] {
    EXPECT_TRUE(Naming().IsVestaSystem());
    EXPECT_EQ(Naming().GetEyeDirectoryName(), "eyepc");
    EXPECT_EQ(Naming().GetSystemDirectoryName(), "mirrorpc4");
    EXPECT_EQ(Naming().GetMirrorDirectoryName(0), "mirrorpc4");
    EXPECT_EQ(Naming().GetMirrorDirectoryName(2), "mirrorpc2");
  });
}

TEST_F(KzNamingMirrorPC, SeesTheEyeHomeUnderHomeEyePC) {
  OnHost(MirrorPC4("daq"), [&] {
    EXPECT_EQ(Naming().GetEyeHomeDirectory(), "/home/eyePC/daq");
    EXPECT_EQ(Naming().GetMirrorHomeDirectory(), Home());
  });
}

TEST_F(KzNamingMirrorPC, ConfigIsPerMirrorUnderHome) {
  OnHost(MirrorPC4("daq"), [&] {
    EXPECT_EQ(Naming().GetConfigDirectory(), Home() + "/general/mirrorpc4/");
    EXPECT_EQ(Naming().GetMirrorConfigDirectory(9), Home() + "/general/mirrorpc3/");
    EXPECT_EQ(Naming().GetMirrorConfigDirectory(3), Home() + "/general/mirrorpc3/");
    EXPECT_EQ(Naming().GetMirrorConfigDirectory(24), Home() + "/general/mirrorpc6/");
    EXPECT_EQ(Naming().GetEyeConfigDirectory(), "/home/eyePC/daq/general/eyepc/");
    ExpectThrowWithText<std::invalid_argument>([] { Naming().GetMirrorConfigDirectory(28); },
                                               "passed Mirror ID not valid");
  });
}

TEST_F(KzNamingMirrorPC, FileNamesCarryTheObservatoryMirror) {
  OnHost(MirrorPC4("daq"), [&] {
    Naming().SetOption(KzNaming::kUseIsoDate, false);
    Naming().SetOption(KzNaming::kUseIsoTime, false);
    EXPECT_EQ(Naming().GetRunDataFilename(1234, "root", 4), "run_m10_001234.root");
    EXPECT_EQ(Naming().GetRunDataFilename(1234, "root", 0), "run_e2_001234.root");
    EXPECT_EQ(Naming().GetRunDataDirectory(),
              Home() + "/mirrorpc4/" + Naming().GetDirectoryFromDate() + "run/");
  });
}

TEST_F(KzNamingMirrorPC, IllegalMirrorDirectoryEndsTheProcess) {
  for (unsigned int mirror : {7u, 27u}) {
    const KzTest::ChildResult result = Run(MirrorPC4("daq"), [mirror] {
      Naming().GetMirrorDirectoryName(mirror);
      ADD_FAILURE() << "still running";
    });
    EXPECT_EQ(result.fExitCode, 1);
    const std::string message = "KzNaming::GetMirrorDirectoryName(" + std::to_string(mirror) +
                                ") - passed Mirror id is illegal !";
    EXPECT_NE(result.fStderr.find(message), std::string::npos) << result.fStderr;
    EXPECT_EQ(result.fStdout.find("still running"), std::string::npos);
  }
}

using KzNamingLoftMirrorPC = KzNamingOnDaqHost;

TEST_F(KzNamingLoftMirrorPC, UpperThreeMirrorsHaveNoConfigDirectory) {
  for (const char* host : {"mirrorpc4", "mirrorpc5", "mirrorpc6"}) {
    OnHost(DaqHost(host, std::string(host) + ".eye5-vesta.lan", "daq"), [] {
      ExpectThrowWithText<std::invalid_argument>([] { Naming().GetConfigDirectory(); },
                                                 "passed Mirror ID not valid");
    });
  }
}

TEST_F(KzNamingLoftMirrorPC, ThirdMirrorIsTheLastOfTheObservatory) {
  OnHost(DaqHost("mirrorpc3", "mirrorpc3.eye5-vesta.lan", "daq"), [&] {
    EXPECT_EQ(Naming().GetObservatoryMirrorId(3), 27u);
    EXPECT_EQ(Naming().GetConfigDirectory(), Home() + "/general/mirrorpc3/");
  });
}

using KzNamingSystemAccount = KzNamingOnDaqHost;

TEST_F(KzNamingSystemAccount, BaseIsTheEyeTreeUnderVestaHome) {
  OnHost(EyePC("vesta"), [] {
    EXPECT_EQ(Naming().GetBaseDirectory(), "/home/vesta/KZ-BirchRidge");
    std::ostringstream out;
    Naming().Test(out);
    EXPECT_NE(out.str().find("\nfIsVestaSystem= 1 fIsVestaUser= 1\n"), std::string::npos);
    EXPECT_NE(out.str().find("\nGetBaseDirectory:   /home/vesta/KZ-BirchRidge\n"),
              std::string::npos)
        << out.str();
  });
  OnHost(DaqHost("mirrorpc2", "mirrorpc2.eye3-vesta.lan", "vesta"),
         [] { EXPECT_EQ(Naming().GetBaseDirectory(), "/home/vesta/KZ-CedarSlope"); });
}

TEST_F(KzNamingSystemAccount, DataDirectoriesAreMadeInTheEyeTree) {
  OnHost(EyePC("vesta"), [] {
    PrivateHome();
    const std::string date = Naming().GetDirectoryFromDate();
    const std::string run = Naming().GetEyeRunDataDirectory();
    EXPECT_EQ(run, "/home/vesta/KZ-BirchRidge/eyepc/" + date + "run/");
    EXPECT_TRUE(fs::is_directory(run));
    const std::string calibration = Naming().GetMirrorCalibrationDataDirectory(5);
    EXPECT_EQ(calibration, "/home/vesta/KZ-BirchRidge/mirrorpc5/" + date + "calib/");
    EXPECT_TRUE(fs::is_directory(calibration));
  });
}

TEST_F(KzNamingSystemAccount, BaseThatIsAFileIsRefused) {
  const KzTest::ChildResult result = OnHost(EyePC("vesta"), [] {
    PrivateHome();
    fs::create_directories("/home/vesta");
    std::ofstream("/home/vesta/KZ-BirchRidge") << "not a directory";
    EXPECT_EQ(Naming().GetBaseDirectory(), "");
  });
  EXPECT_NE(result.fStderr.find("KzNaming::GetBaseDirectory() - /home/vesta/KZ-BirchRidge is "
                                "not a directory !"),
            std::string::npos)
      << result.fStderr;
}

TEST_F(KzNamingSystemAccount, OnlyTheExactNameOnADaqHostCounts) {
  OnHost(EyePC("vestaops"), [&] { EXPECT_EQ(Naming().GetBaseDirectory(), Home()); });
  OnHost(DaqHost("ana7", "ana7.physics.example.org", "vesta"),
         [&] { EXPECT_EQ(Naming().GetBaseDirectory(), Home()); });
}

using KzNamingWithoutPasswordEntry = KzNamingOnDaqHost;

TEST_F(KzNamingWithoutPasswordEntry, UserIsNotTheSystemAccount) {
  OnHost(MirrorPC4(""), [&] {
    std::ostringstream out;
    Naming().Test(out);
    EXPECT_NE(out.str().find("\nfIsVestaSystem= 1 fIsVestaUser= 0\n"), std::string::npos)
        << out.str();
    EXPECT_EQ(Naming().GetBaseDirectory(), Home());
    EXPECT_EQ(Naming().GetMirrorHomeDirectory(), Home());
    EXPECT_EQ(Naming().GetConfigDirectory(), Home() + "/general/mirrorpc4/");
  });
}

TEST_F(KzNamingWithoutPasswordEntry, AccountHomeOfTheOtherHostStopsTheProcess) {
  const KzTest::ChildResult fromMirror = Run(MirrorPC4(""), [] { Naming().GetEyeHomeDirectory(); });
  const KzTest::ChildResult fromEye = Run(EyePC(""), [] { Naming().GetMirrorHomeDirectory(); });
  for (const KzTest::ChildResult& result : {fromMirror, fromEye}) {
    EXPECT_EQ(result.fSignal, SIGABRT) << result.fStdout << result.fStderr;
    EXPECT_NE(result.fStderr.find("Assertion `user != __null' failed."), std::string::npos)
        << result.fStderr;
  }
}

}  // namespace
