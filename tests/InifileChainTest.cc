// A chain of ini files read as one: the first file with the group answers
// every lookup in it, added files are located like any other, and a file added
// twice is kept twice.
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "InifileChain.h"
#include "InifileTestSupport.h"
#include "KzTestSupport.h"

using KzUtil::Inifile;
using KzUtil::InifileChain;

namespace {

// Site file A and local file B in the working directory, HOME beside them.
class InifileChainTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("HOME", fDir.Path().c_str(), 1);
    ASSERT_EQ(chdir(fDir.Path().c_str()), 0);
    fDir.Write("a.ini", "[G]\nshared = a\nonly_a = 1\n[Last]\nx = 1\n");
    fDir.Write("b.ini", "[G]\nshared = b\nonly_b = 2\n[H]\nh = 3 4\n");
  }
  void TearDown() override { EXPECT_EQ(chdir("/"), 0); }
  static std::string First(Inifile& ini, const char* key) {
    const char* value = ini.GetFirstString(key);
    return value ? value : "<null>";
  }

  KzTest::TempDir fDir;
};

TEST_F(InifileChainTest, FirstFileWithGroupAnswersEveryKey) {
  InifileChain chain("a.ini");
  ASSERT_EQ(chain.AddInifile("b.ini"), 0);
  ASSERT_EQ(chain.SpecifyGroup("G"), 0);
  EXPECT_EQ(First(chain, "shared"), "a");
  EXPECT_EQ(First(chain, "only_a"), "1");
  EXPECT_EQ(First(chain, "only_b"), "<null>");
}

TEST_F(InifileChainTest, GroupOnlyInLaterFileIsFoundThere) {
  InifileChain chain("a.ini");
  ASSERT_EQ(chain.AddInifile("b.ini"), 0);
  ASSERT_EQ(chain.SpecifyGroup("H"), 0);
  EXPECT_EQ(chain.GetFirstValue("h"), 3);
  EXPECT_EQ(chain.GetNextValue(), 4);
}

TEST_F(InifileChainTest, EachSelectionStartsAfresh) {
  InifileChain chain("a.ini");
  chain.AddInifile("b.ini");
  ASSERT_EQ(chain.SpecifyGroup("G"), 0);
  EXPECT_EQ(First(chain, "nowhere"), "<null>");
  ASSERT_EQ(chain.SpecifyGroup("Last"), 0);
  EXPECT_EQ(First(chain, "nowhere"), "<null>");
  EXPECT_EQ(chain.SpecifyGroup("G"), 0);
  EXPECT_EQ(First(chain, "shared"), "a");
}

TEST_F(InifileChainTest, GroupInNoFileFailsAndLeavesNothingOpen) {
  InifileChain chain("a.ini");
  chain.AddInifile("b.ini");
  EXPECT_EQ(chain.SpecifyGroup("Z"), -1);
  EXPECT_EQ(First(chain, "shared"), "<null>");
  EXPECT_EQ(chain.SpecifyGroup("G"), 0);
  EXPECT_EQ(First(chain, "shared"), "a");
}

TEST_F(InifileChainTest, SameFileAddedTwiceIsKeptTwiceWithWarning) {
  InifileChain chain("a.ini");
  KzTest::LogCapture log;
  EXPECT_EQ(chain.AddInifile("a.ini"), 0);
  const std::vector<std::string> expected = {
      "InifileChain::AddInifile() - found ./a.ini",
      "InifileChain::AddInifile() - file: ./a.ini already added to the list!"};
  EXPECT_EQ(log.Lines(), expected);
  EXPECT_EQ(chain.AddInifile("a.ini"), 0);
  EXPECT_EQ(log.Lines().size(), 4u);
}

TEST_F(InifileChainTest, EmptyNameIsRefused) {
  InifileChain chain("a.ini");
  KzTest::LogCapture log;
  EXPECT_EQ(chain.AddInifile(""), -1);
  EXPECT_EQ(chain.AddInifile(nullptr), -1);
  const std::string warning = "InifileChain::AddInifile() - passed empty filename!";
  EXPECT_EQ(log.Lines(), (std::vector<std::string>{warning, warning}));
}

TEST_F(InifileChainTest, FileFoundNowhereIsNotAdded) {
  InifileChain chain("a.ini");
  KzTest::LogCapture log;
  EXPECT_EQ(chain.AddInifile("kzutil-nowhere-test.ini"), -1);
  const std::vector<std::string> lines = log.Lines();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(), "InifileChain::AddInifile() - found ");
  EXPECT_EQ(lines[lines.size() - 2],
            "Inifile::Locate() - could not find kzutil-nowhere-test.ini in any directory !!!");
}

TEST_F(InifileChainTest, MissingFirstFileLeavesAddedFilesUsable) {
  InifileChain chain("kzutil-nowhere-test.ini");
  EXPECT_EQ(chain.GetStatus(), 0);
  EXPECT_EQ(chain.SpecifyGroup("G"), -1);
  ASSERT_EQ(chain.AddInifile("b.ini"), 0);
  ASSERT_EQ(chain.SpecifyGroup("G"), 0);
  EXPECT_EQ(First(chain, "shared"), "b");
}

TEST_F(InifileChainTest, ChainFromReaderStartsWithItsFile) {
  Inifile site("a.ini");
  InifileChain chain(site);
  chain.AddInifile("b.ini");
  ASSERT_EQ(chain.SpecifyGroup("G"), 0);
  EXPECT_EQ(First(chain, "shared"), "a");
}

TEST_F(InifileChainTest, FileRemovedAfterAddingIsSkipped) {
  InifileChain chain("a.ini");
  chain.AddInifile("b.ini");
  ASSERT_EQ(unlink("a.ini"), 0);
  ASSERT_EQ(chain.SpecifyGroup("G"), 0);
  EXPECT_EQ(First(chain, "shared"), "b");
}

TEST(InifileChainAssertions, ChainFromReaderThatFoundNothingStops) {
  KzTest::TempDir home;
  setenv("HOME", home.Path().c_str(), 1);
  const KzTest::ChildResult child = KzTest::RunInChild([] {
    Inifile nowhere("kzutil-nowhere-test.ini");
    InifileChain chain(nowhere);
  });
  EXPECT_EQ(child.fSignal, SIGABRT);
  EXPECT_NE(child.fStderr.find("Assertion `filename != __null && *filename != 0' failed."),
            std::string::npos)
      << child.fStderr;
}

}  // namespace
