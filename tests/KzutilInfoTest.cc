// kzutil info on an analysis host, an EyePC and a MirrorPC (hosts of their own in
// namespaces), with and without a site file along the search path.
#include <filesystem>

#include "KzutilTestSupport.h"

using KzTest::ChildResult;
using KzTest::KzutilCall;
using KzTest::KzutilRun;
using KzTest::TempDir;

namespace {

// Host look-ups come from /etc/hosts alone, whatever this machine uses.
const char* const kNsswitch = "hosts: files\nnetworks: files\n";

// kzutil info --json on a host named hostname whose /etc/hosts line is hostsLine.
class InfoOnHost {
 public:
  InfoOnHost(const std::string& hostname, const std::string& hostsLine,
             const std::map<std::string, std::string>& env = {}) {
    std::string why;
    if (!KzTest::NamespacesAvailable(&why)) {
      fSkipped = why;
      return;
    }
    const KzTest::HostSetup host{
        hostname,
        {{"/etc/hosts", "127.0.0.1 localhost\n" + hostsLine}, {"/etc/nsswitch.conf", kNsswitch}}};
    fRun = KzTest::RunKzutilOnHost(host, KzutilCall{{"info", "--json"}, env, ""}, fHome.Path());
    if (fRun.fExitCode == 0) fJson = nlohmann::json::parse(fRun.fStdout);
  }
  const std::string& Skipped() const { return fSkipped; }
  const ChildResult& Run() const { return fRun; }
  const nlohmann::json& Json() const { return fJson; }
  const std::string& Home() const { return fHome.Path(); }

 private:
  TempDir fHome;         // HOME of the run, to be left empty
  std::string fSkipped;  // why namespaces are unavailable
  ChildResult fRun;      // the run
  nlohmann::json fJson;  // its report
};

#define SKIP_WITHOUT_NAMESPACES(info) \
  if (!(info).Skipped().empty()) GTEST_SKIP() << (info).Skipped()

std::vector<unsigned int> TelescopeIds(const nlohmann::json& report) {
  std::vector<unsigned int> ids;
  for (const nlohmann::json& telescope : report["geometry"]["telescopes"])
    ids.push_back(telescope["telescope"]);
  return ids;
}

bool IsEmptyDirectory(const std::string& path) {
  return std::filesystem::is_empty(std::filesystem::path(path));
}

}  // namespace

TEST(KzutilInfo, ReportsEverySectionOnThisHostWithoutSetUp) {
  TempDir home;
  KzutilRun run(KzutilCall{{"info"}, {{"HOME", home.Path()}}, ""});
  EXPECT_EQ(run.fExitCode, 0);
  EXPECT_EQ(run.fStderr, "");
  for (const char* section : {"\nHost\n", "\nDirectories (none created)\n", "\nGeometry\n",
                              "\nLeap seconds\n", "\nTime\n", "\nLibrary messages"})
    EXPECT_NE(run.fStdout.find(section), std::string::npos) << section;
  EXPECT_NE(run.fStdout.find("  configuration      " + home.Path() + "/general/"),
            std::string::npos);
  EXPECT_TRUE(IsEmptyDirectory(home.Path()));
}

TEST(KzutilInfo, AnalysisHostServesEyeOneAndCreatesNothing) {
  InfoOnHost info("Ana7", "10.9.0.7 ana7.lab.example Ana7\n");
  SKIP_WITHOUT_NAMESPACES(info);
  ASSERT_EQ(info.Run().fExitCode, 0) << info.Run().fStderr;
  EXPECT_EQ(info.Run().fStderr, "");
  const nlohmann::json& report = info.Json();
  EXPECT_EQ(report["host"]["name"], "Ana7");
  EXPECT_EQ(report["host"]["role"], "analysis host");
  EXPECT_EQ(report["host"]["eye"], 1);
  EXPECT_EQ(report["host"]["eye_name"], "Alder Ridge");
  EXPECT_EQ(report["directories"]["home"], info.Home());
  EXPECT_EQ(report["directories"]["configuration"], info.Home() + "/general/ana7/");
  const std::string runData = report["directories"]["run_data"];
  EXPECT_EQ(runData.rfind(info.Home() + "/ana7/", 0), 0u) << runData;
  const std::string sample = report["directories"]["sample_data_file"];
  EXPECT_EQ(sample.rfind("run_e1_000001_", 0), 0u) << sample;
  EXPECT_EQ(TelescopeIds(report), (std::vector<unsigned int>{1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(report["geometry"]["telescopes"][0]["azimuth"], -14.865);
  const std::string site = report["geometry"]["ini_file"];
  const std::string source = report["geometry"]["ini_source"];
  EXPECT_EQ(std::filesystem::path(site).filename(), "KzSite.ini");
  EXPECT_EQ(source.rfind("shipped default: no KzSite.ini in the 8 places", 0), 0u) << source;
  EXPECT_NE(KzTest::ReadFile(site).find("[Geometry]"), std::string::npos) << site;
  EXPECT_EQ(report["messages"], nlohmann::json::array());
  EXPECT_TRUE(IsEmptyDirectory(info.Home()));
}

TEST(KzutilInfo, GpsTimeUsesTheLeapSecondsOfTheSiteFile) {
  TempDir home;
  home.Write("KzSite.ini", "[LeapSeconds]\nleap0 = 2015-07-01 17\nleap1 = 2017-01-01 18\n");
  KzutilRun run(KzutilCall{{"info", "--json"}, {{"HOME", home.Path()}}, ""});
  ASSERT_EQ(run.fExitCode, 0) << run.fStderr;
  const nlohmann::json report = run.Json();
  EXPECT_EQ(report["leap_seconds"]["source"],
            "built-in table, extended from " + home.Path() + "/KzSite.ini");
  ASSERT_EQ(report["leap_seconds"]["entries"].size(), 18u);
  const unsigned int unixTime = report["time"]["unix"];
  ASSERT_GT(unixTime, 1483228800u);
  EXPECT_EQ(report["time"]["gps"], unixTime - 315964800u + 18u);
}

TEST(KzutilInfo, EyePCReportsItsEyeAndAllItsTelescopes) {
  InfoOnHost info("eyepc", "10.4.0.1 eyepc.eye4-vesta.lan eyepc\n");
  SKIP_WITHOUT_NAMESPACES(info);
  ASSERT_EQ(info.Run().fExitCode, 0) << info.Run().fStderr;
  const nlohmann::json& report = info.Json();
  EXPECT_EQ(report["host"]["role"], "EyePC");
  EXPECT_EQ(report["host"]["eye"], 4);
  EXPECT_EQ(report["host"]["eye_name"], "Dunmere");
  EXPECT_EQ(report["directories"]["configuration"], info.Home() + "/general/eyepc/");
  const std::string sample = report["directories"]["sample_data_file"];
  EXPECT_EQ(sample.rfind("run_e4_000001_", 0), 0u) << sample;
  EXPECT_EQ(TelescopeIds(report), (std::vector<unsigned int>{19, 20, 21, 22, 23, 24}));
  EXPECT_EQ(report["geometry"]["telescopes"][5]["azimuth"], 48.083);
  EXPECT_TRUE(IsEmptyDirectory(info.Home()));
}

TEST(KzutilInfo, MirrorPCReportsItsOwnTelescope) {
  InfoOnHost info("mirrorpc3", "10.2.0.3 mirrorpc3.eye2-vesta.lan mirrorpc3\n");
  SKIP_WITHOUT_NAMESPACES(info);
  ASSERT_EQ(info.Run().fExitCode, 0) << info.Run().fStderr;
  const nlohmann::json& report = info.Json();
  EXPECT_EQ(report["host"]["role"], "MirrorPC");
  EXPECT_EQ(report["host"]["eye"], 2);
  EXPECT_EQ(report["host"]["mirror"], 3);
  EXPECT_EQ(report["host"]["kz_mirror"], 9);
  EXPECT_EQ(report["directories"]["configuration"], info.Home() + "/general/mirrorpc3/");
  const std::string sample = report["directories"]["sample_data_file"];
  EXPECT_EQ(sample.rfind("run_m09_000001_", 0), 0u) << sample;
  EXPECT_EQ(TelescopeIds(report), (std::vector<unsigned int>{9}));
  EXPECT_EQ(report["geometry"]["telescopes"][0]["azimuth"], 134.782);
}

TEST(KzutilInfo, LoftMirrorPCFourShowsWhatTheLibraryRefuses) {
  InfoOnHost info("mirrorpc4", "10.5.0.4 mirrorpc4.eye5-vesta.lan mirrorpc4\n");
  SKIP_WITHOUT_NAMESPACES(info);
  ASSERT_EQ(info.Run().fExitCode, 0) << info.Run().fStderr;
  const nlohmann::json& report = info.Json();
  EXPECT_TRUE(report["directories"]["configuration"].is_null());
  EXPECT_EQ(report["directories"]["unavailable"]["configuration"], "passed Mirror ID not valid");
  EXPECT_EQ(report["geometry"]["ini_source"],
            "shipped default: the ini search failed: passed Mirror ID not valid");
  EXPECT_EQ(report["geometry"]["telescopes"], nlohmann::json::array());
}

TEST(KzutilInfo, LoftTelescopesShowTheirTiltedAxes) {
  InfoOnHost info("eyepc", "10.5.0.1 eyepc.eye5-vesta.lan eyepc\n");
  SKIP_WITHOUT_NAMESPACES(info);
  const nlohmann::json& telescopes = info.Json()["geometry"]["telescopes"];
  ASSERT_EQ(TelescopeIds(info.Json()), (std::vector<unsigned int>{25, 26, 27}));
  EXPECT_EQ(telescopes[1]["elevation"], 45.0);
  EXPECT_EQ(telescopes[1]["tilted"]["down"]["elevation"], 16.0);
  EXPECT_EQ(telescopes[1]["tilted"]["up"]["azimuth"], 3.24);
}

TEST(KzutilInfo, UnresolvableHostNameShowsTheLibrarysErrorsInTheReport) {
  InfoOnHost info("lab9", "");
  SKIP_WITHOUT_NAMESPACES(info);
  ASSERT_EQ(info.Run().fExitCode, 0) << info.Run().fStderr;
  EXPECT_EQ(info.Run().fStderr, "");
  const nlohmann::json& messages = info.Json()["messages"];
  ASSERT_FALSE(messages.empty());
  EXPECT_EQ(messages[0]["severity"], "ERR");
  EXPECT_EQ(messages[0]["text"],
            "KzConfig::KzConfig() - gethostbyname() could not do name lookup for 'lab9' !");
  EXPECT_EQ(info.Json()["host"]["role"], "analysis host");
}

TEST(KzutilInfo, SiteFileAlongTheSearchPathWins) {
  TempDir home;
  const std::string site = home.Write("KzSite.ini", "[Geometry]\naxis2 = 20.5 17.25\n");
  KzutilRun run(KzutilCall{{"info", "--json"}, {{"HOME", home.Path()}, {"KZ_EYE_ID", "1"}}, ""});
  ASSERT_EQ(run.fExitCode, 0) << run.fStderr;
  const nlohmann::json report = run.Json();
  EXPECT_EQ(report["geometry"]["ini_file"], site);
  EXPECT_EQ(report["geometry"]["ini_source"], "found along the ini search path");
  EXPECT_EQ(report["geometry"]["telescopes"][1]["azimuth"], 20.5);
  EXPECT_EQ(report["geometry"]["telescopes"][1]["elevation"], 17.25);
  EXPECT_EQ(report["geometry"]["telescopes"][0]["azimuth"], -14.865);
}

TEST(KzutilInfo, TextReportNamesTheEyeAndTheTime) {
  TempDir home;
  KzutilRun run(KzutilCall{{"info"}, {{"HOME", home.Path()}, {"KZ_EYE_ID", "3"}}, ""});
  EXPECT_NE(run.fStdout.find("  eye                3 (Cedar Slope)\n"), std::string::npos);
  EXPECT_NE(run.fStdout.find("  KZ_EYE_ID          3\n"), std::string::npos);
  EXPECT_NE(run.fStdout.find("  GPS second         "), std::string::npos);
  EXPECT_NE(run.fStdout.find("  telescope 13       azimuth -156.865  elevation 16.000  eye 3 "
                             "(Cedar Slope), mirror 1\n"),
            std::string::npos)
      << run.fStdout;
}
