// Helpers of the ini file suites: a reader that lets a test reach the protected
// calls, lookups as text, and a fixture whose fresh directory is HOME and the
// working directory.
//   OpenInifile& ini = Read("key = 1 2\n");  EXPECT_EQ(First("key"), "1");
#ifndef KZUTIL_TESTS_INIFILETESTSUPPORT_H
#define KZUTIL_TESTS_INIFILETESTSUPPORT_H

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <memory>
#include <sstream>

#include <gtest/gtest.h>

#include "Inifile.h"
#include "KzTestSupport.h"

namespace KzTest {

// An Inifile whose protected operations a test may call.
class OpenInifile : public KzUtil::Inifile {
 public:
  using Inifile::Close;
  using Inifile::GetNextCharacter;
  using Inifile::Inifile;
  using Inifile::Open;
  using Inifile::TestFile;
};

// A returned value as text, "<null>" for none.
inline std::string Text(const char* value) { return value ? value : "<null>"; }

// A lookup of key in group: the value, or "no group" when the selection fails.
inline std::string Lookup(KzUtil::Inifile& ini, const char* group, const char* key) {
  return ini.SpecifyGroup(group) == 0 ? Text(ini.GetFirstString(key)) : "no group";
}

// "value/error" of a getter, numbers as a stream prints them. error is taken by
// reference so that it is read after the getter wrote it.
template <typename Value>
std::string Result(Value value, const int& error) {
  std::ostringstream text;
  text << value << "/" << error;
  return text.str();
}
inline std::string Result(const char* value, const int& error) {
  return Text(value) + "/" + std::to_string(error);
}

// Runs body in a child and expects it to stop at the assertion that prints text.
inline void ExpectAssertion(const std::function<void()>& body, const std::string& text) {
  const ChildResult child = RunInChild(body);
  EXPECT_EQ(child.fSignal, SIGABRT);
  EXPECT_NE(child.fStderr.find("Assertion `" + text + "' failed."), std::string::npos)
      << child.fStderr;
}

// A fresh directory that is HOME and the working directory, and readers of
// files written there.
class IniTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("HOME", fDir.Path().c_str(), 1);
    ASSERT_EQ(chdir(fDir.Path().c_str()), 0);
  }
  // A reader of content, written to a fresh file, with no group selected.
  OpenInifile& Load(const std::string& content) {
    fReader = std::make_unique<OpenInifile>(fDir.Write("test.ini", content).c_str());
    return *fReader;
  }
  // A reader of group "G" holding body.
  OpenInifile& Read(const std::string& body) {
    Load("[G]\n" + body);
    EXPECT_EQ(fReader->SpecifyGroup("G"), 0);
    return *fReader;
  }
  std::string First(const char* key) { return Text(fReader->GetFirstString(key)); }
  std::string Next() { return Text(fReader->GetNextString(static_cast<int*>(nullptr))); }
  // The values of key as "a|b|c", "<null>" when key has none.
  std::string Values(const char* key) {
    std::string values = First(key);
    if (values == "<null>") return values;
    for (std::string next = Next(); next != "<null>"; next = Next()) values += "|" + next;
    return values;
  }

  TempDir fDir;
  std::unique_ptr<OpenInifile> fReader;
};

}  // namespace KzTest

#endif
