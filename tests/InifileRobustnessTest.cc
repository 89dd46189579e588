// Files that are not what an ini file should be, and files that change under the
// reader: each ends in the ordinary not-found values, never in a crash.
#include <sys/stat.h>

#include <random>

#include "InifileTestSupport.h"

using KzTest::Result;
using KzUtil::Inifile;
using namespace std::string_literals;

namespace {

class InifileRobustness : public KzTest::IniTest {
 protected:
  // The lookups a caller makes on a reader that should find nothing.
  static void ExpectNothingFound(Inifile& ini) {
    EXPECT_EQ(ini.SpecifyGroup("G"), -1);
    int error = 0;
    EXPECT_EQ(ini.GetFirstString("k"), nullptr);
    EXPECT_EQ(Result(ini.GetFirstString("k", "def", &error), error), "def/-1");
    EXPECT_EQ(Result(ini.GetFirstValue("k", 7, &error), error), "7/-1");
    EXPECT_EQ(Result(ini.GetFirstFloat("k", &error), error), "0/-1");
    EXPECT_EQ(Result(ini.GetNextValue(&error), error), "0/-1");
    EXPECT_EQ(Result(ini.GetNextString("d", &error), error), "d/-1");
  }

  KzTest::LogCapture fLog;
};

TEST_F(InifileRobustness, BinaryDataHoldsOnlyTheGroupsWrittenIntoIt) {
  std::mt19937 random(6);
  std::string noise(64 * 1024, '\0');
  for (char& c : noise) c = static_cast<char>(random());
  const std::string withGroup = noise + "\n[G]\nk = 5\n" + noise;
  for (char& c : noise)
    if (c == '[') c = '{';
  ExpectNothingFound(Load(noise));
  EXPECT_EQ(fReader->GetStatus(), 0);
  ASSERT_EQ(Load(withGroup).SpecifyGroup("G"), 0);
  EXPECT_EQ(First("k"), "5");
}

TEST_F(InifileRobustness, NulByteEndsWhatLookupsSee) {
  Read("key\0hidden = 1\nname = a\0b c\nnext = 2\n"s);
  EXPECT_EQ(Values("name"), "a");
  EXPECT_EQ(First("next"), "2");
  EXPECT_EQ(First("key"), "<null>");
  ExpectNothingFound(Load("[G\0]\nk = 1\n"s));
}

TEST_F(InifileRobustness, MegabyteLineIsReadWhole) {
  const std::string value(1 << 20, 'v');
  Read("long = " + value + " tail\nafter = 3\n");
  EXPECT_EQ(First("after"), "3");
  EXPECT_EQ(Values("long"), value + "|tail");
}

TEST_F(InifileRobustness, DirectoryIsFoundAndDanglingSymlinkIsNotButNeitherReads) {
  ASSERT_EQ(mkdir((fDir.Path() + "/conf.ini").c_str(), 0755), 0);
  ASSERT_EQ(symlink((fDir.Path() + "/gone.ini").c_str(), (fDir.Path() + "/link.ini").c_str()), 0);
  for (const auto& [name, found] : {std::pair{"conf.ini", "./conf.ini"}, {"link.ini", ""}}) {
    SCOPED_TRACE(name);
    Inifile ini(name);
    EXPECT_STREQ(ini.GetFilename(), found);
    EXPECT_EQ(ini.GetStatus(), 0);
    ExpectNothingFound(ini);
  }
  EXPECT_EQ(fLog.Lines().back(),
            "Inifile::Locate() - could not find link.ini in any directory !!!");
}

TEST_F(InifileRobustness, FileRemovedBeforeOpenMakesReaderUnusable) {
  const std::string path = fDir.Write("site.ini", "[G]\nk = 1\n");
  KzTest::OpenInifile ini("site.ini");
  ASSERT_EQ(unlink(path.c_str()), 0);
  EXPECT_EQ(ini.Open(), -1);
  EXPECT_EQ(ini.GetStatus(), -1);
  ExpectNothingFound(ini);
}

}  // namespace
