// kzutil's program conventions and its time subcommands, run as a shell would.
#include "KzUtilVersion.h"
#include "KzutilTestSupport.h"

using KzTest::KzutilRun;
using KzTest::TempDir;

TEST(KzutilProgram, VersionAndHelpDescribeTheProgram) {
  KzTest::ExpectCases({{"--version", 0, std::string(KzUtil::kKzUtilVersionString) + "\n"}});
  const KzutilRun help("--help"), sub("time show --help");
  EXPECT_EQ(help.fExitCode, 0);
  for (const char* name : {"info", "time", "pixel", "camera", "number", "fov", "display", "ini"})
    EXPECT_NE(help.fStdout.find("  " + std::string(name) + " "), std::string::npos) << name;
  EXPECT_NE(help.fStdout.find("2 a usage error"), std::string::npos);
  EXPECT_EQ(sub.fExitCode, 0);
  EXPECT_NE(sub.fStdout.find("Examples:\n  kzutil time show"), std::string::npos);
  EXPECT_NE(sub.fStdout.find("--json"), std::string::npos);
}

TEST(KzutilProgram, BadArgumentsAreUsageErrors) {
  KzTest::ExpectUsageErrors({
      {"", "subcommand is required"},
      {"time gps2unix 5 --bogus", "--bogus"},
      {"time unix2gps 4294967296", "'4294967296'"},
      {"time show 12abc", "'12abc'"},
      {"time show --gps", "T is required"},
  });
}

// The 16th leap second, 2012-06-30 23:59:60, is GPS 1025136015 = 1341100800 - 315964800 + 15.
// Unix 1341100801 gives one second less than the true GPS time, as the library keeps it.
TEST(KzutilTime, GpsToUnixMapsTheLeapSecondOntoTheSecondBefore) {
  KzTest::ExpectCases({
      {"time gps2unix 1025136015", 0, "1341100799\n"},
      {"time gps2unix 1025136014", 0, "1341100799\n"},
      {"time unix2gps 1341100801 --json", 0, R"({"/gps": 1025136016, "/unix": 1341100801})"_json},
  });
}

TEST(KzutilTime, ShowPrintsTheLeapSecondAsSecond60) {
  KzTest::ExpectCases({
      {"time show --gps 1025136015 --format '%Y-%m-%d %H:%M:%S'", 0, "2012-06-30 23:59:60\n"},
      {"time show 1341100798", 0, "Sat Jun 30 23:59:58 2012\n"},
      {"time show --gps 1025136015 --json", 0,
       R"({"/leap_second": true, "/unix": 1341100799, "/text": "Sat Jun 30 23:59:60 2012"})"_json},
  });
}

TEST(KzutilTime, LeapsPrintsTheBuiltInTable) {
  const std::vector<std::string> lines = KzutilRun("time leaps").Lines();
  const nlohmann::json json = KzutilRun("time leaps --json").Json();
  ASSERT_EQ(lines.size(), 16u + 3u);
  EXPECT_EQ(lines.front(), "=== TimeConvert::PrintLeapSecondTable() ===");
  EXPECT_EQ(lines[2 + 15], "1341100799  1025136015    16");
  ASSERT_EQ(json["entries"].size(), 16u);
  KzTest::ExpectFields(json,
                       R"({"/entries/15/gps": 1025136015, "/entries/15/leap_seconds": 16})"_json);
}

// The 17th leap second ends 2015-06-30: GPS 1435708800 - 315964800 + 16, listed after the
// built-in rows. A refused entry leaves the built-in table as it was.
TEST(KzutilTime, LeapsFromAnIniFileAppendOrFail) {
  TempDir dir;
  const std::string good = dir.Write("good.ini", "[LeapSeconds]\nleap0 = 2015-07-01 17\n");
  const std::string refused = dir.Write("refused.ini", "[LeapSeconds]\nleap0 = 2015-07-02 17\n");
  const std::string other = dir.Write("other.ini", "[Geometry]\naxis1 = 1 2\n");
  const std::string table = KzutilRun("time leaps").fStdout;
  std::string appended = table;
  appended.insert(appended.rfind('\n', appended.size() - 2) + 1, "1435708799  1119744016    17\n");
  nlohmann::json fields = R"({"/entries/16/gps": 1119744016, "/entries/16/leap_seconds": 17})"_json;
  fields["/source"] = good;
  KzTest::ExpectCases({
      {"time leaps --ini " + good, 0, appended},
      {"time leaps --json --ini " + good, 0, fields},
      {"time leaps --ini " + refused, 1, table,
       "ERR:TimeConvert::ReadLeapSecondTable() - entry 'leap0' contains illegal date, "
       "skipped!!!\n"},
      {"time leaps --ini " + other, 1, "",
       "kzutil: error: no group [LeapSeconds] in " + other + "\n"},
  });
}
