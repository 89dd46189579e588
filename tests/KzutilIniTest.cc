// kzutil ini: values of a key, the search path as the library walks it, and the linter.
#include "KzutilTestSupport.h"

using KzTest::KzutilCall;
using KzTest::KzutilRun;
using KzTest::TempDir;

TEST(KzutilIniCheck, CraftedFileReportsEveryTrapAtItsLine) {
  TempDir dir;
  const std::string file = dir.Write("traps.ini",
                                     "orphan = 1\n"               // 1: in no group
                                     "[Geometry]\n"               // 2
                                     "axis1 = 1 2\n"              // 3
                                     "axis1 = 3 4\n"              // 4: key given twice
                                     "color=#ff0000\n"            // 5: '#' cuts, no value left
                                     "name=a;b\n"                 // 6: ';' cuts the value
                                     "x = 5   ; a comment\n"      // 7: a comment, no finding
                                     "lonely\n"                   // 8: key with no value
                                     "  [LeapSeconds]\n"          // 9: indented header
                                     "leap0 = 2015-07-01 17\r\n"  // 10: carriage return
                                     "[Geometry]\n"               // 11: group given twice
                                     "last = 1");                 // 12: no newline
  KzTest::ExpectCases(
      {{"ini check traps.ini", 1,
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
        "traps.ini:12: last line has no newline; the reader never sees it\n"}},
      dir.Path());
  const KzutilRun run("ini check --json " + file);
  EXPECT_EQ(run.fExitCode, 1);
  std::vector<std::string> kinds;
  const nlohmann::json json = run.Json();
  for (const nlohmann::json& finding : json["findings"]) kinds.push_back(finding["kind"]);
  EXPECT_EQ(kinds, (std::vector<std::string>{"outside-group", "duplicate-key", "comment-cuts-value",
                                             "no-value", "comment-cuts-value", "no-value",
                                             "indented-header", "carriage-return",
                                             "duplicate-group", "no-newline"}));
}

// The same key in two groups is no finding.
TEST(KzutilIniCheck, CleanFilesHaveNoFindings) {
  TempDir dir;
  const std::string clean = dir.Write(
      "clean.ini", "; site file\n[Geometry]\naxis1 = -14.865 16.04  # measured\n\n[Run]\nx=1\n");
  const std::string two = dir.Write("two.ini", "[A]\nk = 1\n[B]\nk = 2\n");
  KzTest::ExpectCases({{"ini check " + clean + " " + two, 0, ""}});
}

TEST(KzutilIniCheck, UnreadableFileFailsButTheOthersAreStillChecked) {
  TempDir dir;
  const std::string bad = dir.Write("bad.ini", "[G]\nk\n");
  KzTest::ExpectCases({{"ini check " + dir.Path() + "/missing.ini " + dir.Path() + " " + bad, 1,
                        bad + ":2: key 'k' has no value; lookups report it as not found\n",
                        "kzutil: error: cannot read " + dir.Path() +
                            "/missing.ini: No such file or directory\n"
                            "kzutil: error: cannot read " +
                            dir.Path() + ": Is a directory\n"}});
}

// An indented header does not end the group before it: [A] reads on into [B].
TEST(KzutilIniGet, PrintsEveryValueOrSaysWhatIsMissing) {
  TempDir dir;
  const std::string file =
      dir.Write("x.ini", "[Geometry]\naxis3 = 44.945 15.96\n[A]\nk = 1\n  [B]\nm = 2\n");
  const std::string get = "ini get " + file;
  KzTest::ExpectCases({
      {get + " Geometry axis3", 0, "44.945\n15.96\n"},
      {get + " A m", 0, "2\n"},
      {get + " C k", 1, "", "kzutil: error: no group [C] with entries in " + file + "\n"},
      {get + " A j", 1, "", "kzutil: error: no value of key 'j' in group [A] of " + file + "\n"},
  });
}

TEST(KzutilIniGet, FindsTheFileAlongTheSearchPath) {
  TempDir dir;
  dir.Write("conf/daq.ini", "[Run]\nmode = AUTO fast\n");
  const KzutilRun run(
      KzutilCall{"ini get daq.ini Run mode --json", {{"INIFILE_PATH", dir.Path() + "/conf"}}, ""});
  EXPECT_EQ(run.fExitCode, 0);
  KzTest::ExpectFields(run.Json(), {{"/file", dir.Path() + "/conf/daq.ini"},
                                    {"/group", "Run"},
                                    {"/values", nlohmann::json::array({"AUTO", "fast"})}});
}

TEST(KzutilIniLocate, ListsEveryPlaceTriedInOrderThenTheFind) {
  TempDir home, root;
  root.Write("etc/site.ini", "[G]\nk = 1\n");
  root.Write("sub/x.ini", "[G]\nk = 1\n");
  const KzutilRun run(
      KzutilCall{"ini locate site.ini", {{"HOME", home.Path()}, {"KZ_ROOT", root.Path()}}, ""});
  EXPECT_EQ(run.fExitCode, 0);
  EXPECT_EQ(run.fStderr, "");
  const std::vector<std::string> lines = run.Lines();
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_EQ(lines[0], "not found  ./site.ini");
  EXPECT_EQ(lines[2], "not found  " + home.Path() + "/site.ini");
  EXPECT_EQ(lines[4], "found      " + root.Path() + "/etc/site.ini");
  // A name with a directory is looked for only where it says.
  KzTest::ExpectCases({{"ini locate sub/x.ini", 0, "found      sub/x.ini\n"}}, root.Path());
}

TEST(KzutilIniLocate, NotFoundAnywhereShowsTheUnsetVariablesAndFails) {
  const KzutilRun run("ini locate nowhere-at-all.ini --json");
  EXPECT_EQ(run.fExitCode, 1);
  const nlohmann::json json = run.Json();
  ASSERT_EQ(json["tried"].size(), 8u);
  KzTest::ExpectFields(json, R"({"/found": null, "/tried/0/found": false,
      "/tried/4/path": "$KZ_ROOT/etc/nowhere-at-all.ini", "/tried/4/unset": "KZ_ROOT",
      "/tried/7/unset": "INIFILE_PATH"})"_json);
}
