// The log statement's costs, each beside its floor: a statement below the
// logging level and a debug statement gated off by a print level (floor: an
// inline integer comparison), and a line written to a file (floor: fputs and
// fflush of the same bytes).
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

#include "ErrorLogger.h"

using KzUtil::ErrorLogger;

namespace {

// A client class with the usual print-level guard.
class BenchDaq {
 public:
  static unsigned int fgPrintLevel;  // 0: debug statements are not made
};
unsigned int BenchDaq::fgPrintLevel = 0;

const char kLine[] = "WRN:BenchDaq::Run() - event written\n";  // what the file benchmarks write

void BM_StatementBelowLevel(benchmark::State& state) {
  unsigned int event = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(event);
    KZ_LOG(ErrorLogger::eDebug, "BenchDaq::Run() - event " << event << " suppressed");
    benchmark::ClobberMemory();
  }
}

void BM_DebugGatedByPrintLevel(benchmark::State& state) {
  unsigned int event = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(event);
    if (BenchDaq::fgPrintLevel > 1)
      KZ_LOG(ErrorLogger::eDebug, "BenchDaq::Run() - event " << event << " gated");
    benchmark::ClobberMemory();
  }
}

void BM_FloorIntegerComparison(benchmark::State& state) {
  unsigned int event = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(event);
    if (BenchDaq::fgPrintLevel > 1) benchmark::DoNotOptimize(event);
    benchmark::ClobberMemory();
  }
}

// A fresh directory for the written lines, removed when the benchmark ends.
class ScratchDir {
 public:
  ScratchDir() : fPath("/tmp/kzutil-bench-XXXXXX") {
    if (!mkdtemp(&fPath[0])) abort();
  }
  ~ScratchDir() {
    unlink(File("log").c_str());
    unlink(File("fputs").c_str());
    rmdir(fPath.c_str());
  }
  std::string File(const char* name) const { return fPath + "/" + name; }

 private:
  std::string fPath;  // the directory
};

void BM_LineToFile(benchmark::State& state) {
  ScratchDir dir;
  ErrorLogger& logger = ErrorLogger::GetInstance();
  logger.SetFile(dir.File("log"));
  logger.SetOption(ErrorLogger::eShowSeverity, true);
  for (auto _ : state) KZ_LOG(ErrorLogger::eWarning, "BenchDaq::Run() - event written");
  logger.SetStream(&std::clog);
}

void BM_LogCallToFile(benchmark::State& state) {
  ScratchDir dir;
  ErrorLogger& logger = ErrorLogger::GetInstance();
  logger.SetFile(dir.File("log"));
  logger.SetOption(ErrorLogger::eShowSeverity, true);
  const std::string function = "Run", file = "BenchDaq.cc",
                    message = "BenchDaq::Run() - event written";
  for (auto _ : state) logger.Log(ErrorLogger::eWarning, function, file, 42, message);
  logger.SetStream(&std::clog);
}

void BM_FloorFputsFflush(benchmark::State& state) {
  ScratchDir dir;
  FILE* file = fopen(dir.File("fputs").c_str(), "w");
  for (auto _ : state) {
    fputs(kLine, file);
    fflush(file);
  }
  fclose(file);
}

BENCHMARK(BM_StatementBelowLevel);
BENCHMARK(BM_DebugGatedByPrintLevel);
BENCHMARK(BM_FloorIntegerComparison);
BENCHMARK(BM_LineToFile);
BENCHMARK(BM_LogCallToFile);
BENCHMARK(BM_FloorFputsFflush);

}  // namespace
