// Helpers of the host-identity and naming suites: a host of its own whose names and
// users come from its own files alone, and a fixture that runs a body on such a host
// with HOME in a fresh directory and only the identity variables it is given.
//   OnHost(KzHostTest::Host("eyepc", "eyepc.eye2-vesta.lan", "daq"), [] { ... });
#ifndef KZUTIL_TESTS_KZHOSTTESTSUPPORT_H
#define KZUTIL_TESTS_KZHOSTTESTSUPPORT_H

#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "KzNaming.h"
#include "KzTestSupport.h"

namespace KzHostTest {

inline KzUtil::KzNaming& Naming() { return KzUtil::Singleton<KzUtil::KzNaming>::GetInstance(); }

inline bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

inline std::string ReplaceAll(std::string text, const std::string& from, const std::string& to) {
  for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
    text.replace(at, from.size(), to);
  return text;
}

// Host hostname that the resolver knows as fqdn (not at all when fqdn is empty). With a
// user, the password table's entry for the effective user id carries that name, or is
// missing when user is "".
inline KzTest::HostSetup Host(const std::string& hostname, const std::string& fqdn,
                              const char* user = nullptr) {
  std::string hosts = "127.0.0.1 localhost\n";
  if (!fqdn.empty()) hosts += "10.2.0.10 " + fqdn + " " + hostname + "\n";
  // Files only: no other service of this machine may answer or invent a user.
  KzTest::HostSetup host{
      hostname,
      {{"/etc/hosts", hosts},
       {"/etc/nsswitch.conf", "passwd: files\ngroup: files\nhosts: files\nnetworks: files\n"}}};
  if (!user) return host;
  std::string passwd = "nobody:x:65534:65534:nobody:/nonexistent:/usr/sbin/nologin\n";
  if (*user)
    passwd +=
        std::string(user) + ":x:" + std::to_string(geteuid()) + ":0::/home/" + user + ":/bin/sh\n";
  host.fFiles["/etc/passwd"] = passwd;
  return host;
}

// Skips where namespaces are unavailable; runs bodies on hosts of their own.
class OnOwnHost : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string why;
    if (!KzTest::NamespacesAvailable(&why)) GTEST_SKIP() << why;
  }

  // Runs body on host with HOME in a fresh directory, KZ_MIRROR_ID unset and KZ_EYE_ID
  // set to eye (unset when null).
  KzTest::ChildResult Run(const KzTest::HostSetup& host, const std::function<void()>& body,
                          const char* eye = nullptr) {
    return KzTest::RunOnHost(host, [&] {
      setenv("HOME", Home().c_str(), 1);
      unsetenv("KZ_MIRROR_ID");
      unsetenv("KZ_EYE_ID");
      if (eye) setenv("KZ_EYE_ID", eye, 1);
      body();
    });
  }

  // As Run; the child must end normally with every check of body passed.
  KzTest::ChildResult OnHost(const KzTest::HostSetup& host, const std::function<void()>& body,
                             const char* eye = nullptr) {
    const KzTest::ChildResult result = Run(host, body, eye);
    EXPECT_EQ(result.fExitCode, 0) << result.fStdout << result.fStderr;
    return result;
  }

  std::string Home() const { return fHome.Path(); }

  KzTest::TempDir fHome;
};

}  // namespace KzHostTest

#endif
