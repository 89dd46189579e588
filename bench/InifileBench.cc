// The reader's lookup of the last key of a 30-key group, beside its floors: a
// plain getline scan of the same 30 lines from the group's position, through an
// std::ifstream and through a C FILE*.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include <benchmark/benchmark.h>

#include "Inifile.h"

namespace {

const int kGROUP_KEYS = 30;

// A site file with the group "Target" between two others; removed at exit.
const std::string& IniPath() {
  static const std::string path = [] {
    char name[] = "/tmp/inifile-bench-XXXXXX";
    const int fd = mkstemp(name);
    if (fd < 0) abort();
    close(fd);
    std::ofstream out(name);
    out << "; camera configuration\n[Before]\n";
    for (int i = 1; i <= 20; ++i) out << "before" << i << " = " << i << " 0.5\n";
    out << "[Target]\n";
    for (int i = 1; i <= kGROUP_KEYS; ++i)
      out << "key" << (i < 10 ? "0" : "") << i << " = " << 10.5 * i << " " << i << "   ; pixel "
          << i << "\n";
    out << "[After]\nafter1 = 1\n";
    return std::string(name);
  }();
  static const bool removed = atexit([] { unlink(IniPath().c_str()); }) == 0;
  (void)removed;
  return path;
}

// Offset of the line after "[Target]".
long GroupPosition() {
  std::ifstream in(IniPath());
  for (std::string line; std::getline(in, line);)
    if (line == "[Target]") return static_cast<long>(in.tellg());
  abort();
}

void BM_InifileLastKeyOfGroup(benchmark::State& state) {
  KzUtil::Inifile ini(IniPath().c_str());
  if (ini.SpecifyGroup("Target") != 0) state.SkipWithError("group not found");
  for (auto _ : state) benchmark::DoNotOptimize(ini.GetFirstString("key30"));
}
BENCHMARK(BM_InifileLastKeyOfGroup);

void BM_FloorIfstreamScan(benchmark::State& state) {
  std::ifstream in(IniPath());
  const long position = GroupPosition();
  std::string line;
  for (auto _ : state) {
    in.seekg(position);
    for (int i = 0; i < kGROUP_KEYS; ++i) std::getline(in, line);
    benchmark::DoNotOptimize(line.data());
  }
}
BENCHMARK(BM_FloorIfstreamScan);

void BM_FloorStdioScan(benchmark::State& state) {
  FILE* file = fopen(IniPath().c_str(), "r");
  const long position = GroupPosition();
  char* line = nullptr;
  size_t capacity = 0;
  for (auto _ : state) {
    fseek(file, position, SEEK_SET);
    for (int i = 0; i < kGROUP_KEYS; ++i) getline(&line, &capacity, file);
    benchmark::DoNotOptimize(line);
  }
  free(line);
  fclose(file);
}
BENCHMARK(BM_FloorStdioScan);

}  // namespace
