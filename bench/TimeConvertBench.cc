// GPS <-> Unix conversions of a recent and a 1980s time, each beside its floor:
// the same arithmetic on a bare 16-entry table scanned from its end.
#include <benchmark/benchmark.h>

#include "TimeConvert.h"

using KzUtil::TimeConvert;

namespace {

constexpr unsigned int kGPSEpoch = 315964800;
constexpr unsigned int kRecentUnix = 1700000000;  // 2023, after the newest leap second
constexpr unsigned int kEarlyUnix = 400000000;    // 1982, after the 2nd: 15 entries to pass
constexpr unsigned int kRecentGPS = kRecentUnix - kGPSEpoch + 18;
constexpr unsigned int kEarlyGPS = kEarlyUnix - kGPSEpoch + 2;

struct FloorEntry {
  unsigned int fGPSTime;       // GPS second of the leap second
  unsigned int fNLeapSeconds;  // count from then on
};

FloorEntry gFloorTable[16] = {{46828800, 1},   {78364801, 2},   {109900802, 3},  {173059203, 4},
                              {252028804, 5},  {315187205, 6},  {346723206, 7},  {393984007, 8},
                              {425520008, 9},  {457056009, 10}, {504489610, 11}, {551750411, 12},
                              {599184012, 13}, {820108813, 14}, {914803214, 15}, {1025136015, 16}};

inline unsigned int FloorLeapSeconds(const FloorEntry* table, unsigned int gps) {
  for (int i = 15; i >= 0; --i)
    if (table[i].fGPSTime <= gps) return table[i].fNLeapSeconds;
  return 0;
}

// The table's address is hidden from the optimiser, as a run-time table's would be.
const FloorEntry* FloorTable() {
  const FloorEntry* table = gFloorTable;
  benchmark::DoNotOptimize(table);
  return table;
}

void BM_GPSFromUnix(benchmark::State& state, unsigned int unixTime) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(unixTime);
    benchmark::DoNotOptimize(TimeConvert::GetGPSTimeFromUnixTime(unixTime));
  }
}

void BM_FloorGPSFromUnix(benchmark::State& state, unsigned int unixTime) {
  const FloorEntry* table = FloorTable();
  for (auto _ : state) {
    benchmark::DoNotOptimize(unixTime);
    const unsigned int g = unixTime - kGPSEpoch;
    benchmark::DoNotOptimize(g + FloorLeapSeconds(table, g));
  }
}

void BM_UnixFromGPS(benchmark::State& state, unsigned int gpsTime) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(gpsTime);
    benchmark::DoNotOptimize(TimeConvert::GetUnixTimeFromGPSTime(gpsTime));
  }
}

void BM_FloorUnixFromGPS(benchmark::State& state, unsigned int gpsTime) {
  const FloorEntry* table = FloorTable();
  for (auto _ : state) {
    benchmark::DoNotOptimize(gpsTime);
    benchmark::DoNotOptimize(gpsTime + kGPSEpoch - FloorLeapSeconds(table, gpsTime));
  }
}

BENCHMARK_CAPTURE(BM_GPSFromUnix, Recent, kRecentUnix);
BENCHMARK_CAPTURE(BM_FloorGPSFromUnix, Recent, kRecentUnix);
BENCHMARK_CAPTURE(BM_UnixFromGPS, Recent, kRecentGPS);
BENCHMARK_CAPTURE(BM_FloorUnixFromGPS, Recent, kRecentGPS);
BENCHMARK_CAPTURE(BM_GPSFromUnix, Early, kEarlyUnix);
BENCHMARK_CAPTURE(BM_FloorGPSFromUnix, Early, kEarlyUnix);
BENCHMARK_CAPTURE(BM_UnixFromGPS, Early, kEarlyGPS);
BENCHMARK_CAPTURE(BM_FloorUnixFromGPS, Early, kEarlyGPS);

}  // namespace
