// A chain of ini files read as one: the first file with the group answers, and a
// file added twice is kept twice.
#include "InifileChain.h"
#include "InifileTestSupport.h"

using KzTest::Lookup;
using KzUtil::InifileChain;

namespace {

// Site file a.ini and local file b.ini in the working directory, HOME beside them.
class InifileChainTest : public KzTest::IniTest {
 protected:
  void SetUp() override {
    IniTest::SetUp();
    fDir.Write("a.ini", "[G]\nshared = a\nonly_a = 1\n[Last]\nx = 1\n");
    fDir.Write("b.ini", "[G]\nshared = b\nonly_b = 2\n[H]\nh = 3 4\n");
  }
};

TEST_F(InifileChainTest, FirstFileWithGroupAnswersEveryKey) {
  InifileChain chain("a.ini");
  ASSERT_EQ(chain.AddInifile("b.ini"), 0);
  EXPECT_EQ(Lookup(chain, "G", "shared"), "a");
  EXPECT_EQ(Lookup(chain, "G", "only_a"), "1");
  EXPECT_EQ(Lookup(chain, "G", "only_b"), "<null>");
  EXPECT_EQ(Lookup(chain, "H", "h"), "3");
  EXPECT_EQ(chain.GetNextValue(), 4);
}

TEST_F(InifileChainTest, EachSelectionStartsAfresh) {
  InifileChain chain("a.ini");
  chain.AddInifile("b.ini");
  EXPECT_EQ(Lookup(chain, "Last", "nowhere"), "<null>");  // the end of a.ini sticks
  EXPECT_EQ(Lookup(chain, "G", "shared"), "a");
  EXPECT_EQ(Lookup(chain, "Z", "shared"), "no group");
  EXPECT_EQ(Lookup(chain, "G", "shared"), "a");
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

TEST_F(InifileChainTest, EmptyNameAndFileFoundNowhereAreNotAdded) {
  InifileChain chain("a.ini");
  KzTest::LogCapture log;
  EXPECT_EQ(chain.AddInifile(""), -1);
  EXPECT_EQ(chain.AddInifile(nullptr), -1);
  EXPECT_EQ(log.Take(),
            "InifileChain::AddInifile() - passed empty filename!\n"
            "InifileChain::AddInifile() - passed empty filename!\n");
  EXPECT_EQ(chain.AddInifile("kzutil-nowhere-test.ini"), -1);
  EXPECT_EQ(log.Lines().back(), "InifileChain::AddInifile() - found ");
}

TEST_F(InifileChainTest, MissingFirstFileLeavesAddedFilesUsable) {
  InifileChain chain("kzutil-nowhere-test.ini");
  EXPECT_EQ(chain.GetStatus(), 0);
  EXPECT_EQ(chain.SpecifyGroup("G"), -1);
  ASSERT_EQ(chain.AddInifile("b.ini"), 0);
  EXPECT_EQ(Lookup(chain, "G", "shared"), "b");
}

TEST_F(InifileChainTest, ChainFromReaderStartsWithItsFileAndSkipsRemovedFiles) {
  KzUtil::Inifile site("a.ini");
  InifileChain chain(site);
  chain.AddInifile("b.ini");
  EXPECT_EQ(Lookup(chain, "G", "shared"), "a");
  ASSERT_EQ(unlink("a.ini"), 0);
  EXPECT_EQ(Lookup(chain, "G", "shared"), "b");
}

TEST_F(InifileChainTest, ChainFromReaderThatFoundNothingStops) {
  KzTest::ExpectAssertion(
      [] {
        KzUtil::Inifile nowhere("kzutil-nowhere-test.ini");
        InifileChain chain(nowhere);
      },
      "filename != __null && *filename != 0");
}

}  // namespace
