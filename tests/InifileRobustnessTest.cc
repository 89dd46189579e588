// Files that are not what an ini file should be, and files that change under
// the reader: each ends in the ordinary not-found values, never in a crash.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "Inifile.h"
#include "InifileTestSupport.h"
#include "KzTestSupport.h"

using KzUtil::Inifile;

namespace {

class InifileRobustness : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("HOME", fDir.Path().c_str(), 1);
    ASSERT_EQ(chdir(fDir.Path().c_str()), 0);
  }
  void TearDown() override { EXPECT_EQ(chdir("/"), 0); }

  // The lookups a caller makes on a reader that should find nothing.
  static void ExpectNothingFound(Inifile& ini) {
    EXPECT_EQ(ini.SpecifyGroup("G"), -1);
    int error = 0;
    EXPECT_EQ(ini.GetFirstString("k"), nullptr);
    EXPECT_STREQ(ini.GetFirstString("k", "def", &error), "def");
    EXPECT_EQ(error, -1);
    EXPECT_EQ(ini.GetFirstValue("k", 7, &error), 7);
    EXPECT_EQ(error, -1);
    EXPECT_EQ(ini.GetFirstFloat("k", &error), 0.0);
    EXPECT_EQ(error, -1);
    EXPECT_EQ(ini.GetNextValue(&error), 0);
    EXPECT_EQ(error, -1);
  }

  KzTest::TempDir fDir;
  KzTest::LogCapture fLog;
};

TEST_F(InifileRobustness, BinaryDataHoldsNoGroup) {
  std::mt19937 random(6);
  std::string noise(64 * 1024, '\0');
  for (char& c : noise) c = static_cast<char>(random());
  for (char& c : noise)
    if (c == '[') c = '{';
  Inifile ini(fDir.Write("noise.ini", noise).c_str());
  EXPECT_EQ(ini.GetStatus(), 0);
  ExpectNothingFound(ini);
}

TEST_F(InifileRobustness, GroupAmidBinaryDataIsFound) {
  std::mt19937 random(7);
  std::string noise(20000, '\0');
  for (char& c : noise) c = static_cast<char>(random());
  Inifile ini(fDir.Write("mixed.ini", noise + "\n[G]\nk = 5\n" + noise).c_str());
  ASSERT_EQ(ini.SpecifyGroup("G"), 0);
  EXPECT_EQ(ini.GetFirstValue("k"), 5);
}

TEST_F(InifileRobustness, NulByteEndsWhatLookupsSee) {
  const std::string content = std::string("[G]\nkey\0hidden = 1\nname = a\0b c\nnext = 2\n", 41);
  Inifile ini(fDir.Write("nul.ini", content).c_str());
  ASSERT_EQ(ini.SpecifyGroup("G"), 0);
  EXPECT_STREQ(ini.GetFirstString("name"), "a");
  EXPECT_EQ(ini.GetNextString(static_cast<int*>(nullptr)), nullptr);
  EXPECT_EQ(ini.GetFirstValue("next"), 2);
  EXPECT_EQ(ini.GetFirstString("key"), nullptr);
}

TEST_F(InifileRobustness, NulByteInsideHeaderHidesIt) {
  Inifile ini(fDir.Write("nulheader.ini", std::string("[G\0]\nk = 1\n", 11)).c_str());
  ExpectNothingFound(ini);
}

TEST_F(InifileRobustness, MegabyteLineIsReadWhole) {
  const std::string value(1 << 20, 'v');
  Inifile ini(fDir.Write("long.ini", "[G]\nlong = " + value + " tail\nafter = 3\n").c_str());
  ASSERT_EQ(ini.SpecifyGroup("G"), 0);
  EXPECT_EQ(ini.GetFirstValue("after"), 3);
  const char* found = ini.GetFirstString("long");
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(std::string(found), value);
  EXPECT_STREQ(ini.GetNextString(static_cast<int*>(nullptr)), "tail");
}

TEST_F(InifileRobustness, CrlfFileKeepsCarriageReturns) {
  Inifile ini(fDir.Write("dos.ini", "[G]\r\nname = abc\r\nn = 1 2\r\n[H]\r\n").c_str());
  ASSERT_EQ(ini.SpecifyGroup("G"), 0);
  EXPECT_STREQ(ini.GetFirstString("name"), "abc\r");
  int error = -1;
  EXPECT_EQ(ini.GetFirstValue("n", &error), 1);
  EXPECT_EQ(ini.GetNextValue(&error), 2);
  EXPECT_EQ(error, 0);
  EXPECT_EQ(ini.GetNextString(&error), nullptr);
}

TEST_F(InifileRobustness, DirectoryIsFoundButReadsNothing) {
  ASSERT_EQ(mkdir((fDir.Path() + "/conf.ini").c_str(), 0755), 0);
  Inifile ini("conf.ini");
  EXPECT_STREQ(ini.GetFilename(), "./conf.ini");
  EXPECT_EQ(ini.GetStatus(), 0);
  ExpectNothingFound(ini);
}

TEST_F(InifileRobustness, DanglingSymlinkIsNotFound) {
  ASSERT_EQ(symlink((fDir.Path() + "/gone.ini").c_str(), (fDir.Path() + "/link.ini").c_str()), 0);
  Inifile ini("link.ini");
  EXPECT_STREQ(ini.GetFilename(), "");
  EXPECT_EQ(ini.GetStatus(), 0);
  ExpectNothingFound(ini);
  EXPECT_NE(fLog.Text().find("could not find link.ini in any directory !!!"), std::string::npos);
}

TEST_F(InifileRobustness, FileRemovedBeforeOpenMakesReaderUnusable) {
  const std::string path = fDir.Write("site.ini", "[G]\nk = 1\n");
  KzTest::OpenInifile ini("site.ini");
  ASSERT_EQ(unlink(path.c_str()), 0);
  EXPECT_EQ(ini.Open(), -1);
  EXPECT_EQ(ini.GetStatus(), -1);
  ExpectNothingFound(ini);
  int error = 0;
  EXPECT_EQ(ini.GetNextString(&error), nullptr);
  EXPECT_EQ(error, -1);
  EXPECT_STREQ(ini.GetNextString("d", &error), "d");
  EXPECT_EQ(error, -1);
}

}  // namespace
