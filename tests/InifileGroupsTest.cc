// Selecting a group: where a header is recognised, where a group's body ends,
// which of two equal headers counts, and the end-of-file state that sticks.
#include <string>

#include <gtest/gtest.h>

#include "Inifile.h"
#include "InifileTestSupport.h"
#include "KzTestSupport.h"

using KzUtil::Inifile;

namespace {

class InifileGroups : public ::testing::Test {
 protected:
  std::string Write(const std::string& content) { return fDir.Write("groups.ini", content); }
  static std::string First(Inifile& ini, const char* key) {
    const char* value = ini.GetFirstString(key);
    return value ? value : "<null>";
  }

  KzTest::TempDir fDir;
};

TEST_F(InifileGroups, HeaderMayStandAnywhereOnLine) {
  Inifile padded(Write("  [Geometry]  \naxis = 1\n").c_str());
  EXPECT_EQ(padded.SpecifyGroup("Geometry"), 0);
  EXPECT_EQ(First(padded, "axis"), "1");
  Inifile embedded(Write("x [Geometry] y\naxis = 2\n").c_str());
  EXPECT_EQ(embedded.SpecifyGroup("Geometry"), 0);
  EXPECT_EQ(First(embedded, "axis"), "2");
}

TEST_F(InifileGroups, HeaderMatchIsCaseSensitive) {
  Inifile ini(Write("[geometry]\naxis = 1\n").c_str());
  EXPECT_EQ(ini.SpecifyGroup("Geometry"), -1);
}

TEST_F(InifileGroups, BlanksInsideBracketsMustMatch) {
  const std::string path = Write("[ Geometry ]\naxis = 1\n");
  Inifile plain(path.c_str());
  EXPECT_EQ(plain.SpecifyGroup("Geometry"), -1);
  Inifile blanks(path.c_str());
  EXPECT_EQ(blanks.SpecifyGroup(" Geometry "), 0);
  EXPECT_EQ(First(blanks, "axis"), "1");
}

TEST_F(InifileGroups, BodyEndsAtBracketInColumnOne) {
  Inifile ini(Write("[A]\nk = 1\n[B]\nm = 2\n").c_str());
  ASSERT_EQ(ini.SpecifyGroup("A"), 0);
  EXPECT_EQ(First(ini, "k"), "1");
  EXPECT_EQ(First(ini, "m"), "<null>");
  ASSERT_EQ(ini.SpecifyGroup("B"), 0);
  EXPECT_EQ(First(ini, "m"), "2");
  EXPECT_EQ(First(ini, "k"), "<null>");
}

TEST_F(InifileGroups, AnyLineStartingWithBracketEndsBody) {
  Inifile ini(Write("[A]\nk = 1\n[not a header\nm = 2\n").c_str());
  ASSERT_EQ(ini.SpecifyGroup("A"), 0);
  EXPECT_EQ(First(ini, "m"), "<null>");
}

TEST_F(InifileGroups, IndentedHeaderDoesNotEndPreviousGroup) {
  const std::string path = Write("[A]\nk = 1\n  [B]\nm = 2\n");
  Inifile ini(path.c_str());
  ASSERT_EQ(ini.SpecifyGroup("A"), 0);
  EXPECT_EQ(First(ini, "m"), "2");
  ASSERT_EQ(ini.SpecifyGroup("B"), 0);
  EXPECT_EQ(First(ini, "m"), "2");
  EXPECT_EQ(First(ini, "k"), "<null>");
}

TEST_F(InifileGroups, FirstOfTwoEqualHeadersWins) {
  Inifile ini(Write("[A]\nk = 1\n[A]\nk = 2\nj = 3\n[Z]\n").c_str());
  ASSERT_EQ(ini.SpecifyGroup("A"), 0);
  EXPECT_EQ(First(ini, "k"), "1");
  EXPECT_EQ(First(ini, "j"), "<null>");
}

TEST_F(InifileGroups, HeaderOnLastLineSelectsNoGroup) {
  Inifile ini(Write("k = 1\n[A]\n").c_str());
  EXPECT_EQ(ini.SpecifyGroup("A"), -1);
}

TEST_F(InifileGroups, EmptyGroupBeforeNextHeaderIsSelected) {
  Inifile ini(Write("[A]\n[B]\nk = 1\n").c_str());
  EXPECT_EQ(ini.SpecifyGroup("A"), 0);
  EXPECT_EQ(First(ini, "k"), "<null>");
}

TEST_F(InifileGroups, GroupsMayBeSelectedInAnyOrder) {
  Inifile ini(Write("[A]\na = 1\n[B]\nb = 2\n[C]\nc = 3\n").c_str());
  ASSERT_EQ(ini.SpecifyGroup("B"), 0);
  EXPECT_EQ(First(ini, "b"), "2");
  ASSERT_EQ(ini.SpecifyGroup("A"), 0);
  EXPECT_EQ(First(ini, "a"), "1");
  ASSERT_EQ(ini.SpecifyGroup("C"), 0);
  EXPECT_EQ(First(ini, "c"), "3");
  EXPECT_EQ(First(ini, "c"), "3");
}

TEST_F(InifileGroups, MissingKeyInInnerGroupDoesNotStick) {
  Inifile ini(Write("[A]\na = 1\n[B]\nb = 2\n").c_str());
  ASSERT_EQ(ini.SpecifyGroup("A"), 0);
  EXPECT_EQ(First(ini, "missing"), "<null>");
  EXPECT_EQ(First(ini, "a"), "1");
  EXPECT_EQ(ini.SpecifyGroup("B"), 0);
}

TEST_F(InifileGroups, MissingKeyInLastGroupSticksUntilReopened) {
  KzTest::OpenInifile ini(Write("[A]\na = 1\n[B]\nb = 2\n").c_str());
  ASSERT_EQ(ini.SpecifyGroup("B"), 0);
  EXPECT_EQ(First(ini, "missing"), "<null>");
  EXPECT_EQ(First(ini, "b"), "<null>");
  EXPECT_EQ(ini.SpecifyGroup("A"), -1);
  ini.Reset();
  EXPECT_EQ(ini.SpecifyGroup("A"), -1);
  EXPECT_EQ(ini.GetStatus(), 0);

  ASSERT_EQ(ini.Open(), 0);
  EXPECT_EQ(ini.SpecifyGroup("B"), 0);
  EXPECT_EQ(First(ini, "b"), "2");
}

TEST_F(InifileGroups, MissingGroupSticks) {
  Inifile ini(Write("[A]\na = 1\n").c_str());
  EXPECT_EQ(ini.SpecifyGroup("Nowhere"), -1);
  EXPECT_EQ(ini.SpecifyGroup("A"), -1);
}

TEST_F(InifileGroups, ReadingUnterminatedLastLineSticksToo) {
  Inifile ini(Write("[A]\na = 1\nb = 2").c_str());
  ASSERT_EQ(ini.SpecifyGroup("A"), 0);
  EXPECT_EQ(First(ini, "a"), "1");
  EXPECT_EQ(First(ini, "b"), "<null>");
  EXPECT_EQ(First(ini, "a"), "<null>");
}

TEST_F(InifileGroups, LookupBeforeAnyGroupComplainsOnStandardError) {
  const std::string path = Write("[A]\na = 1 2\n");
  const KzTest::ChildResult child = KzTest::RunInChild([&] {
    Inifile ini(path.c_str());
    EXPECT_EQ(ini.GetFirstString("a"), nullptr);
    int error = 0;
    EXPECT_EQ(ini.GetNextString(&error), nullptr);
    EXPECT_EQ(error, -1);
    EXPECT_EQ(ini.GetFirstValue("a", 5, &error), 5);
    EXPECT_EQ(error, -1);
  });
  EXPECT_EQ(child.fExitCode, 0);
  const std::string line = "group has to be defined!!: ";
  ASSERT_EQ(child.fStderr.compare(0, line.size(), line), 0) << child.fStderr;
  size_t count = 0;
  for (size_t at = child.fStderr.find(line); at != std::string::npos;
       at = child.fStderr.find(line, at + 1))
    ++count;
  EXPECT_EQ(count, 3u);
}

}  // namespace
