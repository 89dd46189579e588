// Keys and their values: splitting, the getters and their error codes, numbers,
// the process-wide tokenizer, overriding a lookup, and the escape decoder.
#include <cstring>

#include "InifileTestSupport.h"

using KzTest::OpenInifile;
using KzTest::Result;
using namespace std::string_literals;

namespace {

class InifileEntries : public KzTest::IniTest {};
class InifileNumbers : public KzTest::IniTest {};

// Runs of blanks, tabs and '=' separate tokens; the key is the whole first token,
// case-sensitive, of the first line that has it; values are not unquoted or unescaped.
TEST_F(InifileEntries, LineSplitsIntoKeyAndValuesAsWritten) {
  Read(
      "a=5\nb = 5\nc 5\n   d 5\ne=x=y\nf == x   y\nkeyword = 1\nKey = 3\nkey = 2\nk = 1\n"
      "k = 2\nflag\nflag = 1\ntitle = \"two words\"\nescape = a\\nb\n[H]\n");
  const char* rows[][2] = {{"a", "5"},         {"b", "5"},         {"c", "5"},
                           {"d", "5"},         {"e", "x|y"},       {"f", "x|y"},
                           {"keyw", "<null>"}, {"key", "2"},       {"Key", "3"},
                           {"k", "1"},         {"flag", "<null>"}, {"title", "\"two|words\""},
                           {"escape", "a\\nb"}};
  for (const auto& [key, values] : rows) EXPECT_EQ(Values(key), values) << key;
}

TEST_F(InifileEntries, StringsFailOnlyWithoutLineAndNextLeavesErrorAtItsEnd) {
  KzUtil::Inifile& ini = Read("flag\nk = a b\n");
  int error = 0;
  EXPECT_EQ(Result(ini.GetNextString(&error), error), "<null>/-1");  // no key found yet
  EXPECT_EQ(Result(ini.GetNextString("d", &error), error), "d/-1");
  EXPECT_EQ(Result(ini.GetFirstString("flag", "off", &error), error), "off/-1");
  EXPECT_EQ(Result(ini.GetFirstString("k", "d", &error), error), "a/0");
  error = 7;
  EXPECT_EQ(Result(ini.GetNextString(&error), error), "b/7");
  EXPECT_EQ(Result(ini.GetNextString(&error), error), "<null>/7");
  EXPECT_EQ(Result(ini.GetNextString(&error), error), "<null>/-1");
  EXPECT_EQ(First("k"), "a");  // with a default, running out is a success once
  for (const char* expected : {"b/0", "d/0", "d/-1"})
    EXPECT_EQ(Result(ini.GetNextString("d", &error), error), expected);
}

// strtok's state is one for the process: a reader continues the line tokenized
// last, by any reader or caller, even one that went away since.
TEST_F(InifileEntries, NextStringContinuesWhateverWasTokenizedLast) {
  Read("k = a1 a2\n");
  EXPECT_EQ(First("k"), "a1");
  {
    KzUtil::Inifile other(
        fDir.Write("o.ini", "[G]\nk = " + std::string(4000, 'x') + " b2 b3\n").c_str());
    ASSERT_EQ(KzTest::Lookup(other, "G", "k"), std::string(4000, 'x'));
    EXPECT_EQ(Next(), "b2");
  }
  EXPECT_EQ(Next(), "b3");
  char words[] = "alpha beta";
  EXPECT_STREQ(strtok(words, " "), "alpha");
  EXPECT_EQ(Next(), "beta");
  EXPECT_EQ(Next(), "<null>");
  EXPECT_EQ(Values("k"), "a1|a2");
}

// Accepts short names for long keys; every typed and defaulted getter follows.
class AliasInifile : public KzUtil::Inifile {
 public:
  using Inifile::GetNextString;
  using Inifile::Inifile;
  const char* GetFirstString(const char* entry) override {
    return Inifile::GetFirstString(strcmp(entry, "az") == 0 ? "azimuth" : entry);
  }
  const char* GetNextString(int* error) override {
    const char* value = Inifile::GetNextString(error);
    return value && strcmp(value, "none") == 0 ? "-1" : value;
  }
};

TEST_F(InifileEntries, OverriddenLookupChangesEveryGetterBuiltOnIt) {
  AliasInifile ini(fDir.Write("alias.ini", "[G]\nazimuth = 12.5 none 7\n").c_str());
  ASSERT_EQ(ini.SpecifyGroup("G"), 0);
  int error = -1;
  EXPECT_EQ(Result(ini.GetFirstFloat("az", &error), error), "12.5/0");
  EXPECT_EQ(Result(ini.GetNextValue(&error), error), "-1/0");
  EXPECT_EQ(ini.GetNextValue(0, &error), 7);
  EXPECT_EQ(ini.GetFirstValue("az", 0, &error), 12);
  EXPECT_STREQ(ini.GetNextString("d", &error), "-1");
  EXPECT_DOUBLE_EQ(ini.GetNextFloat(0.0, &error), 7.0);
}

TEST_F(InifileNumbers, ValuesConvertLikeStrtolAndStrtod) {
  const char* rows[][3] = {
      // token, as integer, as floating value
      {"0X1f", "31/0", "31/0"},   {"010", "8/0", "10/0"},
      {"-12", "-12/0", "-12/0"},  {"12abc", "12/0", "12/0"},
      {"09", "0/0", "9/0"},       {"4294967301", "5/0", "4.29497e+09/0"},
      {"1.5e3", "1/0", "1500/0"}, {"0x1p-2", "1/0", "0.25/0"},
      {"-.5", "0/-1", "-0.5/0"},  {"1,5", "1/0", "1/0"},
      {"inf", "0/-1", "inf/0"},   {"-", "0/-1", "0/-1"},
      {"", "0/-1", "0/-1"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row[0]);
    KzUtil::Inifile& ini = Read("k = "s + row[0] + "\n");
    int error = 99;
    EXPECT_EQ(Result(ini.GetFirstValue("k", &error), error), row[1]);
    error = 99;
    EXPECT_EQ(Result(ini.GetFirstFloat("k", &error), error), row[2]);
  }
}

TEST_F(InifileNumbers, NextValuesWalkLineAndDefaultsStandInForNoNumber) {
  KzUtil::Inifile& ini = Read("k = 1 2 x 3\nword = abc\n[H]\n");
  int error = 99;
  EXPECT_EQ(Result(ini.GetFirstValue("k", 42, &error), error), "1/0");
  for (const char* expected : {"2/0", "0/-1", "3/0", "0/-1"})
    EXPECT_EQ(Result(ini.GetNextValue(&error), error), expected);
  EXPECT_EQ(Result(ini.GetNextValue(8, &error), error), "8/-1");
  EXPECT_EQ(Result(ini.GetFirstValue("word", 42, &error), error), "42/-1");
}

TEST_F(InifileNumbers, OnlyDefaultedNextFloatRoundsToSinglePrecision) {
  KzUtil::Inifile& ini = Read("k = 0.1 0.1 0.1\n");
  EXPECT_EQ(ini.GetFirstFloat("k", 2.5), 0.1);
  EXPECT_EQ(ini.GetNextFloat(), 0.1);
  int error = -1;
  EXPECT_EQ(ini.GetNextFloat(2.5, &error), static_cast<double>(0.1f));
  EXPECT_EQ(error, 0);
  EXPECT_EQ(Result(ini.GetNextFloat(2.5, &error), error), "2.5/-1");
  EXPECT_EQ(ini.GetNextFloat(0.1, &error), static_cast<double>(0.1f));
}

TEST(InifileEscapes, DecoderTurnsEscapesIntoCharacters) {
  const std::pair<std::string, std::string> rows[] = {
      {"a\\nb", "a\nb"}, {"\\#\\\\", "#\\"}, {"\\q", "\0"s},    {"\\x41\\x4A\\x4b", "AJK"},
      {"\\0101", "A"},   {"\\0x42", "B"},    {"\\65", "A"},     {"\\0658", "58"},
      {"\\x414", "A4"},  {"\\321", "A"},     {"ab\\", "ab\0"s}, {"\\x4g", "\x04g"},
  };
  for (const auto& [text, decoded] : rows) {
    std::string in = text;
    std::string out;
    char* end = &in[0] + in.size();
    for (char* p = &in[0]; p < end; ++p)
      out += *p == '\\' ? OpenInifile::GetNextCharacter(&p, end) : *p;
    EXPECT_EQ(out, decoded) << text;
  }
}

}  // namespace
