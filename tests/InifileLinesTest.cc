// How the reader cuts a file into lines: newline-terminated lines only, carriage
// returns kept, tabs as blanks, comments cut at ';' and then at '#'.
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "Inifile.h"
#include "InifileTestSupport.h"
#include "KzTestSupport.h"

using KzUtil::Inifile;

namespace {

// A reader of content, written to a fresh file, with group "G" selected.
class InifileLines : public ::testing::Test {
 protected:
  Inifile& Read(const std::string& content) {
    fReader = std::make_unique<Inifile>(fDir.Write("lines.ini", content).c_str());
    EXPECT_EQ(fReader->SpecifyGroup("G"), 0);
    return *fReader;
  }
  std::string First(const char* key) {
    const char* value = fReader->GetFirstString(key);
    return value ? value : "<null>";
  }

  KzTest::TempDir fDir;
  std::unique_ptr<Inifile> fReader;
};

TEST_F(InifileLines, UnterminatedLastLineIsInvisible) {
  Read("[G]\nfirst = 1\nlast = 2");
  EXPECT_EQ(First("first"), "1");
  EXPECT_EQ(First("last"), "<null>");
}

TEST_F(InifileLines, TerminatedLastLineIsSeen) {
  Read("[G]\nfirst = 1\nlast = 2\n");
  EXPECT_EQ(First("last"), "2");
}

TEST_F(InifileLines, CarriageReturnStaysInValue) {
  Inifile& ini = Read("[G]\r\nname = abc\r\ncount = 7\r\n");
  EXPECT_EQ(First("name"), "abc\r");
  int error = -5;
  EXPECT_EQ(ini.GetFirstValue("count", &error), 7);
  EXPECT_EQ(error, 0);
}

TEST_F(InifileLines, CarriageReturnMakesBareKeyDifferent) {
  Read("[G]\r\nflag\r\nother = x y\r\n[H]\r\n");
  EXPECT_EQ(First("other"), "x");
  EXPECT_EQ(std::string(fReader->GetNextString(static_cast<int*>(nullptr))), "y\r");
  EXPECT_EQ(First("flag"), "<null>");
  EXPECT_EQ(First("flag\r"), "<null>");
}

TEST_F(InifileLines, TabsSeparateLikeBlanks) {
  Inifile& ini = Read("[G]\n\tkey\t=\tvalue\tsecond\n");
  EXPECT_EQ(First("key"), "value");
  EXPECT_STREQ(ini.GetNextString(static_cast<int*>(nullptr)), "second");
}

TEST_F(InifileLines, TabInsideHeaderMatchesBlank) {
  const std::string path = fDir.Write("tab.ini", "[Camera\tPointing]\nk = 1\n");
  Inifile ini(path.c_str());
  EXPECT_EQ(ini.SpecifyGroup("Camera\tPointing"), -1);
  Inifile again(path.c_str());
  EXPECT_EQ(again.SpecifyGroup("Camera Pointing"), 0);
  EXPECT_STREQ(again.GetFirstString("k"), "1");
}

TEST_F(InifileLines, SemicolonStartsComment) {
  Inifile& ini = Read("[G]\nlist = a b ; c d\n");
  EXPECT_EQ(First("list"), "a");
  EXPECT_STREQ(ini.GetNextString(static_cast<int*>(nullptr)), "b");
  EXPECT_EQ(ini.GetNextString(static_cast<int*>(nullptr)), nullptr);
}

TEST_F(InifileLines, HashInsideValueStartsComment) {
  Read("[G]\nname=a#b\nurl = http://host/page#part\n");
  EXPECT_EQ(First("name"), "a");
  EXPECT_EQ(First("url"), "http://host/page");
}

TEST_F(InifileLines, SemicolonIsCutBeforeHash) {
  Read("[G]\nx = 1;2#3\ny = 4#5;6\n");
  EXPECT_EQ(First("x"), "1");
  EXPECT_EQ(First("y"), "4");
}

TEST_F(InifileLines, CommentedHeaderIsNoHeader) {
  Inifile ini(fDir.Write("c.ini", "; [Old]\n# [Old]\nk = 1\n[New]\nk = 2\n").c_str());
  EXPECT_EQ(ini.SpecifyGroup("Old"), -1);
}

TEST_F(InifileLines, BlankAndCommentLinesAreSkipped) {
  Read("[G]\n\n   \n\t\n; note\n# note\n  ; indented note\nkey = 9\n");
  EXPECT_EQ(First("key"), "9");
}

TEST_F(InifileLines, BackslashDoesNotContinueLine) {
  Inifile& ini = Read("[G]\nlist = a \\\n b c\n");
  EXPECT_EQ(First("list"), "a");
  EXPECT_STREQ(ini.GetNextString(static_cast<int*>(nullptr)), "\\");
  EXPECT_EQ(ini.GetNextString(static_cast<int*>(nullptr)), nullptr);
  EXPECT_EQ(First("b"), "c");
}

}  // namespace
