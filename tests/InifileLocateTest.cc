// Finding and opening an ini file: the search step by step with its warnings, the
// explicit search that reports to the caller's FILE*, opening and closing.
#include <sys/stat.h>

#include <cstdio>

#include "InifileTestSupport.h"
#include "KzNaming.h"

using KzUtil::Inifile;
using namespace std::string_literals;

namespace {

const std::string kNAME = "kzutil-locate-test.ini";
const std::string kMISSING = "Inifile::Locate() - could not find ";
const char kFILENAME_ASSERTION[] = "filename != __null && *filename != 0";

// HOME and the working directory in a fresh tree, the other search variables unset.
class InifileLocate : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* name : {"KZ_ROOT", "KZDAS_CONFIG_DIR", "KZDAS_BASE_DIR", "INIFILE_PATH",
                             "KZ_EYE_ID", "KZ_MIRROR_ID"})
      unsetenv(name);
    fHome = Directory("home");
    setenv("HOME", fHome.c_str(), 1);
    ASSERT_EQ(chdir(Directory("work").c_str()), 0);
    // Host identity reports itself on first use; keep that out of the caught logs.
    fConfig = KzUtil::Singleton<KzUtil::KzNaming>::GetInstance().GetConfigDirectory();
  }
  std::string Directory(const std::string& name) {
    const std::string path = fRoot.Path() + "/" + name;
    mkdir(path.c_str(), 0755);
    return path;
  }
  // Creates the ini file in directory (relative to the tree) and returns its path.
  std::string Place(const std::string& directory) {
    return fRoot.Write(directory + "/" + kNAME, "[G]\nk = 1\n");
  }
  // Locates name and returns the path found; the warnings go to fWarnings.
  std::string Locate(const std::string& name) {
    KzTest::LogCapture log;
    const std::string path = Inifile::Locate(name.c_str());
    fWarnings = log.Lines();
    return path;
  }

  KzTest::TempDir fRoot;
  std::string fHome;                   // value of HOME
  std::string fConfig;                 // the host's configuration directory under HOME
  std::vector<std::string> fWarnings;  // logged by the last Locate
};

TEST_F(InifileLocate, StepsAreTriedInOrderAndNamedWhenTheyFail) {
  ASSERT_EQ(fConfig.compare(0, fHome.size(), fHome), 0) << "not under HOME: " << fConfig;
  const std::string root = fRoot.Path();
  // Where the file is placed (none where we may not write), the directory tried,
  // and how a warning names it while its variable is unset.
  const std::string steps[][3] = {
      {"work", "./", "./"},
      {fConfig.substr(root.size() + 1), fConfig, fConfig},
      {"home", fHome + "/", fHome + "/"},
      {"", "/opt/vesta/etc/", "/opt/vesta/etc/"},
      {"KZ_ROOT/etc", root + "/KZ_ROOT/etc/", "$KZ_ROOT/etc/"},
      {"KZDAS_CONFIG_DIR/config", root + "/KZDAS_CONFIG_DIR/config/", "$KZDAS_CONFIG_DIR/"},
      {"KZDAS_BASE_DIR/config", root + "/KZDAS_BASE_DIR/config/", "$KZDAS_BASE_DIR/"},
      {"INIFILE_PATH", root + "/INIFILE_PATH/", "$INIFILE_PATH/"}};
  std::vector<std::string> warnings;
  for (const auto& step : steps) warnings.push_back("WRN:" + kMISSING + step[2] + kNAME);
  warnings.push_back("ERR:" + kMISSING + kNAME + " in any directory !!!");
  KzUtil::ErrorLogger& logger = KzUtil::Singleton<KzUtil::ErrorLogger>::GetInstance();
  logger.SetOption(KzUtil::ErrorLogger::eShowSeverity, true);
  EXPECT_EQ(Locate(kNAME), "");
  logger.SetOption(KzUtil::ErrorLogger::eShowSeverity, false);
  EXPECT_EQ(fWarnings, warnings);

  for (const char* name : {"KZ_ROOT", "KZDAS_CONFIG_DIR", "KZDAS_BASE_DIR", "INIFILE_PATH"})
    setenv(name, Directory(name).c_str(), 1);
  for (const auto& step : steps)
    if (!step[0].empty()) Place(step[0]);
  warnings.clear();
  for (const auto& [place, directory, unset] : steps) {
    if (!place.empty()) {
      const std::string separator = directory.back() == '/' ? "" : "/";
      EXPECT_EQ(Locate(kNAME), directory + separator + kNAME);
      EXPECT_EQ(fWarnings, warnings);
      ASSERT_EQ(unlink((root + "/" + place + "/" + kNAME).c_str()), 0);
    }
    warnings.push_back(kMISSING + directory + kNAME);
  }
  EXPECT_EQ(Locate(kNAME), "");
  warnings.push_back(kMISSING + kNAME + " in any directory !!!");
  EXPECT_EQ(fWarnings, warnings);
}

TEST_F(InifileLocate, NameIsTriedInItsOwnDirectoryThenAppendedWhole) {
  Place("work");
  Place("work/sub");
  const std::string elsewhere = Place("elsewhere");
  // "/name" splits into "" and the name, and step one tests nothing for it.
  for (const auto& [name, found] : {std::pair{"sub/" + kNAME, "sub/" + kNAME},
                                    {elsewhere, elsewhere},
                                    {"/" + kNAME, ".//" + kNAME}}) {
    EXPECT_EQ(Locate(name), found);
    EXPECT_TRUE(fWarnings.empty()) << name;
  }
  const std::string deeper = "deeper/" + kNAME;
  Place("home/deeper");
  EXPECT_EQ(Locate(deeper), fHome + "/" + deeper);
  EXPECT_EQ(fWarnings,
            (std::vector<std::string>{kMISSING + "./" + deeper, kMISSING + fConfig + deeper}));
}

TEST_F(InifileLocate, SearchPathIsOneDirectoryTakenAsWritten) {
  Place("two");
  setenv("INIFILE_PATH", (Directory("two") + "/").c_str(), 1);
  EXPECT_EQ(Locate(kNAME), fRoot.Path() + "/two//" + kNAME);
  setenv("INIFILE_PATH", (Directory("one") + ":" + Directory("two")).c_str(), 1);
  EXPECT_EQ(Locate(kNAME), "");
}

TEST_F(InifileLocate, TestFileJoinsWithOneSeparatorAndEmptyDirectoryNeedsDotSlash) {
  const std::string dir = fRoot.Path() + "/work";
  Place("work");
  const std::string rows[][3] = {{dir, kNAME, dir + "/" + kNAME},
                                 {dir + "/", kNAME, dir + "/" + kNAME},
                                 {dir, "absent.ini", ""},
                                 {"", kNAME, ""},
                                 {"", "./" + kNAME, "./" + kNAME}};
  for (const auto& row : rows)
    EXPECT_EQ(KzTest::OpenInifile::TestFile(row[0], row[1]), row[2]) << row[0] << " " << row[1];
}

TEST(InifileLocateAssertions, MissingNameOrLogFileStopsProcess) {
  KzTest::TempDir home;
  setenv("HOME", home.Path().c_str(), 1);
  KzTest::ExpectAssertion([] { Inifile::Locate(nullptr); }, kFILENAME_ASSERTION);
  KzTest::ExpectAssertion([] { Inifile ini(""); }, kFILENAME_ASSERTION);
  KzTest::ExpectAssertion([] { Inifile ini("x.ini", nullptr, nullptr, nullptr); },
                          "logfile != __null");
  KzTest::ExpectAssertion([] { Inifile nowhere("kzutil-nowhere-test.ini"), copy(nowhere); },
                          kFILENAME_ASSERTION);
}

// Everything written to a FILE* so far.
std::string Contents(FILE* file) {
  fflush(file);
  return KzTest::ReadFile("/proc/self/fd/" + std::to_string(fileno(file)));
}

class InifileOpen : public KzTest::IniTest {
 protected:
  // What an explicit search for name wrote to its log file, which the reader must
  // leave open; the reader stays in fReader.
  std::string Search(const char* name, const char* second = nullptr, const char* third = nullptr) {
    FILE* log = tmpfile();
    fReader = std::make_unique<KzTest::OpenInifile>(name, log, second, third);
    const std::string text = Contents(log);
    EXPECT_EQ(fclose(log), 0);
    return text;
  }
};

const std::string kSEARCH = "Inifile::Inifile() - ";

TEST_F(InifileOpen, ExplicitSearchTriesNameDotSlashAndTwoDirectoriesOnly) {
  KzTest::LogCapture log;
  const std::string second = fDir.Path() + "/second";
  const std::string third = fDir.Path() + "/third";
  fDir.Write("third/site.ini", "[G]\nk = 3\n");
  setenv("INIFILE_PATH", third.c_str(), 1);
  const std::string notFound =
      kSEARCH + "could not open site.ini\n" + kSEARCH + "could not open ./site.ini\n";
  EXPECT_EQ(Search("site.ini"), notFound);
  EXPECT_STREQ(fReader->GetFilename(), "");
  EXPECT_EQ(fReader->Open(), -1);
  EXPECT_EQ(Search("site.ini", second.c_str(), third.c_str()),
            notFound + kSEARCH + "could not open " + second + "/site.ini\n" + kSEARCH +
                "reading from " + third + "/site.ini ...\n");
  EXPECT_EQ(KzTest::Lookup(*fReader, "G", "k"), "3");
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(InifileOpen, PrintLevelTwoShowsOpeningAndClosing) {
  const std::string path = fDir.Path() + "/test.ini";
  KzTest::LogCapture log;
  Load("[G]\n");
  fReader.reset();
  EXPECT_TRUE(log.Lines().empty());
  Inifile::SetPrintLevel(2);
  Load("[G]\n").Close();
  fReader.reset();  // closes once more, now on a failed stream
  const std::vector<std::string> lines = log.Lines();
  ASSERT_EQ(lines.size(), 7u);
  const std::string address = lines[3].substr(lines[3].find("0x"));
  EXPECT_EQ(lines,
            (std::vector<std::string>{
                "Inifile::Inifile('" + path + "') -", "Inifile::Inifile() - found " + path,
                "Inifile::Open('" + path + "') -", "Inifile::Open() - fInifile= " + address,
                "Inifile::Open() - reading from " + path + " ...",
                "Inifile::Close() - fInifile= " + address, "Inifile::Close() - fInifile= 0"}));
  Inifile::SetPrintLevel(1);
}

TEST(OstdioStream, BuffersEightKilobytesAndLeavesFileOpen) {
  FILE* file = tmpfile();
  fputs("before ", file);
  {
    KzUtil::OstdioStream out(file);
    for (int i = 0; i < 8000; ++i) out << 'a';
    EXPECT_EQ(Contents(file), "before ");
    for (int i = 0; i < 1000; ++i) out << 'b';
    EXPECT_GE(Contents(file).size(), 8000u);
  }
  fputs(" after", file);
  EXPECT_EQ(Contents(file), "before " + std::string(8000, 'a') + std::string(1000, 'b') + " after");
  EXPECT_EQ(fclose(file), 0);
}

}  // namespace
