#include "KzConfig.h"

#include <csignal>
#include <iostream>
#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "ErrorLogger.h"
#include "KzHostTestSupport.h"

namespace KzUtil {
namespace {

const char* const kNetworks = "loopback 127.0.0.0\nlink-local 169.254.0.0\n";
const std::string kNoNetEntry =
    "KzConfig::KzConfig() - could not read net entry from /etc/networks !\n";

// The two errors for a host name the resolver does not know.
std::string LookupFailed(const std::string& host) {
  return "KzConfig::KzConfig() - gethostbyname() could not do name lookup for '" + host +
         "' !\nKzConfig::KzConfig() - gethostbyname() h_errno= 1\n";
}

std::string Getenv(const std::string& variable, const std::string& value) {
  return "KzConfig::KzConfig() - getenv(" + variable + ")= " + value + "\n";
}

struct _HostCaseRec {
  const char* fBehaviour;             // names the case
  const char* fHostname;              // the short host name
  const char* fFQHostname;            // the resolver's answer; "" when the name does not resolve
  const char* fIdentity;              // "eye 2 mirror 4 MirrorPC"
  std::string fLog;                   // everything logged; debug lines without file and line
  const char* fEyeEnv = nullptr;      // KZ_EYE_ID; nullptr when unset
  int fPrintLevel = 0;                // KzConfig's; non-zero also lets debug lines through
  const char* fNetworks = kNetworks;  // content of /etc/networks; nullptr when it is missing
  const char* fMirrorEnv = nullptr;   // KZ_MIRROR_ID; nullptr when unset
};

const _HostCaseRec kHostCases[] = {
    {"UnresolvedHostReadsTheNetworkTableButCannotNameTheEye", "analysis7", "", "eye 1 mirror 1",
     "DBG: KzConfig::KzConfig() - gethostname()= analysis7\n" + LookupFailed("analysis7") +
         "DBG: KzConfig::KzConfig() - getnetent()= kz-dunmere\n"
         "DBG: KzConfig::KzConfig() - getnetent()= loopback\n",
     nullptr, 1, "kz-dunmere 10.4.0.0\nloopback 127.0.0.0\n"},
    {"EmptyNetworkTableAddsOneError", "analysis7", "", "eye 1 mirror 1",
     LookupFailed("analysis7") + kNoNetEntry, nullptr, 0, ""},
    {"MissingNetworkTableAddsOneError", "analysis7", "", "eye 1 mirror 1",
     LookupFailed("analysis7") + kNoNetEntry, nullptr, 0, nullptr},
    {"MirrorPCShortNameGivesMirrorAndFullNameTheEye", "mirrorpc4", "mirrorpc4.eye2-vesta.lan",
     "eye 2 mirror 4 MirrorPC",
     "DBG: KzConfig::KzConfig() - gethostname()= mirrorpc4\n"
     "DBG: Match with Mirror name 'mirrorpc4' detected !\n"
     "DBG: KzConfig::KzConfig() - fFQHostname= mirrorpc4.eye2-vesta.lan\n"
     "KzConfig::DetermineEyeId() - match with Mirror LAN 'eye2-vesta' detected !\n",
     nullptr, 1},
    {"SmallestMirrorNumberInTheNameWins", "mirrorpc5-mirrorpc2", "", "eye 1 mirror 2 MirrorPC",
     LookupFailed("mirrorpc5-mirrorpc2")},
    {"SeventhMirrorIsNotAMirrorPC", "mirrorpc7", "mirrorpc7.lan", "eye 1 mirror 1", ""},
    {"MirrorPCFoundInTheFullyQualifiedNameInAnyCase", "DAQ3", "MirrorPC3.Eye4-Vesta.LAN",
     "eye 4 mirror 3 MirrorPC", ""},
    {"NetworkNameDoesNotMakeAMirrorPCAnEyePC", "mirrorpc1", "mirrorpc1.kz-cedar.lan",
     "eye 1 mirror 1 MirrorPC", ""},
    {"VestaLanOfEyeSixFallsBackToTheDefault", "daq", "daq.eye6-vesta.lan", "eye 1 mirror 1 EyePC",
     "KzConfig::DetermineEyeId() - fEyeId= 6 detected ! Set to 1 !!!\n"},
    {"VestaLanOfEyeSevenFallsBackToTheEnvironmentsEye", "daq", "daq.eye7-vesta.lan",
     "eye 2 mirror 1 EyePC",
     Getenv("KZ_EYE_ID", "2") + "KzConfig::DetermineEyeId() - fEyeId= 7 detected ! Set to 2 !!!\n",
     "2"},
    {"EyePCInTheShortNameKeepsTheEnvironmentsEye", "EyePC", "", "eye 3 mirror 1 EyePC",
     Getenv("KZ_EYE_ID", "3") + LookupFailed("eyepc"), "3"},
    {"NetworkNameOutranksTheEnvironment", "daq", "daq.kz-cedar.lan", "eye 3 mirror 1 EyePC",
     Getenv("KZ_EYE_ID", "2"), "2"},
    {"LastNetworkNameInTableOrderWins", "daq", "daq.kz-dunmere.kz-alder.lan",
     "eye 4 mirror 1 EyePC", ""},
    {"TestbayIsAnEyePCOfTheDefaultEye", "daq", "daq.kz-testbay.lan", "eye 2 mirror 1 EyePC",
     Getenv("KZ_EYE_ID", "2") +
         "DBG: KzConfig::KzConfig() - gethostname()= daq\n"
         "DBG: KzConfig::KzConfig() - fFQHostname= daq.kz-testbay.lan\n"
         "KzConfig::DetermineEyeId() - found EyeID= 7 mapped to default EyeID= 2\n",
     "2", 1},
    {"TestHostKzlabDaqIsEyeOneWithoutNetworkTable", "kzlab-daq", "", "eye 1 mirror 1 EyePC",
     Getenv("KZ_EYE_ID", "3") + "DBG: KzConfig::KzConfig() - gethostname()= kzlab-daq\n" +
         LookupFailed("kzlab-daq") +
         "DBG: KzConfig::KzConfig() - match with test EyePC 'kzlab-daq' was detected !\n",
     "3", 1, ""},
    {"TestHostKzlabBenchIsEyeOneWithoutNetworkTable", "KzLab-Bench", "", "eye 1 mirror 1 EyePC",
     "DBG: KzConfig::KzConfig() - gethostname()= KzLab-Bench\n" + LookupFailed("kzlab-bench") +
         "DBG: KzConfig::KzConfig() - match with test EyePC 'kzlab-bench' was detected !\n",
     nullptr, 1, ""},
    {"EnvironmentSetsTheDefaultsOfEyeAndMirror", "analysis7", "analysis7.lan", "eye 4 mirror 5",
     Getenv("KZ_EYE_ID", "4") + Getenv("KZ_MIRROR_ID", "5"), "4", 0, kNetworks, "5"},
    {"HostNameOutranksTheEnvironment", "mirrorpc6", "mirrorpc6.eye5-vesta.lan",
     "eye 5 mirror 6 MirrorPC", Getenv("KZ_EYE_ID", "2") + Getenv("KZ_MIRROR_ID", "1"), "2", 0,
     kNetworks, "1"},
    {"NonNumericEyeIsZeroAndRefusedByTheMirrorRecord", "analysis7", "analysis7.lan",
     "eye 0 mirror 1",
     Getenv("KZ_EYE_ID", "north") +
         "Kz::SetEyeNo(MirrorNumber) - Eye number 0 is not inside valid range !\n",
     "north"},
    {"EyeSevenFromTheEnvironmentStaysAndIsRefusedByTheMirrorRecord", "analysis7", "analysis7.lan",
     "eye 7 mirror 28",
     Getenv("KZ_EYE_ID", "7") + Getenv("KZ_MIRROR_ID", "28") +
         "KzConfig::DetermineEyeId() - fEyeId= 7 detected ! Set to 7 !!!\n"
         "Kz::SetEyeNo(MirrorNumber) - Eye number 7 is not inside valid range !\n"
         "Kz::SetMirrorNo(MirrorNumber) - Mirror number 28 is not inside valid range !\n",
     "7", 0, kNetworks, "28"},
};

// Names the case in test listings and failure messages.
void PrintTo(const _HostCaseRec& c, std::ostream* out) { *out << c.fBehaviour; }

class HostIdentity : public KzHostTest::OnOwnHost,
                     public ::testing::WithParamInterface<_HostCaseRec> {};

// Builds the identity on the case's host and compares the decision and every logged line.
TEST_P(HostIdentity, Decides) {
  const _HostCaseRec& c = GetParam();
  KzTest::HostSetup host = KzHostTest::Host(c.fHostname, c.fFQHostname);
  if (c.fNetworks)
    host.fFiles["/etc/networks"] = c.fNetworks;
  else
    host.fHidden = {"/etc/networks"};
  const KzTest::ChildResult child = OnHost(host, [&c] {
    if (c.fEyeEnv) setenv("KZ_EYE_ID", c.fEyeEnv, 1);
    if (c.fMirrorEnv) setenv("KZ_MIRROR_ID", c.fMirrorEnv, 1);
    KzConfig::SetPrintLevel(c.fPrintLevel);
    if (c.fPrintLevel) ErrorLogger::GetInstance().SetLoggingLevel(ErrorLogger::eDebug, true);
    const KzConfig& config = Singleton<KzConfig>::GetInstance();
    std::cout << "eye " << config.GetEyeId() << " mirror " << config.GetMirrorId()
              << (config.IsEyePC() ? " EyePC" : "") << (config.IsMirrorPC() ? " MirrorPC" : "");
  });
  EXPECT_EQ(child.fStdout, c.fIdentity);
  EXPECT_EQ(std::regex_replace(child.fStderr, std::regex("DBG:KzConfig\\.cc:[0-9]+: "), "DBG: "),
            c.fLog);
}

INSTANTIATE_TEST_SUITE_P(, HostIdentity, ::testing::ValuesIn(kHostCases));

using HostNumberRecords = KzHostTest::OnOwnHost;

TEST_F(HostNumberRecords, RecordsAndEyeNameTakeTheHostsEyeAndMirror) {
  OnHost(KzHostTest::Host("mirrorpc4", "mirrorpc4.eye2-vesta.lan"), [] {
    Kz::MirrorNumberRec mirror{};
    Kz::SetKzMirrorNo(&mirror, 27);
    Kz::Set(&mirror);
    EXPECT_EQ(Kz::GetEyeNo(&mirror), 2u);
    EXPECT_EQ(Kz::GetKzMirrorNo(&mirror), 10u);

    Kz::PixelNumberRec pixel{};
    pixel.fBits.fTrigger = 1;
    Kz::SetPixelNo(&pixel, 17);
    Kz::Set(&pixel);
    EXPECT_EQ(pixel.fPixelNumber, (2 << 12) | (4 << 9));
    EXPECT_STREQ(GetEyeName(true), "BirchRidge");
    EXPECT_STREQ(GetEyeName(), "Birch Ridge");
  });
}

// No host name reaches this last check of the construction: every path that
// makes an EyePC first asks whether the host is a MirrorPC.
TEST(HostRoles, EyePCAndMirrorPCTogetherEndTheProcess) {
  const KzTest::ChildResult child = KzTest::RunInChild([] {
    KzConfig::CheckSingleRole(true, false);
    KzConfig::CheckSingleRole(false, true);
    std::cout << "single roles pass" << std::flush;
    KzConfig::CheckSingleRole(true, true);
  });
  EXPECT_EQ(child.fSignal, SIGABRT);
  EXPECT_EQ(child.fStdout, "single roles pass");
  EXPECT_EQ(child.fStderr.rfind(
                "KzConfig::KzConfig() - application cannot run both on EyePC and MirrorPC !\n", 0),
            0u)
      << child.fStderr;
}

TEST(EyeName, LongFormOfEveryEyeShortFormWithoutSpacesInOneSharedText) {
  const char* const names[] = {"Corner Grocery Market", "Alder Ridge", "Birch Ridge",
                               "Cedar Slope",           "Dunmere",     "Loft",
                               "Corner Grocery Market", "Testbay",     "Corner Grocery Market"};
  for (unsigned int eye = 0; eye <= 8; ++eye) {
    const std::string shortName = KzHostTest::ReplaceAll(names[eye], " ", "");
    EXPECT_STREQ(GetEyeName(eye, false), names[eye]) << "eye " << eye;
    EXPECT_EQ(GetEyeName(eye, true), shortName) << "eye " << eye;
    EXPECT_EQ(KzConfig::GetEyeNameById(eye, true), shortName) << "eye " << eye;
  }
  EXPECT_STREQ(GetEyeName(4000000000u, false), "Corner Grocery Market");
  // Every call overwrites the one shared text.
  const char* first = GetEyeName(3u, true);
  EXPECT_EQ(GetEyeName(6u, false), first);
  EXPECT_STREQ(first, "Corner Grocery Market");
}

}  // namespace
}  // namespace KzUtil
