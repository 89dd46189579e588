// Numbers in values: integers by the strtol base-0 rule cut to int, floating
// values by the strtod rule, what counts as converted, and the defaults.
#include <cmath>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "Inifile.h"
#include "KzTestSupport.h"

using KzUtil::Inifile;

namespace {

class InifileNumbers : public ::testing::Test {
 protected:
  Inifile& Read(const std::string& content) {
    fReader = std::make_unique<Inifile>(fDir.Write("numbers.ini", "[G]\n" + content).c_str());
    EXPECT_EQ(fReader->SpecifyGroup("G"), 0);
    return *fReader;
  }
  // The value of key and the error code, as "value/error".
  std::string Value(const char* key) {
    int error = 99;
    const int value = fReader->GetFirstValue(key, &error);
    return std::to_string(value) + "/" + std::to_string(error);
  }

  KzTest::TempDir fDir;
  std::unique_ptr<Inifile> fReader;
};

TEST_F(InifileNumbers, IntegersFollowBaseZeroRule) {
  Read("dec = 5\nhex = 0x1F\nHEX = 0X1f\noct = 010\nneg = -12\nplus = +7\n");
  EXPECT_EQ(Value("dec"), "5/0");
  EXPECT_EQ(Value("hex"), "31/0");
  EXPECT_EQ(Value("HEX"), "31/0");
  EXPECT_EQ(Value("oct"), "8/0");
  EXPECT_EQ(Value("neg"), "-12/0");
  EXPECT_EQ(Value("plus"), "7/0");
}

TEST_F(InifileNumbers, TrailingCharactersAreIgnored) {
  Read("a = 12abc\nb = 09\nc = 1.9\n");
  EXPECT_EQ(Value("a"), "12/0");
  EXPECT_EQ(Value("b"), "0/0");
  EXPECT_EQ(Value("c"), "1/0");
}

TEST_F(InifileNumbers, TextIsNotConverted) {
  Inifile& ini = Read("word = abc\nsign = -\n");
  EXPECT_EQ(Value("word"), "0/-1");
  EXPECT_EQ(Value("sign"), "0/-1");
  EXPECT_EQ(Value("missing"), "0/-1");
  int error = 0;
  EXPECT_EQ(ini.GetFirstValue("word", 42, &error), 42);
  EXPECT_EQ(error, -1);
  EXPECT_EQ(ini.GetFirstValue("missing", 42, &error), 42);
  EXPECT_EQ(error, -1);
}

TEST_F(InifileNumbers, LongIsCutToInt) {
  Read("big = 4294967301\n");
  EXPECT_EQ(Value("big"), "5/0");
}

TEST_F(InifileNumbers, DefaultedIntegerReportsSuccess) {
  Inifile& ini = Read("k = 3\n");
  int error = -1;
  EXPECT_EQ(ini.GetFirstValue("k", 42, &error), 3);
  EXPECT_EQ(error, 0);
  EXPECT_EQ(ini.GetFirstValue("k", 42), 3);
}

TEST_F(InifileNumbers, NextValuesWalkLine) {
  Inifile& ini = Read("k = 1 2 x 3\n");
  int error = 99;
  EXPECT_EQ(ini.GetFirstValue("k", &error), 1);
  EXPECT_EQ(ini.GetNextValue(&error), 2);
  EXPECT_EQ(error, 0);
  EXPECT_EQ(ini.GetNextValue(&error), 0);
  EXPECT_EQ(error, -1);
  EXPECT_EQ(ini.GetNextValue(&error), 3);
  EXPECT_EQ(error, 0);
  EXPECT_EQ(ini.GetNextValue(&error), 0);
  EXPECT_EQ(error, -1);
  EXPECT_EQ(ini.GetNextValue(8, &error), 8);
  EXPECT_EQ(error, -1);
}

TEST_F(InifileNumbers, FloatsFollowStrtod) {
  Inifile& ini = Read("a = 1.5e3\nb = 0x1p-2\nc = -.5\nd = 1,5\ne = inf\nf = nan\ng = x1\n");
  int error = 99;
  EXPECT_DOUBLE_EQ(ini.GetFirstFloat("a", &error), 1500.0);
  EXPECT_EQ(error, 0);
  EXPECT_DOUBLE_EQ(ini.GetFirstFloat("b", &error), 0.25);
  EXPECT_DOUBLE_EQ(ini.GetFirstFloat("c", &error), -0.5);
  EXPECT_DOUBLE_EQ(ini.GetFirstFloat("d", &error), 1.0);
  EXPECT_EQ(error, 0);
  EXPECT_TRUE(std::isinf(ini.GetFirstFloat("e", &error)));
  EXPECT_TRUE(std::isnan(ini.GetFirstFloat("f", &error)));
  EXPECT_EQ(error, 0);
  EXPECT_EQ(ini.GetFirstFloat("g", &error), 0.0);
  EXPECT_EQ(error, -1);
}

TEST_F(InifileNumbers, FirstFloatDefaultKeepsDoublePrecision) {
  Inifile& ini = Read("k = 0.1\n");
  int error = -1;
  EXPECT_EQ(ini.GetFirstFloat("k", 2.5, &error), 0.1);
  EXPECT_EQ(error, 0);
  EXPECT_EQ(ini.GetFirstFloat("missing", 0.1, &error), 0.1);
  EXPECT_EQ(error, -1);
}

TEST_F(InifileNumbers, NextFloatDefaultRoundsToSinglePrecision) {
  Inifile& ini = Read("k = 1 0.1\n");
  int error = -1;
  EXPECT_EQ(ini.GetFirstValue("k", &error), 1);
  const double value = ini.GetNextFloat(2.5, &error);
  EXPECT_EQ(value, static_cast<double>(0.1f));
  EXPECT_NE(value, 0.1);
  EXPECT_EQ(error, 0);
  EXPECT_EQ(ini.GetNextFloat(2.5, &error), 2.5);
  EXPECT_EQ(error, -1);
  EXPECT_EQ(ini.GetNextFloat(0.1, &error), static_cast<double>(0.1f));
}

TEST_F(InifileNumbers, NextFloatWithoutDefaultKeepsDoublePrecision) {
  Inifile& ini = Read("k = 1 0.1\n");
  EXPECT_EQ(ini.GetFirstValue("k"), 1);
  int error = -1;
  EXPECT_EQ(ini.GetNextFloat(&error), 0.1);
  EXPECT_EQ(error, 0);
}

}  // namespace
