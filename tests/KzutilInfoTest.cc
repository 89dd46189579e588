// kzutil info on an analysis host, an EyePC and a MirrorPC (hosts of their own in
// namespaces), with and without a site file along the search path.
#include <cctype>
#include <filesystem>

#include "KzutilTestSupport.h"

using KzTest::KzutilCall;
using KzTest::KzutilRun;
using KzTest::TempDir;

namespace {

bool StartsWith(const nlohmann::json& text, const std::string& start) {
  return text.is_string() && text.get<std::string>().rfind(start, 0) == 0;
}

}  // namespace

TEST(KzutilInfo, TextReportHasEverySectionWithoutSetUp) {
  TempDir home;
  const KzutilRun plain(KzutilCall{"info", {{"HOME", home.Path()}}, ""});
  EXPECT_EQ(plain.fExitCode, 0);
  EXPECT_EQ(plain.fStderr, "");
  for (const std::string& text : std::vector<std::string>{
           "\nHost\n", "\nDirectories (none created)\n", "\nGeometry\n", "\nLeap seconds\n",
           "\nTime\n", "\nLibrary messages", "  configuration      " + home.Path() + "/general/"})
    EXPECT_NE(plain.fStdout.find(text), std::string::npos) << text;
  EXPECT_TRUE(std::filesystem::is_empty(home.Path()));
}

// Every host without a site file reads the shipped one, keeps its configuration under
// HOME/general/host/ and its run data under HOME/host/ (host name in lower case), and
// creates nothing. EyePCs serve every telescope of their eye, MirrorPCs their own; the Loft
// has no mirror 4, and a host name that does not resolve leaves the library's errors in
// the report.
TEST(KzutilInfo, EachHostRoleReportsItsEyeTelescopesAndDirectories) {
  std::string why;
  if (!KzTest::NamespacesAvailable(&why)) GTEST_SKIP() << why;
  struct Host {
    std::string fName, fHostsLine, fTelescopes;
    std::string fSample, fSource;  // how the sample data file name and the ini source start
    nlohmann::json fFields;        // JSON pointer -> value
  };
  const std::string shipped = "shipped default: no KzSite.ini in the 8 places of the ini search";
  const std::vector<Host> hosts = {
      {"Ana7", "10.9.0.7 ana7.lab.example Ana7", "1 2 3 4 5 6", "run_e1_000001_", shipped,
       R"({"/host/name": "Ana7", "/host/role": "analysis host", "/host/eye": 1,
           "/host/eye_name": "Alder Ridge", "/geometry/telescopes/0/azimuth": -14.865,
           "/messages": []})"_json},
      {"mirrorpc3", "10.2.0.3 mirrorpc3.eye2-vesta.lan mirrorpc3", "9", "run_m09_000001_", shipped,
       R"({"/host/role": "MirrorPC", "/host/eye": 2, "/host/mirror": 3, "/host/kz_mirror": 9,
           "/geometry/telescopes/0/azimuth": 134.782})"_json},
      {"mirrorpc4", "10.5.0.4 mirrorpc4.eye5-vesta.lan mirrorpc4", "", "run_m28_000001_",
       "shipped default: the ini search failed: passed Mirror ID not valid",
       R"({"/host/role": "MirrorPC", "/directories/configuration": null,
           "/directories/unavailable/configuration": "passed Mirror ID not valid"})"_json},
      {"eyepc", "10.5.0.1 eyepc.eye5-vesta.lan eyepc", "25 26 27", "run_e5_000001_", shipped,
       R"({"/host/role": "EyePC", "/host/eye": 5, "/host/eye_name": "Loft",
           "/geometry/telescopes/1/elevation": 45.0,
           "/geometry/telescopes/1/tilted/down/elevation": 16.0,
           "/geometry/telescopes/1/tilted/up/azimuth": 3.24})"_json},
      {"lab9", "", "1 2 3 4 5 6", "run_e1_000001_", shipped,
       R"({"/host/role": "analysis host", "/messages/0/severity": "ERR", "/messages/0/text":
           "KzConfig::KzConfig() - gethostbyname() could not do name lookup for 'lab9' !"})"_json},
  };
  for (const Host& host : hosts) {
    SCOPED_TRACE(host.fName + ": " + host.fHostsLine);
    TempDir home;
    const KzTest::HostSetup setup{host.fName,
                                  {{"/etc/hosts", "127.0.0.1 localhost\n" + host.fHostsLine + "\n"},
                                   {"/etc/nsswitch.conf", "hosts: files\nnetworks: files\n"}}};
    const KzTest::ChildResult run = KzTest::RunOnHost(setup, [&] {
      KzTest::ExecKzutil(KzutilCall{"info --json", {}, ""}, home.Path());
    });
    ASSERT_EQ(run.fExitCode, 0) << run.fStderr;
    EXPECT_EQ(run.fStderr, "");
    const nlohmann::json report = nlohmann::json::parse(run.fStdout);
    KzTest::ExpectFields(report, host.fFields);
    std::string telescopes;
    for (const nlohmann::json& telescope : report["geometry"]["telescopes"])
      telescopes += (telescopes.empty() ? "" : " ") + telescope["telescope"].dump();
    EXPECT_EQ(telescopes, host.fTelescopes);
    const nlohmann::json& directories = report["directories"];
    const std::string site = report["geometry"]["ini_file"];
    std::string name = host.fName;  // in lower case in the directories
    for (char& c : name) c = static_cast<char>(std::tolower(c));
    EXPECT_EQ(directories["home"], home.Path());
    if (!directories["configuration"].is_null()) {
      EXPECT_EQ(directories["configuration"], home.Path() + "/general/" + name + "/");
    }
    EXPECT_PRED2(StartsWith, directories["run_data"], home.Path() + "/" + name + "/");
    EXPECT_PRED2(StartsWith, directories["sample_data_file"], host.fSample);
    EXPECT_PRED2(StartsWith, report["geometry"]["ini_source"], host.fSource);
    EXPECT_NE(KzTest::ReadFile(site).find("[Geometry]"), std::string::npos) << site;
    EXPECT_TRUE(std::filesystem::is_empty(home.Path()));
  }
}

// The site file along the search path gives both the axes and the newer leap seconds.
TEST(KzutilInfo, SiteFileAlongTheSearchPathWins) {
  TempDir home;
  const std::string site = home.Write("KzSite.ini",
                                      "[Geometry]\naxis2 = 20.5 17.25\n[LeapSeconds]\n"
                                      "leap0 = 2015-07-01 17\nleap1 = 2017-01-01 18\n");
  const KzutilRun run(KzutilCall{"info --json", {{"HOME", home.Path()}, {"KZ_EYE_ID", "1"}}, ""});
  ASSERT_EQ(run.fExitCode, 0) << run.fStderr;
  const nlohmann::json report = run.Json();
  KzTest::ExpectFields(report, R"({"/geometry/ini_source": "found along the ini search path",
      "/geometry/telescopes/1/azimuth": 20.5, "/geometry/telescopes/1/elevation": 17.25,
      "/geometry/telescopes/0/azimuth": -14.865})"_json);
  EXPECT_EQ(report["geometry"]["ini_file"], site);
  EXPECT_EQ(report["leap_seconds"]["source"], "built-in table, extended from " + site);
  ASSERT_EQ(report["leap_seconds"]["entries"].size(), 18u);
  const unsigned int unixTime = report["time"]["unix"];
  ASSERT_GT(unixTime, 1483228800u);
  EXPECT_EQ(report["time"]["gps"], unixTime - 315964800u + 18u);
}
