#include "KzTestSupport.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

namespace KzTest {

namespace fs = std::filesystem;

TempDir::TempDir() {
  std::string pattern = (fs::temp_directory_path() / "kzutil-test-XXXXXX").string();
  if (!mkdtemp(&pattern[0])) throw std::runtime_error("mkdtemp failed: " + pattern);
  fPath = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;
  fs::remove_all(fPath, ignored);
}

std::string TempDir::Write(const std::string& name, const std::string& content) const {
  const fs::path path = fs::path(fPath) / name;
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << content;
  return path.string();
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string SourcePath(const std::string& relative) {
  // ctest passes the source tree; run by hand, this file's place tells.
  const char* dir = getenv("KZUTIL_SOURCE_DIR");
  const std::string here = __FILE__;
  const std::string root = dir && *dir ? dir : here.substr(0, here.rfind("/tests/"));
  return root + "/" + relative;
}

LogCapture::LogCapture() { KzUtil::ErrorLogger::GetInstance().SetStream(&fText); }

LogCapture::LogCapture(KzUtil::ErrorLogger::ESeverityLevel level) : LogCapture() {
  KzUtil::ErrorLogger::GetInstance().SetLoggingLevel(level, true);
}

LogCapture::~LogCapture() { KzUtil::ErrorLogger::GetInstance().SetStream(&std::clog); }

std::vector<std::string> LogCapture::Lines() const {
  std::vector<std::string> lines;
  std::istringstream in(fText.str());
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::string LogCapture::Take() {
  const std::string text = fText.str();
  fText.str("");
  return text;
}

std::string Thrown(const std::function<void()>& body) {
  try {
    body();
  } catch (const std::range_error& e) {
    return std::string("range_error: ") + e.what();
  } catch (const std::invalid_argument& e) {
    return std::string("invalid_argument: ") + e.what();
  } catch (const std::logic_error& e) {
    return std::string("logic_error: ") + e.what();
  }
  return "nothing thrown";
}

namespace {

constexpr int kSetupFailed = 77;

void Redirect(int fd, const std::string& path) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  dup2(file, fd);
  close(file);
}

// Enters fresh UTS and mount namespaces; false (with errno) when refused.
bool EnterOwnNamespaces() {
  if (unshare(CLONE_NEWUTS | CLONE_NEWNS) != 0) return false;
  return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

// Covers the directory of path with a view of it that lacks path: a tmpfs holding
// bind mounts of every other entry. The view lives in scratch.
bool Hide(const std::string& path, const TempDir& scratch, int n) {
  const fs::path hidden(path);
  const fs::path directory = hidden.parent_path();
  const fs::path view = fs::path(scratch.Path()) / ("view-" + std::to_string(n));
  fs::create_directories(view);
  if (mount("tmpfs", view.c_str(), "tmpfs", 0, nullptr) != 0) return false;
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory, error)) {
    if (entry.path().filename() == hidden.filename()) continue;
    const fs::path copy = view / entry.path().filename();
    if (entry.is_symlink()) {
      fs::create_symlink(fs::read_symlink(entry.path()), copy, error);
      continue;
    }
    if (entry.is_directory())
      fs::create_directory(copy);
    else
      std::ofstream{copy};
    if (mount(entry.path().c_str(), copy.c_str(), nullptr, MS_BIND | MS_REC, nullptr) != 0)
      return false;
  }
  if (error) return false;
  return mount(view.c_str(), directory.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0;
}

bool TakeHost(const HostSetup& host, const TempDir& files) {
  if (!EnterOwnNamespaces()) return false;
  if (sethostname(host.fHostname.data(), host.fHostname.size()) != 0) return false;
  int n = 0;
  for (const std::string& path : host.fHidden)
    if (!Hide(path, files, n++)) return false;
  for (const auto& [target, content] : host.fFiles) {
    const std::string source = files.Write("etc-" + std::to_string(n++), content);
    if (mount(source.c_str(), target.c_str(), nullptr, MS_BIND, nullptr) != 0) return false;
  }
  return true;
}

ChildResult Fork(const std::function<void()>& body) {
  TempDir capture;
  const std::string out = capture.Path() + "/stdout";
  const std::string err = capture.Path() + "/stderr";
  std::cout.flush();
  std::cerr.flush();
  fflush(nullptr);
  const pid_t pid = fork();
  if (pid == 0) {
    Redirect(1, out);
    Redirect(2, err);
    body();
    exit(::testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  ChildResult result;
  if (WIFEXITED(status)) result.fExitCode = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.fSignal = WTERMSIG(status);
  result.fStdout = ReadFile(out);
  result.fStderr = ReadFile(err);
  return result;
}

}  // namespace

ChildResult RunInChild(const std::function<void()>& body) { return Fork(body); }

bool NamespacesAvailable(std::string* why) {
  const ChildResult probe = Fork([] {
    if (!EnterOwnNamespaces()) {
      std::cerr << "cannot enter UTS + mount namespaces: " << strerror(errno);
      _exit(kSetupFailed);
    }
  });
  if (probe.fExitCode == 0) return true;
  if (why) *why = probe.fStderr.empty() ? "namespace probe failed" : probe.fStderr;
  return false;
}

ChildResult RunOnHost(const HostSetup& host, const std::function<void()>& body) {
  TempDir files;
  return Fork([&] {
    if (!TakeHost(host, files)) {
      std::cerr << "cannot take host '" << host.fHostname << "': " << strerror(errno);
      _exit(kSetupFailed);
    }
    body();
  });
}

}  // namespace KzTest
