// The search for an ini file, step by step: the name's own directory, ./, the
// host's configuration directory, HOME, the installation directory and the
// directories of KZ_ROOT, KZDAS_CONFIG_DIR, KZDAS_BASE_DIR and INIFILE_PATH,
// with the warning each step leaves when it finds nothing.
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Inifile.h"
#include "InifileTestSupport.h"
#include "KzNaming.h"
#include "KzTestSupport.h"

using KzUtil::Inifile;

namespace {

const char kNAME[] = "kzutil-locate-test.ini";
const char kMISSING[] = "Inifile::Locate() - could not find ";

// HOME and the working directory in a fresh tree, the other search variables
// unset, and the logger caught.
class InifileLocate : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* name : {"KZ_ROOT", "KZDAS_CONFIG_DIR", "KZDAS_BASE_DIR", "INIFILE_PATH",
                             "KZ_EYE_ID", "KZ_MIRROR_ID"})
      unsetenv(name);
    fHome = Directory("home");
    setenv("HOME", fHome.c_str(), 1);
    ASSERT_EQ(chdir(Directory("work").c_str()), 0);
    // Host identity reports itself on first use; keep that out of the caught log.
    fConfig = KzUtil::Singleton<KzUtil::KzNaming>::GetInstance().GetConfigDirectory();
    fLog = std::make_unique<KzTest::LogCapture>();
  }
  void TearDown() override {
    fLog.reset();
    EXPECT_EQ(chdir("/"), 0);
  }

  std::string Directory(const std::string& name) {
    const std::string path = fRoot.Path() + "/" + name;
    mkdir(path.c_str(), 0755);
    return path;
  }
  // Creates the ini file in directory (relative to the tree) and returns its path there.
  std::string Place(const std::string& directory) {
    return fRoot.Write(directory + "/" + kNAME, "[G]\nk = 1\n");
  }
  static std::string Missing(const std::string& directory) { return kMISSING + directory + kNAME; }
  std::vector<std::string> Lines() const { return fLog->Lines(); }

  KzTest::TempDir fRoot;
  std::string fHome;    // value of HOME
  std::string fConfig;  // the host's configuration directory under HOME
  std::unique_ptr<KzTest::LogCapture> fLog;
};

TEST_F(InifileLocate, NameWithDirectoryIsTriedThereFirst) {
  fRoot.Write("work/a/b.ini", "[G]\n");
  EXPECT_EQ(Inifile::Locate("a/b.ini"), "a/b.ini");
  EXPECT_EQ(fLog->Text(), "");
}

TEST_F(InifileLocate, AbsoluteNameIsFoundWhereItIs) {
  const std::string path = Place("elsewhere");
  EXPECT_EQ(Inifile::Locate(path.c_str()), path);
  EXPECT_EQ(fLog->Text(), "");
}

TEST_F(InifileLocate, NameInRootSplitsIntoEmptyDirectoryAndTestsNothingThere) {
  fRoot.Write(std::string("work/") + kNAME, "[G]\n");
  EXPECT_EQ(Inifile::Locate((std::string("/") + kNAME).c_str()), std::string(".//") + kNAME);
}

TEST_F(InifileLocate, WorkingDirectoryIsSecond) {
  Place("work");
  Place("home");
  EXPECT_EQ(Inifile::Locate(kNAME), std::string("./") + kNAME);
  EXPECT_EQ(fLog->Text(), "");
}

TEST_F(InifileLocate, ConfigurationDirectoryIsThird) {
  ASSERT_EQ(fConfig.compare(0, fHome.size(), fHome), 0) << "not under HOME: " << fConfig;
  Place(fConfig.substr(fRoot.Path().size() + 1));
  Place("home");
  const std::string separator = fConfig.back() == '/' ? "" : "/";
  EXPECT_EQ(Inifile::Locate(kNAME), fConfig + separator + kNAME);
  EXPECT_EQ(Lines(), std::vector<std::string>{Missing("./")});
}

TEST_F(InifileLocate, HomeIsFourth) {
  Place("home");
  EXPECT_EQ(Inifile::Locate(kNAME), fHome + "/" + kNAME);
  EXPECT_EQ(Lines(), (std::vector<std::string>{Missing("./"), Missing(fConfig)}));
}

TEST_F(InifileLocate, EnvironmentDirectoriesComeInOrder) {
  setenv("KZ_ROOT", Directory("root").c_str(), 1);
  setenv("KZDAS_CONFIG_DIR", Directory("das-config").c_str(), 1);
  setenv("KZDAS_BASE_DIR", Directory("das-base").c_str(), 1);
  setenv("INIFILE_PATH", Directory("path").c_str(), 1);
  Place("path");
  Place("das-base/config");
  Place("das-config/config");
  Place("root/etc");
  const std::string root = fRoot.Path();

  EXPECT_EQ(Inifile::Locate(kNAME), root + "/root/etc/" + kNAME);
  unlink((root + "/root/etc/" + kNAME).c_str());
  EXPECT_EQ(Inifile::Locate(kNAME), root + "/das-config/config/" + kNAME);
  unlink((root + "/das-config/config/" + kNAME).c_str());
  EXPECT_EQ(Inifile::Locate(kNAME), root + "/das-base/config/" + kNAME);
  unlink((root + "/das-base/config/" + kNAME).c_str());
  EXPECT_EQ(Inifile::Locate(kNAME), root + "/path/" + kNAME);
}

TEST_F(InifileLocate, SetDirectoriesAreNamedInWarnings) {
  const std::string root = fRoot.Path();
  setenv("KZ_ROOT", (root + "/root").c_str(), 1);
  setenv("KZDAS_CONFIG_DIR", (root + "/das-config").c_str(), 1);
  setenv("KZDAS_BASE_DIR", (root + "/das-base").c_str(), 1);
  setenv("INIFILE_PATH", (root + "/path").c_str(), 1);
  Place("path");
  EXPECT_EQ(Inifile::Locate(kNAME), root + "/path/" + kNAME);
  const std::vector<std::string> expected = {Missing("./"),
                                             Missing(fConfig),
                                             Missing(fHome + "/"),
                                             Missing("/opt/vesta/etc/"),
                                             Missing(root + "/root/etc/"),
                                             Missing(root + "/das-config/config/"),
                                             Missing(root + "/das-base/config/")};
  EXPECT_EQ(Lines(), expected);
}

TEST_F(InifileLocate, NothingFoundListsEveryPlaceThenFails) {
  EXPECT_EQ(Inifile::Locate(kNAME), "");
  const std::vector<std::string> expected = {
      Missing("./"),
      Missing(fConfig),
      Missing(fHome + "/"),
      Missing("/opt/vesta/etc/"),
      Missing("$KZ_ROOT/etc/"),
      Missing("$KZDAS_CONFIG_DIR/"),
      Missing("$KZDAS_BASE_DIR/"),
      Missing("$INIFILE_PATH/"),
      kMISSING + std::string(kNAME) + " in any directory !!!"};
  EXPECT_EQ(Lines(), expected);
}

TEST_F(InifileLocate, WarningsHaveTheirSeverities) {
  KzUtil::ErrorLogger& logger = KzUtil::Singleton<KzUtil::ErrorLogger>::GetInstance();
  logger.SetOption(KzUtil::ErrorLogger::eShowSeverity, true);
  Inifile::Locate(kNAME);
  logger.SetOption(KzUtil::ErrorLogger::eShowSeverity, false);
  const std::vector<std::string> lines = Lines();
  ASSERT_EQ(lines.size(), 9u);
  EXPECT_EQ(lines.front(), "WRN:" + Missing("./"));
  EXPECT_EQ(lines.back(), "ERR:" + std::string(kMISSING) + kNAME + " in any directory !!!");
}

TEST_F(InifileLocate, WholeNameIsAppendedFromSecondStepOn) {
  Place("home/sub");
  const std::string name = std::string("sub/") + kNAME;
  EXPECT_EQ(Inifile::Locate(name.c_str()), fHome + "/" + name);
  EXPECT_EQ(Lines(), (std::vector<std::string>{kMISSING + std::string("./") + name,
                                               kMISSING + fConfig + name}));
}

TEST_F(InifileLocate, SearchPathWithTrailingSlashGivesDoubleSlash) {
  setenv("INIFILE_PATH", (Directory("path") + "/").c_str(), 1);
  Place("path");
  EXPECT_EQ(Inifile::Locate(kNAME), fRoot.Path() + "/path//" + kNAME);
}

TEST_F(InifileLocate, SearchPathIsOneDirectoryNotList) {
  setenv("INIFILE_PATH", (Directory("one") + ":" + Directory("two")).c_str(), 1);
  Place("two");
  EXPECT_EQ(Inifile::Locate(kNAME), "");
}

TEST_F(InifileLocate, ReaderOfFileFoundNowhereIsUsableButEmpty) {
  Inifile ini(kNAME);
  EXPECT_STREQ(ini.GetFilename(), "");
  EXPECT_EQ(ini.GetStatus(), 0);
  EXPECT_EQ(ini.SpecifyGroup("G"), -1);
  int error = 0;
  EXPECT_EQ(ini.GetFirstValue("k", 3, &error), 3);
  EXPECT_EQ(error, -1);
}

TEST_F(InifileLocate, ReaderOpensWhatLocateFinds) {
  Place("home");
  Inifile ini(kNAME);
  EXPECT_EQ(ini.GetFilename(), fHome + "/" + kNAME);
  ASSERT_EQ(ini.SpecifyGroup("G"), 0);
  EXPECT_EQ(ini.GetFirstValue("k"), 1);
}

TEST_F(InifileLocate, EmptyDirectoryTestsOnlyNamesThatSayWhere) {
  Place("work");
  EXPECT_EQ(KzTest::OpenInifile::TestFile("", kNAME), "");
  EXPECT_EQ(KzTest::OpenInifile::TestFile("", std::string("./") + kNAME),
            std::string("./") + kNAME);
  EXPECT_EQ(KzTest::OpenInifile::TestFile("", std::string("../work/") + kNAME),
            std::string("../work/") + kNAME);
  EXPECT_EQ(KzTest::OpenInifile::TestFile("", ""), "");
}

TEST_F(InifileLocate, DirectoryGetsOneSeparator) {
  const std::string dir = fRoot.Path() + "/work";
  Place("work");
  EXPECT_EQ(KzTest::OpenInifile::TestFile(dir, kNAME), dir + "/" + kNAME);
  EXPECT_EQ(KzTest::OpenInifile::TestFile(dir + "/", kNAME), dir + "/" + kNAME);
  EXPECT_EQ(KzTest::OpenInifile::TestFile(dir, "absent.ini"), "");
}

const char kFILENAME_ASSERTION[] = "Assertion `filename != __null && *filename != 0' failed.";

void ExpectAssertion(const std::function<void()>& body, const std::string& text) {
  const KzTest::ChildResult child = KzTest::RunInChild(body);
  EXPECT_EQ(child.fSignal, SIGABRT);
  EXPECT_NE(child.fStderr.find(text), std::string::npos) << child.fStderr;
}

TEST(InifileLocateAssertions, NullOrEmptyNameStopsProcess) {
  ExpectAssertion([] { Inifile::Locate(nullptr); }, kFILENAME_ASSERTION);
  ExpectAssertion([] { Inifile::Locate(""); }, kFILENAME_ASSERTION);
  ExpectAssertion([] { Inifile ini(""); }, kFILENAME_ASSERTION);
  ExpectAssertion([] { Inifile ini(nullptr); }, kFILENAME_ASSERTION);
}

TEST(InifileLocateAssertions, ExplicitSearchNeedsNameAndLogFile) {
  ExpectAssertion([] { Inifile ini("x.ini", nullptr, nullptr, nullptr); },
                  "Assertion `logfile != __null' failed.");
  ExpectAssertion([] { Inifile ini("", stderr, nullptr, nullptr); }, kFILENAME_ASSERTION);
}

TEST(InifileLocateAssertions, CopyOfReaderThatFoundNothingStops) {
  KzTest::TempDir home;
  setenv("HOME", home.Path().c_str(), 1);
  ExpectAssertion(
      [] {
        Inifile nowhere("kzutil-nowhere-test.ini");
        Inifile copy(nowhere);
      },
      kFILENAME_ASSERTION);
}

}  // namespace
