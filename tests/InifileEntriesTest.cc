// Keys and their values: how a line splits into key and values, which line a
// key finds, how the string getters walk a line and report, the tokenizer
// shared by the whole process, overriding a lookup, and the escape decoder.
#include <cstring>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "Inifile.h"
#include "InifileTestSupport.h"
#include "KzTestSupport.h"

using KzUtil::Inifile;

namespace {

class InifileEntries : public ::testing::Test {
 protected:
  Inifile& Read(const std::string& content) {
    fReader = std::make_unique<Inifile>(fDir.Write("entries.ini", "[G]\n" + content).c_str());
    EXPECT_EQ(fReader->SpecifyGroup("G"), 0);
    return *fReader;
  }
  std::string First(const char* key) { return Text(fReader->GetFirstString(key)); }
  std::string Next() { return Text(fReader->GetNextString(static_cast<int*>(nullptr))); }
  static std::string Text(const char* value) { return value ? value : "<null>"; }

  KzTest::TempDir fDir;
  std::unique_ptr<Inifile> fReader;
};

TEST_F(InifileEntries, KeyAndValuesSplitAtBlanksTabsAndEquals) {
  Read("a=5\nb = 5\nc 5\n   d 5\ne=x=y\nf == x   y\n");
  for (const char* key : {"a", "b", "c", "d"}) EXPECT_EQ(First(key), "5") << key;
  EXPECT_EQ(First("e"), "x");
  EXPECT_EQ(Next(), "y");
  EXPECT_EQ(First("f"), "x");
  EXPECT_EQ(Next(), "y");
  EXPECT_EQ(Next(), "<null>");
}

TEST_F(InifileEntries, KeyMustBeWholeFirstToken) {
  Read("keyword = 1\nkey = 2\n");
  EXPECT_EQ(First("key"), "2");
  EXPECT_EQ(First("keyw"), "<null>");
}

TEST_F(InifileEntries, KeyIsCaseSensitive) {
  Read("Key = 1\n[H]\n");
  EXPECT_EQ(First("key"), "<null>");
  EXPECT_EQ(First("Key"), "1");
}

TEST_F(InifileEntries, FirstLineWithKeyWins) {
  Read("k = 1\nk = 2\n");
  EXPECT_EQ(First("k"), "1");
}

TEST_F(InifileEntries, KeyWithoutValueIsNotFound) {
  Inifile& ini = Read("flag\nflag = 1\n");
  EXPECT_EQ(First("flag"), "<null>");
  int error = 0;
  EXPECT_STREQ(ini.GetFirstString("flag", "off", &error), "off");
  EXPECT_EQ(error, -1);
}

TEST_F(InifileEntries, ValuesComeBackAsWrittenTokens) {
  Read("title = \"two words\"\nescape = a\\nb\n");
  EXPECT_EQ(First("title"), "\"two");
  EXPECT_EQ(Next(), "words\"");
  EXPECT_EQ(First("escape"), "a\\nb");
}

TEST_F(InifileEntries, NextStringWalksLineAndLeavesErrorAtEnd) {
  Inifile& ini = Read("k = a b\n");
  EXPECT_EQ(First("k"), "a");
  int error = 7;
  EXPECT_STREQ(ini.GetNextString(&error), "b");
  EXPECT_EQ(error, 7);
  EXPECT_EQ(ini.GetNextString(&error), nullptr);
  EXPECT_EQ(error, 7);
  EXPECT_EQ(ini.GetNextString(&error), nullptr);
  EXPECT_EQ(error, -1);
}

TEST_F(InifileEntries, NextStringWithoutKeyFoundReportsNotFound) {
  Inifile& ini = Read("k = a b\n");
  int error = 0;
  EXPECT_EQ(ini.GetNextString(&error), nullptr);
  EXPECT_EQ(error, -1);
  EXPECT_STREQ(ini.GetNextString("d", &error), "d");
  EXPECT_EQ(error, -1);
}

TEST_F(InifileEntries, NextStringDefaultAtEndOfLineReportsSuccess) {
  Inifile& ini = Read("k = a b\n");
  EXPECT_EQ(First("k"), "a");
  int error = -1;
  EXPECT_STREQ(ini.GetNextString("d", &error), "b");
  EXPECT_EQ(error, 0);
  EXPECT_STREQ(ini.GetNextString("d", &error), "d");
  EXPECT_EQ(error, 0);
  EXPECT_STREQ(ini.GetNextString("d", &error), "d");
  EXPECT_EQ(error, -1);
}

TEST_F(InifileEntries, FirstStringDefaultReportsFoundOrNot) {
  Inifile& ini = Read("k = v\n[H]\n");
  int error = -1;
  EXPECT_STREQ(ini.GetFirstString("k", "d", &error), "v");
  EXPECT_EQ(error, 0);
  EXPECT_STREQ(ini.GetFirstString("x", "d", &error), "d");
  EXPECT_EQ(error, -1);
  EXPECT_STREQ(ini.GetFirstString("k", "d"), "v");
}

TEST_F(InifileEntries, NewLookupRestartsAtGroupStart) {
  Read("a = 1 2\nb = 3 4\n");
  EXPECT_EQ(First("b"), "3");
  EXPECT_EQ(First("a"), "1");
  EXPECT_EQ(Next(), "2");
}

TEST_F(InifileEntries, NextValueContinuesLineTokenizedLastByAnyReader) {
  const std::string a = fDir.Write("a.ini", "[G]\nk = a1 a2\n");
  const std::string b = fDir.Write("b.ini", "[G]\nk = b1 b2\n");
  Inifile first(a.c_str());
  Inifile second(b.c_str());
  ASSERT_EQ(first.SpecifyGroup("G"), 0);
  ASSERT_EQ(second.SpecifyGroup("G"), 0);
  EXPECT_STREQ(first.GetFirstString("k"), "a1");
  EXPECT_STREQ(second.GetFirstString("k"), "b1");
  EXPECT_STREQ(first.GetNextString(static_cast<int*>(nullptr)), "b2");
}

TEST_F(InifileEntries, NextValueContinuesOtherStrtokUsers) {
  Read("k = 1 2\n");
  EXPECT_EQ(First("k"), "1");
  char words[] = "alpha beta";
  EXPECT_STREQ(strtok(words, " "), "alpha");
  EXPECT_EQ(Next(), "beta");
}

TEST_F(InifileEntries, NextValueAfterReaderWentAwayIsHarmless) {
  Inifile& ini = Read("k = 1 2\n");
  EXPECT_EQ(First("k"), "1");
  {
    Inifile other(fDir.Write("other.ini", "[G]\nk = " + std::string(4000, 'x') + " y\n").c_str());
    ASSERT_EQ(other.SpecifyGroup("G"), 0);
    ASSERT_NE(other.GetFirstString("k"), nullptr);
  }
  EXPECT_EQ(Next(), "y");
  EXPECT_EQ(Next(), "<null>");
  EXPECT_EQ(ini.GetFirstValue("k"), 1);
}

// Accepts short names for long keys; every typed and defaulted getter follows.
class AliasInifile : public Inifile {
 public:
  using Inifile::GetFirstString;
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
  EXPECT_DOUBLE_EQ(ini.GetFirstFloat("az", &error), 12.5);
  EXPECT_EQ(error, 0);
  EXPECT_EQ(ini.GetNextValue(&error), -1);
  EXPECT_EQ(error, 0);
  EXPECT_EQ(ini.GetNextValue(0, &error), 7);
  EXPECT_DOUBLE_EQ(ini.GetFirstFloat("az", 0.0, &error), 12.5);
  EXPECT_EQ(ini.GetFirstValue("az", 0, &error), 12);
  EXPECT_STREQ(ini.GetFirstString("az", "d", &error), "12.5");
  EXPECT_STREQ(ini.GetNextString("d", &error), "-1");
  EXPECT_DOUBLE_EQ(ini.GetNextFloat(0.0, &error), 7.0);
}

// Decodes a whole value the way a subclass would use the protected decoder.
std::string Decode(const std::string& text) {
  std::string in = text;
  std::string out;
  char* end = &in[0] + in.size();
  for (char* p = &in[0]; p < end; ++p)
    out += *p == '\\' ? KzTest::OpenInifile::GetNextCharacter(&p, end) : *p;
  return out;
}

TEST(InifileEscapes, SimpleEscapes) {
  EXPECT_EQ(Decode("a\\nb"), "a\nb");
  EXPECT_EQ(Decode("\\#\\\\"), "#\\");
  EXPECT_EQ(Decode("\\q"), std::string(1, '\0'));
}

TEST(InifileEscapes, NumericEscapes) {
  EXPECT_EQ(Decode("\\x41\\x4a"), "AJ");
  EXPECT_EQ(Decode("\\0101"), "A");
  EXPECT_EQ(Decode("\\0x42"), "B");
  EXPECT_EQ(Decode("\\65"), "A");
  EXPECT_EQ(Decode("\\0658"), "58");
  EXPECT_EQ(Decode("\\x414"), "A4");
  EXPECT_EQ(Decode("\\07z"), "\az");
}

TEST(InifileEscapes, DecimalValueKeepsLowEightBits) {
  EXPECT_EQ(Decode("\\321"), std::string(1, static_cast<char>(321 & 0xFF)));
}

TEST(InifileEscapes, EscapeCutShortByEndOfText) {
  EXPECT_EQ(Decode("ab\\"), std::string("ab") + '\0');
  EXPECT_EQ(Decode("\\x"), std::string(1, '\0'));
  EXPECT_EQ(Decode("\\0"), std::string(1, '\0'));
  EXPECT_EQ(Decode("\\x4"), "\x04");
}

TEST(InifileEscapes, DigitValues) {
  EXPECT_EQ(KzTest::OpenInifile::Digit2Value('7'), 7);
  EXPECT_EQ(KzTest::OpenInifile::Digit2Value('b'), 11);
  EXPECT_EQ(KzTest::OpenInifile::Digit2Value('F'), 15);
  EXPECT_EQ(KzTest::OpenInifile::Digit2Value('g'), 127);
}

TEST(InifileEscapes, DigitsStopAtFirstDigitOutsideBase) {
  char text[] = "0189";
  char* p = text;
  EXPECT_EQ(KzTest::OpenInifile::Digits2Value(&p, text + 4, 8), 1);
  EXPECT_EQ(p, text + 1);
}

}  // namespace
