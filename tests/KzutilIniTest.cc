// kzutil ini: values of a key, the search path as the library walks it, and the linter.
#include "KzutilTestSupport.h"

using KzTest::KzutilCall;
using KzTest::KzutilRun;
using KzTest::TempDir;

namespace {

// Every trap of the format once, at known lines.
const char* const kTrapFile =
    "orphan = 1\n"               // 1: in no group
    "[Geometry]\n"               // 2
    "axis1 = 1 2\n"              // 3
    "axis1 = 3 4\n"              // 4: key given twice
    "color=#ff0000\n"            // 5: '#' cuts the value, so no value is left
    "name=a;b\n"                 // 6: ';' cuts the value
    "x = 5   ; a comment\n"      // 7: a comment, no finding
    "lonely\n"                   // 8: key with no value
    "  [LeapSeconds]\n"          // 9: indented header
    "leap0 = 2015-07-01 17\r\n"  // 10: carriage return
    "[Geometry]\n"               // 11: group given twice
    "last = 1";                  // 12: no newline

}  // namespace

TEST(KzutilIniCheck, CraftedFileReportsEveryTrapAtItsLine) {
  TempDir dir;
  dir.Write("traps.ini", kTrapFile);
  KzutilRun run(KzutilCall{{"ini", "check", "traps.ini"}, {}, dir.Path()});
  EXPECT_EQ(run.fExitCode, 1);
  EXPECT_EQ(run.fStderr, "");
  EXPECT_EQ(run.fStdout,
            "traps.ini:1: line is in no group; no lookup reads it\n"
            "traps.ini:4: key 'axis1' given again in group [Geometry] (first at line 3); this one "
            "is never read\n"
            "traps.ini:5: '#' cuts the value; the rest of the line is a comment\n"
            "traps.ini:5: key 'color' has no value; lookups report it as not found\n"
            "traps.ini:6: ';' cuts the value; the rest of the line is a comment\n"
            "traps.ini:8: key 'lonely' has no value; lookups report it as not found\n"
            "traps.ini:9: group header [LeapSeconds] is indented; it does not end group "
            "[Geometry], whose lookups run on into it\n"
            "traps.ini:10: carriage return in the line; it becomes part of a key or value\n"
            "traps.ini:11: group [Geometry] given again (first at line 2); this one is never read\n"
            "traps.ini:12: last line has no newline; the reader never sees it\n");
}

TEST(KzutilIniCheck, CleanFileHasNoFindings) {
  TempDir dir;
  const std::string clean = dir.Write(
      "clean.ini", "; site file\n[Geometry]\naxis1 = -14.865 16.04  # measured\n\n[Run]\nx=1\n");
  KzutilRun run({"ini", "check", clean});
  EXPECT_EQ(run.fExitCode, 0);
  EXPECT_EQ(run.fStdout, "");
  EXPECT_EQ(run.fStderr, "");
}

TEST(KzutilIniCheck, SameKeyInTwoGroupsIsNoFinding) {
  TempDir dir;
  const std::string file = dir.Write("two.ini", "[A]\nk = 1\n[B]\nk = 2\n");
  EXPECT_EQ(KzutilRun({"ini", "check", file}).fExitCode, 0);
}

TEST(KzutilIniCheck, JsonNamesTheKindOfEveryFinding) {
  TempDir dir;
  const std::string file = dir.Write("traps.ini", kTrapFile);
  KzutilRun run({"ini", "check", file, "--json"});
  EXPECT_EQ(run.fExitCode, 1);
  const nlohmann::json json = run.Json();
  std::vector<std::string> kinds;
  for (const nlohmann::json& finding : json["findings"]) {
    EXPECT_EQ(finding["file"], file);
    kinds.push_back(finding["kind"]);
  }
  EXPECT_EQ(kinds, (std::vector<std::string>{"outside-group", "duplicate-key", "comment-cuts-value",
                                             "no-value", "comment-cuts-value", "no-value",
                                             "indented-header", "carriage-return",
                                             "duplicate-group", "no-newline"}));
}

TEST(KzutilIniCheck, UnreadableFileFailsButTheOthersAreStillChecked) {
  TempDir dir;
  const std::string bad = dir.Write("bad.ini", "[G]\nk\n");
  KzutilRun run({"ini", "check", dir.Path() + "/missing.ini", dir.Path(), bad});
  EXPECT_EQ(run.fExitCode, 1);
  EXPECT_EQ(run.fStdout, bad + ":2: key 'k' has no value; lookups report it as not found\n");
  EXPECT_EQ(run.fStderr, "kzutil: error: cannot read " + dir.Path() +
                             "/missing.ini: No such file or directory\n"
                             "kzutil: error: cannot read " +
                             dir.Path() + ": Is a directory\n");
}

TEST(KzutilIniGet, PrintsEveryValueOfTheKey) {
  TempDir dir;
  const std::string file = dir.Write("site.ini", "[Geometry]\naxis3 = 44.945 15.96\n");
  KzutilRun run({"ini", "get", file, "Geometry", "axis3"});
  EXPECT_EQ(run.fExitCode, 0);
  EXPECT_EQ(run.fStdout, "44.945\n15.96\n");
  EXPECT_EQ(run.fStderr, "");
}

TEST(KzutilIniGet, FindsTheFileAlongTheSearchPath) {
  TempDir dir;
  dir.Write("conf/daq.ini", "[Run]\nmode = AUTO fast\n");
  KzutilRun run(KzutilCall{{"ini", "get", "daq.ini", "Run", "mode", "--json"},
                           {{"INIFILE_PATH", dir.Path() + "/conf"}},
                           ""});
  EXPECT_EQ(run.fExitCode, 0);
  EXPECT_EQ(run.fStderr, "");
  const nlohmann::json json = run.Json();
  EXPECT_EQ(json["file"], dir.Path() + "/conf/daq.ini");
  EXPECT_EQ(json["values"], (std::vector<std::string>{"AUTO", "fast"}));
}

TEST(KzutilIniGet, ReadsAsTheLibraryDoesAcrossAnIndentedHeader) {
  TempDir dir;
  const std::string file = dir.Write("x.ini", "[A]\nk = 1\n  [B]\nm = 2\n");
  EXPECT_EQ(KzutilRun({"ini", "get", file, "A", "m"}).fStdout, "2\n");
}

TEST(KzutilIniGet, MissingFileGroupOrKeyFailsWithOneLine) {
  TempDir dir;
  const std::string file = dir.Write("x.ini", "[A]\nk = 1\nnovalue\n");
  const KzutilRun noGroup({"ini", "get", file, "B", "k"});
  const KzutilRun noKey({"ini", "get", file, "A", "j"});
  const KzutilRun noValue({"ini", "get", file, "A", "novalue"});
  const KzutilRun noFile({"ini", "get", "nowhere-at-all.ini", "A", "k"});
  EXPECT_EQ(noGroup.fStderr, "kzutil: error: no group [B] with entries in " + file + "\n");
  EXPECT_EQ(noKey.fStderr, "kzutil: error: no value of key 'j' in group [A] of " + file + "\n");
  EXPECT_EQ(noValue.fStderr,
            "kzutil: error: no value of key 'novalue' in group [A] of " + file + "\n");
  EXPECT_EQ(noFile.fStderr,
            "kzutil: error: cannot find nowhere-at-all.ini along the ini search path (see "
            "kzutil ini locate nowhere-at-all.ini)\n");
  for (const KzutilRun* run : {&noGroup, &noKey, &noValue, &noFile}) {
    EXPECT_EQ(run->fExitCode, 1);
    EXPECT_EQ(run->fStdout, "");
  }
}

TEST(KzutilIniLocate, ListsEveryPlaceTriedInOrderThenTheFind) {
  TempDir home, root;
  root.Write("etc/site.ini", "[G]\nk = 1\n");
  KzutilRun run(KzutilCall{
      {"ini", "locate", "site.ini"}, {{"HOME", home.Path()}, {"KZ_ROOT", root.Path()}}, ""});
  EXPECT_EQ(run.fExitCode, 0);
  EXPECT_EQ(run.fStderr, "");
  const std::vector<std::string> lines = run.Lines();
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_EQ(lines[0], "not found  ./site.ini");
  EXPECT_EQ(lines[1].rfind("not found  " + home.Path() + "/general/", 0), 0u) << lines[1];
  EXPECT_EQ(lines[2], "not found  " + home.Path() + "/site.ini");
  EXPECT_EQ(lines[3], "not found  /opt/vesta/etc/site.ini");
  EXPECT_EQ(lines[4], "found      " + root.Path() + "/etc/site.ini");
}

TEST(KzutilIniLocate, NotFoundAnywhereShowsTheUnsetVariablesAndFails) {
  KzutilRun run({"ini", "locate", "nowhere-at-all.ini", "--json"});
  EXPECT_EQ(run.fExitCode, 1);
  const nlohmann::json json = run.Json();
  EXPECT_TRUE(json["found"].is_null());
  ASSERT_EQ(json["tried"].size(), 8u);
  EXPECT_EQ(json["tried"][4]["path"], "$KZ_ROOT/etc/nowhere-at-all.ini");
  EXPECT_EQ(json["tried"][4]["unset"], "KZ_ROOT");
  EXPECT_EQ(json["tried"][7]["unset"], "INIFILE_PATH");
  EXPECT_EQ(json["tried"][0]["found"], false);
}

TEST(KzutilIniLocate, NameWithADirectoryIsFoundWhereItSays) {
  TempDir dir;
  dir.Write("sub/x.ini", "[G]\nk = 1\n");
  KzutilRun run(KzutilCall{{"ini", "locate", "sub/x.ini"}, {}, dir.Path()});
  EXPECT_EQ(run.fExitCode, 0);
  EXPECT_EQ(run.fStdout, "found      sub/x.ini\n");
}
