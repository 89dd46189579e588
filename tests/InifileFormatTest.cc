// How the reader cuts a file into lines and into groups, quirks included.
#include <algorithm>

#include "InifileTestSupport.h"

using KzTest::Lookup;

namespace {

class InifileLines : public KzTest::IniTest {};
class InifileGroups : public KzTest::IniTest {};

TEST_F(InifileLines, UnterminatedLastLineIsInvisibleAndSticks) {
  Read("a = 1\nb = 2");
  EXPECT_EQ(First("a"), "1");
  EXPECT_EQ(First("b"), "<null>");
  EXPECT_EQ(First("a"), "<null>");
}

TEST_F(InifileLines, CarriageReturnsOfCrlfFileStayInValues) {
  KzUtil::Inifile& ini = Load("[G]\r\nname = abc\r\nn = 1 2\r\n[H]\r\n");
  ASSERT_EQ(ini.SpecifyGroup("G"), 0);
  EXPECT_EQ(First("name"), "abc\r");
  int error = -1;
  EXPECT_EQ(ini.GetFirstValue("n", &error), 1);
  EXPECT_EQ(KzTest::Result(ini.GetNextValue(&error), error), "2/0");
  EXPECT_EQ(Values("n"), "1|2\r");
}

TEST_F(InifileLines, TabsTurnIntoBlanksEvenInHeaders) {
  const std::string content = "[Camera\tPointing]\n\tkey\t=\tvalue\tsecond\n";
  EXPECT_EQ(Load(content).SpecifyGroup("Camera\tPointing"), -1);
  ASSERT_EQ(Load(content).SpecifyGroup("Camera Pointing"), 0);
  EXPECT_EQ(Values("key"), "value|second");
}

// A line ends at its first ';' or '#', quoted or not, and a backslash continues nothing.
TEST_F(InifileLines, CommentsAndBlankLinesAreCutAway) {
  Read(
      "list = a b ; c d\nname=a#b\nurl = http://host/page#part\nx = 1;2#3 4\n\n   \n\t\n"
      "; note\n# note\n  ; indented note\nkey = 9\ncontinued = a \\\n b c\n[H]\n");
  const char* rows[][2] = {{"list", "a|b"}, {"name", "a"},     {"url", "http://host/page"},
                           {"x", "1"},      {"key", "9"},      {"continued", "a|\\"},
                           {"b", "c"},      {"note", "<null>"}};
  for (const auto& [key, values] : rows) EXPECT_EQ(Values(key), values) << key;
}

TEST_F(InifileGroups, HeaderIsFoundAnywhereButGroupEndsOnlyAtColumnOne) {
  const char* rows[][4] = {
      // content, group, key, lookup
      {"  [Geometry]  \naxis = 1\n", "Geometry", "axis", "1"},
      {"x [Geometry] y\naxis = 2\n", "Geometry", "axis", "2"},
      {"[geometry]\naxis = 1\n", "Geometry", "axis", "no group"},
      {"[ Geometry ]\naxis = 3\n", " Geometry ", "axis", "3"},
      {"; [Old]\n# [Old]\nk = 1\n[New]\nk = 2\n", "Old", "k", "no group"},
      {"k = 1\n[A]\n", "A", "k", "no group"},  // header on the last line
      // The body ends only at a '[' in column one.
      {"[A]\nk = 1\n[not a header\nm = 2\n", "A", "m", "<null>"},
      {"[A]\nk = 1\n  [B]\nm = 2\n", "A", "m", "2"},
      {"[A]\nk = 1\n  [B]\nm = 2\n", "B", "k", "<null>"},
      {"[A]\nk = 1\n[A]\nk = 2\nj = 3\n[Z]\n", "A", "k", "1"},
      {"[A]\nk = 1\n[A]\nk = 2\nj = 3\n[Z]\n", "A", "j", "<null>"},
      {"[A]\n[B]\nk = 1\n", "A", "k", "<null>"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(Lookup(Load(row[0]), row[1], row[2]), row[3]) << row[0] << "in " << row[1];
}

TEST_F(InifileGroups, EndOfFileSticksUntilReopenedOrCopied) {
  KzTest::OpenInifile& ini = Load("[A]\na = 1\n[B]\nb = 2\n");
  EXPECT_EQ(Lookup(ini, "B", "missing"), "<null>");
  EXPECT_EQ(First("b"), "<null>");
  ini.Reset();
  EXPECT_EQ(ini.SpecifyGroup("A"), -1);
  EXPECT_EQ(ini.GetStatus(), 0);
  KzUtil::Inifile copy(ini);  // locates the same file afresh
  EXPECT_STREQ(copy.GetFilename(), ini.GetFilename());
  EXPECT_EQ(Lookup(copy, "A", "a"), "1");
  ASSERT_EQ(ini.Open(), 0);
  EXPECT_EQ(Lookup(ini, "B", "b"), "2");
  EXPECT_EQ(Lookup(ini, "A", "a"), "1");
  EXPECT_EQ(ini.SpecifyGroup("Nowhere"), -1);
  EXPECT_EQ(ini.SpecifyGroup("A"), -1);
}

TEST_F(InifileGroups, LookupBeforeAnyGroupComplainsOnStandardError) {
  const std::string path = fDir.Write("g.ini", "[A]\na = 1 2\n");
  const KzTest::ChildResult child = KzTest::RunInChild([&] {
    KzUtil::Inifile ini(path.c_str());
    EXPECT_EQ(ini.GetFirstString("a"), nullptr);
    int error = 0;
    EXPECT_EQ(KzTest::Result(ini.GetNextString(&error), error), "<null>/-1");
    EXPECT_EQ(KzTest::Result(ini.GetFirstValue("a", 5, &error), error), "5/-1");
  });
  EXPECT_EQ(child.fExitCode, 0);
  const std::string line = "group has to be defined!!: ";
  ASSERT_EQ(child.fStderr.compare(0, line.size(), line), 0) << child.fStderr;
  EXPECT_EQ(std::count(child.fStderr.begin(), child.fStderr.end(), '\n'), 3) << child.fStderr;
}

}  // namespace
