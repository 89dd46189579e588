#include "KzConfig.h"

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <map>
#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "ErrorLogger.h"
#include "KzTestSupport.h"

namespace KzUtil {
namespace {

// Host look-ups and the network table come from the files alone, whatever this machine uses.
const char* const kNsswitch = "hosts: files\nnetworks: files\n";
const char* const kNetworks = "loopback 127.0.0.0\nlink-local 169.254.0.0\n";

struct Site {
  std::string fHostname = "";                    // the short host name
  std::string fFQHostname = "";                  // the resolver's answer; empty: does not resolve
  std::string fNetworks = kNetworks;             // content of /etc/networks
  bool fNoNetworks = false;                      // /etc/networks missing altogether
  std::map<std::string, std::string> fEnv = {};  // KZ_EYE_ID, KZ_MIRROR_ID
  int fPrintLevel = 0;
};

struct Identity {
  std::string fDecision;  // "eye 2 mirror 4 EyePC 0 MirrorPC 1"
  std::string fLog;       // what was logged, debug lines without source line numbers
};

std::string Hosts(const Site& site) {
  std::string hosts = "127.0.0.1 localhost\n";
  if (!site.fFQHostname.empty())
    hosts += "10.20.30.40 " + site.fFQHostname + " " + site.fHostname + "\n";
  return hosts;
}

// Builds the host identity in a child that runs on the site's host and reports it.
Identity IdentityOf(const Site& site) {
  KzTest::HostSetup host{site.fHostname,
                         {{"/etc/hosts", Hosts(site)}, {"/etc/nsswitch.conf", kNsswitch}}};
  if (site.fNoNetworks)
    host.fHidden = {"/etc/networks"};
  else
    host.fFiles["/etc/networks"] = site.fNetworks;
  const KzTest::ChildResult child = KzTest::RunOnHost(host, [&site] {
    unsetenv("KZ_EYE_ID");
    unsetenv("KZ_MIRROR_ID");
    for (const auto& [name, value] : site.fEnv) setenv(name.c_str(), value.c_str(), 1);
    KzConfig::SetPrintLevel(site.fPrintLevel);
    if (site.fPrintLevel) ErrorLogger::GetInstance().SetLoggingLevel(ErrorLogger::eDebug, true);
    const KzConfig& config = Singleton<KzConfig>::GetInstance();
    std::cout << "eye " << config.GetEyeId() << " mirror " << config.GetMirrorId() << " EyePC "
              << config.IsEyePC() << " MirrorPC " << config.IsMirrorPC();
  });
  EXPECT_EQ(child.fExitCode, 0) << child.fStderr;
  return {child.fStdout,
          std::regex_replace(child.fStderr, std::regex("DBG:KzConfig\\.cc:[0-9]+: "), "DBG: ")};
}

const std::string kLookupFailed =
    "KzConfig::KzConfig() - gethostbyname() could not do name lookup for '";
const std::string kHostNotFound = "KzConfig::KzConfig() - gethostbyname() h_errno= 1\n";
const std::string kNoNetEntry =
    "KzConfig::KzConfig() - could not read net entry from /etc/networks !\n";

std::string LookupFailed(const std::string& host) {
  return kLookupFailed + host + "' !\n" + kHostNotFound;
}

class HostIdentity : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string why;
    if (!KzTest::NamespacesAvailable(&why)) GTEST_SKIP() << why;
  }
};

using MirrorPC = HostIdentity;
using EyeFromHostName = HostIdentity;
using NetworkNames = HostIdentity;
using TestEyePC = HostIdentity;
using UnresolvedHost = HostIdentity;
using IdentityEnvironment = HostIdentity;
using HostNumberRecords = HostIdentity;

TEST_F(UnresolvedHost, IsEyeOneMirrorOneWithTwoErrors) {
  const Identity id = IdentityOf({"analysis7"});
  EXPECT_EQ(id.fDecision, "eye 1 mirror 1 EyePC 0 MirrorPC 0");
  EXPECT_EQ(id.fLog, LookupFailed("analysis7"));
}

TEST_F(UnresolvedHost, NetworkTableIsReadButCannotNameTheEye) {
  Site site{"analysis7"};
  site.fNetworks = "kz-dunmere 10.4.0.0\nloopback 127.0.0.0\n";
  site.fPrintLevel = 1;
  const Identity id = IdentityOf(site);
  EXPECT_EQ(id.fDecision, "eye 1 mirror 1 EyePC 0 MirrorPC 0");
  EXPECT_EQ(id.fLog, "DBG: KzConfig::KzConfig() - gethostname()= analysis7\n" +
                         LookupFailed("analysis7") +
                         "DBG: KzConfig::KzConfig() - getnetent()= kz-dunmere\n"
                         "DBG: KzConfig::KzConfig() - getnetent()= loopback\n");
}

TEST_F(UnresolvedHost, EmptyNetworkTableAddsOneError) {
  Site site{"analysis7"};
  site.fNetworks = "";
  const Identity id = IdentityOf(site);
  EXPECT_EQ(id.fDecision, "eye 1 mirror 1 EyePC 0 MirrorPC 0");
  EXPECT_EQ(id.fLog, LookupFailed("analysis7") + kNoNetEntry);
}

TEST_F(UnresolvedHost, MissingNetworkTableAddsOneError) {
  Site site{"analysis7"};
  site.fNoNetworks = true;
  const Identity id = IdentityOf(site);
  EXPECT_EQ(id.fDecision, "eye 1 mirror 1 EyePC 0 MirrorPC 0");
  EXPECT_EQ(id.fLog, LookupFailed("analysis7") + kNoNetEntry);
}

TEST_F(MirrorPC, ShortNameGivesMirrorAndFullNameTheEye) {
  Site site{"mirrorpc4", "mirrorpc4.eye2-vesta.lan"};
  site.fPrintLevel = 1;
  const Identity id = IdentityOf(site);
  EXPECT_EQ(id.fDecision, "eye 2 mirror 4 EyePC 0 MirrorPC 1");
  EXPECT_EQ(id.fLog,
            "DBG: KzConfig::KzConfig() - gethostname()= mirrorpc4\n"
            "DBG: Match with Mirror name 'mirrorpc4' detected !\n"
            "DBG: KzConfig::KzConfig() - fFQHostname= mirrorpc4.eye2-vesta.lan\n"
            "KzConfig::DetermineEyeId() - match with Mirror LAN 'eye2-vesta' detected !\n");
}

TEST_F(MirrorPC, SmallestMirrorNumberInTheNameWins) {
  const Identity id = IdentityOf({"mirrorpc5-mirrorpc2"});
  EXPECT_EQ(id.fDecision, "eye 1 mirror 2 EyePC 0 MirrorPC 1");
}

TEST_F(MirrorPC, SeventhMirrorIsNotAMirrorPC) {
  const Identity id = IdentityOf({"mirrorpc7", "mirrorpc7.lan"});
  EXPECT_EQ(id.fDecision, "eye 1 mirror 1 EyePC 0 MirrorPC 0");
  EXPECT_EQ(id.fLog, "");
}

TEST_F(MirrorPC, FoundInTheFullyQualifiedNameInAnyCase) {
  const Identity id = IdentityOf({"DAQ3", "MirrorPC3.Eye4-Vesta.LAN"});
  EXPECT_EQ(id.fDecision, "eye 4 mirror 3 EyePC 0 MirrorPC 1");
}

TEST_F(MirrorPC, NetworkNamesDoNotMakeItAnEyePC) {
  const Identity id = IdentityOf({"mirrorpc1", "mirrorpc1.kz-cedar.lan"});
  EXPECT_EQ(id.fDecision, "eye 1 mirror 1 EyePC 0 MirrorPC 1");
}

TEST_F(EyeFromHostName, VestaLanNamesTheEyeOfAnEyePC) {
  const Identity id = IdentityOf({"daq", "daq.eye3-vesta.lan"});
  EXPECT_EQ(id.fDecision, "eye 3 mirror 1 EyePC 1 MirrorPC 0");
  EXPECT_EQ(id.fLog, "");
}

TEST_F(EyeFromHostName, VestaLanOutranksNetworkNames) {
  const Identity id = IdentityOf({"daq", "daq.eye2-vesta.kz-dunmere.lan"});
  EXPECT_EQ(id.fDecision, "eye 2 mirror 1 EyePC 1 MirrorPC 0");
}

TEST_F(EyeFromHostName, EyesSixAndSevenFallBackToTheDefault) {
  Site six{"daq", "daq.eye6-vesta.lan"};
  Identity id = IdentityOf(six);
  EXPECT_EQ(id.fDecision, "eye 1 mirror 1 EyePC 1 MirrorPC 0");
  EXPECT_EQ(id.fLog, "KzConfig::DetermineEyeId() - fEyeId= 6 detected ! Set to 1 !!!\n");

  Site seven{"daq", "daq.eye7-vesta.lan"};
  seven.fEnv = {{"KZ_EYE_ID", "2"}};
  id = IdentityOf(seven);
  EXPECT_EQ(id.fDecision, "eye 2 mirror 1 EyePC 1 MirrorPC 0");
  EXPECT_EQ(id.fLog,
            "KzConfig::KzConfig() - getenv(KZ_EYE_ID)= 2\n"
            "KzConfig::DetermineEyeId() - fEyeId= 7 detected ! Set to 2 !!!\n");
}

TEST_F(EyeFromHostName, EyePCInTheShortNameKeepsTheEnvironmentsEye) {
  Site site{"EyePC"};
  site.fEnv = {{"KZ_EYE_ID", "3"}};
  const Identity id = IdentityOf(site);
  EXPECT_EQ(id.fDecision, "eye 3 mirror 1 EyePC 1 MirrorPC 0");
  EXPECT_EQ(id.fLog, "KzConfig::KzConfig() - getenv(KZ_EYE_ID)= 3\n" + LookupFailed("eyepc"));
}

TEST_F(NetworkNames, NameTheEyeOfAnEyePC) {
  const Identity id = IdentityOf({"daq", "daq.kz-cedar.lan"});
  EXPECT_EQ(id.fDecision, "eye 3 mirror 1 EyePC 1 MirrorPC 0");
}

TEST_F(NetworkNames, LastMatchWins) {
  const Identity id = IdentityOf({"daq", "daq.kz-dunmere.kz-alder.lan"});
  EXPECT_EQ(id.fDecision, "eye 4 mirror 1 EyePC 1 MirrorPC 0");
}

TEST_F(NetworkNames, TestbayIsAnEyePCOfTheDefaultEye) {
  Site site{"daq", "daq.kz-testbay.lan"};
  site.fEnv = {{"KZ_EYE_ID", "2"}};
  site.fPrintLevel = 1;
  const Identity id = IdentityOf(site);
  EXPECT_EQ(id.fDecision, "eye 2 mirror 1 EyePC 1 MirrorPC 0");
  EXPECT_EQ(id.fLog,
            "KzConfig::KzConfig() - getenv(KZ_EYE_ID)= 2\n"
            "DBG: KzConfig::KzConfig() - gethostname()= daq\n"
            "DBG: KzConfig::KzConfig() - fFQHostname= daq.kz-testbay.lan\n"
            "KzConfig::DetermineEyeId() - found EyeID= 7 mapped to default EyeID= 2\n");
}

TEST_F(NetworkNames, OutrankTheEnvironment) {
  Site site{"daq", "daq.kz-cedar.lan"};
  site.fEnv = {{"KZ_EYE_ID", "2"}};
  const Identity id = IdentityOf(site);
  EXPECT_EQ(id.fDecision, "eye 3 mirror 1 EyePC 1 MirrorPC 0");
}

TEST_F(TestEyePC, DaqHostIsEyeOneWithoutNetworkTable) {
  Site site{"kzlab-daq"};
  site.fNetworks = "";
  site.fEnv = {{"KZ_EYE_ID", "3"}};
  site.fPrintLevel = 1;
  const Identity id = IdentityOf(site);
  EXPECT_EQ(id.fDecision, "eye 1 mirror 1 EyePC 1 MirrorPC 0");
  EXPECT_EQ(id.fLog,
            "KzConfig::KzConfig() - getenv(KZ_EYE_ID)= 3\n"
            "DBG: KzConfig::KzConfig() - gethostname()= kzlab-daq\n" +
                LookupFailed("kzlab-daq") +
                "DBG: KzConfig::KzConfig() - match with test EyePC 'kzlab-daq' was detected !\n");
}

TEST_F(TestEyePC, BenchHostIsEyeOneWithoutNetworkTable) {
  Site site{"KzLab-Bench"};
  site.fNetworks = "";
  site.fPrintLevel = 1;
  const Identity id = IdentityOf(site);
  EXPECT_EQ(id.fDecision, "eye 1 mirror 1 EyePC 1 MirrorPC 0");
  EXPECT_EQ(id.fLog,
            "DBG: KzConfig::KzConfig() - gethostname()= KzLab-Bench\n" +
                LookupFailed("kzlab-bench") +
                "DBG: KzConfig::KzConfig() - match with test EyePC 'kzlab-bench' was detected !\n");
}

TEST_F(IdentityEnvironment, SetsTheDefaultsOfEyeAndMirror) {
  Site site{"analysis7", "analysis7.lan"};
  site.fEnv = {{"KZ_EYE_ID", "4"}, {"KZ_MIRROR_ID", "5"}};
  const Identity id = IdentityOf(site);
  EXPECT_EQ(id.fDecision, "eye 4 mirror 5 EyePC 0 MirrorPC 0");
  EXPECT_EQ(id.fLog,
            "KzConfig::KzConfig() - getenv(KZ_EYE_ID)= 4\n"
            "KzConfig::KzConfig() - getenv(KZ_MIRROR_ID)= 5\n");
}

TEST_F(IdentityEnvironment, HostNameOutranksTheEnvironment) {
  Site site{"mirrorpc6", "mirrorpc6.eye5-vesta.lan"};
  site.fEnv = {{"KZ_EYE_ID", "2"}, {"KZ_MIRROR_ID", "1"}};
  const Identity id = IdentityOf(site);
  EXPECT_EQ(id.fDecision, "eye 5 mirror 6 EyePC 0 MirrorPC 1");
}

TEST_F(IdentityEnvironment, NonNumericEyeIsZeroAndRefusedByTheMirrorRecord) {
  Site site{"analysis7", "analysis7.lan"};
  site.fEnv = {{"KZ_EYE_ID", "north"}};
  const Identity id = IdentityOf(site);
  EXPECT_EQ(id.fDecision, "eye 0 mirror 1 EyePC 0 MirrorPC 0");
  EXPECT_EQ(id.fLog,
            "KzConfig::KzConfig() - getenv(KZ_EYE_ID)= north\n"
            "Kz::SetEyeNo(MirrorNumber) - Eye number 0 is not inside valid range !\n");
}

TEST_F(IdentityEnvironment, EyeSevenStaysAndIsRefusedByTheMirrorRecord) {
  Site site{"analysis7", "analysis7.lan"};
  site.fEnv = {{"KZ_EYE_ID", "7"}, {"KZ_MIRROR_ID", "28"}};
  const Identity id = IdentityOf(site);
  EXPECT_EQ(id.fDecision, "eye 7 mirror 28 EyePC 0 MirrorPC 0");
  EXPECT_EQ(id.fLog,
            "KzConfig::KzConfig() - getenv(KZ_EYE_ID)= 7\n"
            "KzConfig::KzConfig() - getenv(KZ_MIRROR_ID)= 28\n"
            "KzConfig::DetermineEyeId() - fEyeId= 7 detected ! Set to 7 !!!\n"
            "Kz::SetEyeNo(MirrorNumber) - Eye number 7 is not inside valid range !\n"
            "Kz::SetMirrorNo(MirrorNumber) - Mirror number 28 is not inside valid range !\n");
}

TEST_F(HostNumberRecords, TakeTheHostsEyeAndMirror) {
  const KzTest::HostSetup host{"mirrorpc4",
                               {{"/etc/hosts", "10.2.0.4 mirrorpc4.eye2-vesta.lan mirrorpc4\n"},
                                {"/etc/nsswitch.conf", kNsswitch}}};
  const KzTest::ChildResult child = KzTest::RunOnHost(host, [] {
    Kz::MirrorNumberRec mirror{};
    Kz::SetKzMirrorNo(&mirror, 27);
    Kz::Set(&mirror);
    EXPECT_EQ(Kz::GetEyeNo(&mirror), 2u);
    EXPECT_EQ(Kz::GetKzMirrorNo(&mirror), 10u);
    EXPECT_EQ(mirror.fMirrorNumber,
              Singleton<KzConfig>::GetInstance().GetMirrorNumber()->fMirrorNumber);

    Kz::PixelNumberRec pixel{};
    pixel.fBits.fTrigger = 1;
    Kz::SetPixelNo(&pixel, 17);
    Kz::Set(&pixel);
    EXPECT_EQ(pixel.fPixelNumber, (2 << 12) | (4 << 9));
  });
  EXPECT_EQ(child.fExitCode, 0) << child.fStdout << child.fStderr;
}

// No host name reaches this last check of the construction: every path that
// makes an EyePC first asks whether the host is a MirrorPC.
TEST(HostRoles, EyePCAndMirrorPCTogetherEndTheProcess) {
  const KzTest::ChildResult child = KzTest::RunInChild([] {
    KzConfig::CheckSingleRole(true, false);
    KzConfig::CheckSingleRole(false, true);
    std::cout << "single roles pass";
    std::cout.flush();
    KzConfig::CheckSingleRole(true, true);
  });
  EXPECT_EQ(child.fSignal, SIGABRT);
  EXPECT_EQ(child.fStdout, "single roles pass");
  EXPECT_EQ(child.fStderr.rfind(
                "KzConfig::KzConfig() - application cannot run both on EyePC and MirrorPC !\n", 0),
            0u)
      << child.fStderr;
}

TEST(EyeName, LongAndShortFormsOfEveryEye) {
  const char* const longNames[] = {"Corner Grocery Market", "Alder Ridge", "Birch Ridge",
                                   "Cedar Slope",           "Dunmere",     "Loft",
                                   "Corner Grocery Market", "Testbay",     "Corner Grocery Market"};
  const char* const shortNames[] = {"CornerGroceryMarket", "AlderRidge", "BirchRidge",
                                    "CedarSlope",          "Dunmere",    "Loft",
                                    "CornerGroceryMarket", "Testbay",    "CornerGroceryMarket"};
  for (unsigned int eye = 0; eye <= 8; ++eye) {
    EXPECT_STREQ(GetEyeName(eye, false), longNames[eye]) << "eye " << eye;
    EXPECT_STREQ(GetEyeName(eye, true), shortNames[eye]) << "eye " << eye;
    EXPECT_STREQ(KzConfig::GetEyeNameById(eye, true), shortNames[eye]) << "eye " << eye;
  }
  EXPECT_STREQ(GetEyeName(4000000000u, false), "Corner Grocery Market");
}

TEST(EyeName, EachCallOverwritesTheSharedText) {
  const char* first = GetEyeName(3u, true);
  EXPECT_STREQ(first, "CedarSlope");
  const char* second = GetEyeName(6u, false);
  EXPECT_EQ(first, second);
  EXPECT_STREQ(first, "Corner Grocery Market");
}

using EyeNameOfHost = HostIdentity;

TEST_F(EyeNameOfHost, FollowsTheEyeOfThisHost) {
  const KzTest::HostSetup host{
      "daq",
      {{"/etc/hosts", "10.3.0.1 daq.eye3-vesta.lan daq\n"}, {"/etc/nsswitch.conf", kNsswitch}}};
  const KzTest::ChildResult child =
      KzTest::RunOnHost(host, [] { std::cout << GetEyeName(true) << "|" << GetEyeName(); });
  EXPECT_EQ(child.fStdout, "CedarSlope|Cedar Slope");
}

}  // namespace
}  // namespace KzUtil
