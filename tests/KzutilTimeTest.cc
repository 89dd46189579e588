// kzutil's program conventions and its time subcommands, run as a shell would.
#include <algorithm>

#include "KzUtilVersion.h"
#include "KzutilTestSupport.h"

using KzTest::KzutilRun;
using KzTest::TempDir;

TEST(KzutilProgram, VersionPrintsTheLibraryVersion) {
  KzutilRun run({"--version"});
  EXPECT_EQ(run.fExitCode, 0);
  EXPECT_EQ(run.fStdout, std::string(KzUtil::kKzUtilVersionString) + "\n");
  EXPECT_EQ(run.fStderr, "");
}

TEST(KzutilProgram, HelpListsEverySubcommandAndTheExitStatuses) {
  KzutilRun run({"--help"});
  EXPECT_EQ(run.fExitCode, 0);
  for (const char* sub : {"info", "time", "pixel", "camera", "number", "ini"})
    EXPECT_NE(run.fStdout.find("  " + std::string(sub) + " "), std::string::npos) << sub;
  EXPECT_NE(run.fStdout.find("2 a usage error"), std::string::npos);
}

TEST(KzutilProgram, SubcommandHelpShowsExamples) {
  KzutilRun run({"time", "show", "--help"});
  EXPECT_EQ(run.fExitCode, 0);
  EXPECT_NE(run.fStdout.find("Examples:\n  kzutil time show"), std::string::npos);
  EXPECT_NE(run.fStdout.find("--json"), std::string::npos);
}

TEST(KzutilProgram, MissingSubcommandIsAUsageError) {
  KzutilRun run(std::vector<std::string>{});
  EXPECT_USAGE_ERROR(run, "subcommand is required");
}

TEST(KzutilProgram, UnknownOptionIsAUsageError) {
  KzutilRun run({"time", "gps2unix", "5", "--bogus"});
  EXPECT_USAGE_ERROR(run, "--bogus");
}

TEST(KzutilTime, GpsToUnixMapsTheLeapSecondOntoTheSecondBefore) {
  KzutilRun leap({"time", "gps2unix", "1025136015"});
  KzutilRun before({"time", "gps2unix", "1025136014"});
  EXPECT_EQ(leap.fExitCode, 0);
  EXPECT_EQ(leap.fStdout, "1341100799\n");
  EXPECT_EQ(before.fStdout, "1341100799\n");
  EXPECT_EQ(leap.fStderr, "");
}

TEST(KzutilTime, UnixToGpsAsJson) {
  KzutilRun run({"time", "unix2gps", "1341100801", "--json"});
  EXPECT_EQ(run.fExitCode, 0);
  const nlohmann::json json = run.Json();
  EXPECT_EQ(json["gps"], 1025136016u);
  EXPECT_EQ(json["unix"], 1341100801u);
}

TEST(KzutilTime, ShowPrintsTheLeapSecondAsSecond60) {
  KzutilRun run({"time", "show", "--gps", "1025136015", "--format", "%Y-%m-%d %H:%M:%S"});
  EXPECT_EQ(run.fExitCode, 0);
  EXPECT_EQ(run.fStdout, "2012-06-30 23:59:60\n");
}

TEST(KzutilTime, ShowUsesTheLibraryFormatByDefault) {
  EXPECT_EQ(KzutilRun({"time", "show", "1341100798"}).fStdout, "Sat Jun 30 23:59:58 2012\n");
}

TEST(KzutilTime, ShowAsJsonTellsTheLeapSecond) {
  const nlohmann::json leap = KzutilRun({"time", "show", "--gps", "1025136015", "--json"}).Json();
  const nlohmann::json plain = KzutilRun({"time", "show", "--gps", "1025136016", "--json"}).Json();
  EXPECT_EQ(leap["leap_second"], true);
  EXPECT_EQ(leap["unix"], 1341100799u);
  EXPECT_EQ(leap["text"], "Sat Jun 30 23:59:60 2012");
  EXPECT_EQ(plain["leap_second"], false);
  EXPECT_EQ(plain["text"], "Sun Jul 01 00:00:00 2012");
}

TEST(KzutilTime, NegativeOrOversizedSecondsAreUsageErrors) {
  EXPECT_USAGE_ERROR(KzutilRun({"time", "gps2unix", "-5"}), "'-5'");
  EXPECT_USAGE_ERROR(KzutilRun({"time", "unix2gps", "4294967296"}), "'4294967296'");
  EXPECT_USAGE_ERROR(KzutilRun({"time", "show", "12abc"}), "'12abc'");
}

TEST(KzutilTime, MissingTimeIsAUsageError) {
  EXPECT_USAGE_ERROR(KzutilRun({"time", "show", "--gps"}), "T is required");
}

TEST(KzutilTime, LeapsPrintsTheBuiltInTable) {
  KzutilRun run({"time", "leaps"});
  EXPECT_EQ(run.fExitCode, 0);
  const std::vector<std::string> lines = run.Lines();
  ASSERT_EQ(lines.size(), 16u + 3u);
  EXPECT_EQ(lines.front(), "=== TimeConvert::PrintLeapSecondTable() ===");
  EXPECT_EQ(lines[18 - 1], "1341100799  1025136015    16");
}

TEST(KzutilTime, LeapsAsJsonHasOneEntryPerRow) {
  const nlohmann::json json = KzutilRun({"time", "leaps", "--json"}).Json();
  ASSERT_EQ(json["entries"].size(), 16u);
  EXPECT_EQ(json["entries"][0]["gps"], 46828800u);
  EXPECT_EQ(json["entries"][0]["unix"], 362793599u);
  EXPECT_EQ(json["entries"][15]["leap_seconds"], 16u);
}

TEST(KzutilTime, LeapsFromAnIniFileAppendsTheNewerLeapSeconds) {
  TempDir dir;
  const std::string ini = dir.Write("leaps.ini", "[LeapSeconds]\nleap0 = 2015-07-01 17\n");
  KzutilRun run({"time", "leaps", "--ini", ini, "--json"});
  EXPECT_EQ(run.fExitCode, 0);
  EXPECT_EQ(run.fStderr, "");
  const nlohmann::json json = run.Json();
  EXPECT_EQ(json["source"], ini);
  ASSERT_EQ(json["entries"].size(), 17u);
  EXPECT_EQ(json["entries"][16]["unix"], 1435708799u);
  EXPECT_EQ(json["entries"][16]["gps"], 1119744016u);
  EXPECT_EQ(json["entries"][16]["leap_seconds"], 17u);
}

TEST(KzutilTime, LeapsReportsRefusedEntriesAndFails) {
  TempDir dir;
  const std::string ini = dir.Write("leaps.ini", "[LeapSeconds]\nleap0 = 2015-07-02 17\n");
  KzutilRun run({"time", "leaps", "--ini", ini});
  EXPECT_EQ(run.fExitCode, 1);
  EXPECT_EQ(run.fStderr,
            "ERR:TimeConvert::ReadLeapSecondTable() - entry 'leap0' contains illegal date, "
            "skipped!!!\n");
  EXPECT_EQ(run.Lines().size(), 16u + 3u);
}

TEST(KzutilTime, LeapsFromAFileWithoutTheGroupFails) {
  TempDir dir;
  const std::string ini = dir.Write("other.ini", "[Geometry]\naxis1 = 1 2\n");
  KzutilRun run({"time", "leaps", "--ini", ini});
  EXPECT_EQ(run.fExitCode, 1);
  EXPECT_EQ(run.fStdout, "");
  EXPECT_EQ(run.fStderr, "kzutil: error: no group [LeapSeconds] in " + ini + "\n");
}
