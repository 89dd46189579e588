// Building a geometry instance and looking pixels up, each beside its floor:
// the bare pixel-direction formula over 440 pixels, and an index into a 440-float array.
#include <benchmark/benchmark.h>

#include <cmath>

#include "KzCameraGrid.h"
#include "KzGeometry.h"

using namespace KzUtil;

namespace {

constexpr unsigned int kEye = 3, kMirror = 2;

// Builds and releases instances, which users of the library only obtain.
class BenchGeometry : public KzGeometry {
 public:
  explicit BenchGeometry(CameraPointing_t& axis) : KzGeometry(axis) {}
};

void BM_FormulaLoop(benchmark::State& state) {
  float azimuths[Kz::kMI_NPIXELS], elevations[Kz::kMI_NPIXELS];
  double axisAzimuth = 123.4, axisElevation = 16.0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(axisAzimuth);
    benchmark::DoNotOptimize(axisElevation);
    const double d = KzCameraGrid::Radians();
    for (int column = 1; column <= Kz::kMI_NCOLS; ++column) {
      for (int row = 1; row <= Kz::kMI_NROWS; ++row) {
        const KzCameraGrid::SkyPoint sky =
            KzCameraGrid::Sky(KzCameraGrid::Frame(column, row, axisElevation));
        const int index = KzCameraGrid::Index(column, row);
        azimuths[index] = static_cast<float>((sky.fAzimuth + axisAzimuth * d) / d);
        elevations[index] = static_cast<float>(sky.fElevation / d);
      }
    }
    benchmark::DoNotOptimize(azimuths);
    benchmark::DoNotOptimize(elevations);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_FormulaLoop);

// Constructor (tables, map entry) and destructor (map entry, tables) of one instance.
void BM_BuildInstance(benchmark::State& state) {
  KzGeometry::GetInstance(0);  // class set up outside the timing
  KzGeometry::CameraPointing_t axis(123.4, 16.0);
  for (auto _ : state) {
    BenchGeometry* geometry = new BenchGeometry(axis);
    benchmark::DoNotOptimize(geometry);
    delete geometry;
  }
}
BENCHMARK(BM_BuildInstance);

float gTable[Kz::kMI_NPIXELS];

// 440 lookups per iteration in all three: the whole camera, column by column.
void BM_ArrayIndex(benchmark::State& state) {
  for (unsigned int i = 0; i < Kz::kMI_NPIXELS; ++i) gTable[i] = 0.01f * i;
  for (auto _ : state) {
    for (unsigned int column = 1; column <= Kz::kMI_NCOLS; ++column) {
      for (unsigned int row = 1; row <= Kz::kMI_NROWS; ++row) {
        const double value = gTable[(column - 1) * Kz::kMI_NROWS + (row - 1)];
        benchmark::DoNotOptimize(value);
      }
    }
  }
  state.SetItemsProcessed(state.iterations() * Kz::kMI_NPIXELS);
}
BENCHMARK(BM_ArrayIndex);

void BM_LookupByEyeMirrorColumnRow(benchmark::State& state) {
  KzGeometry::GetInstance(0);
  unsigned int eye = kEye, mirror = kMirror;
  for (auto _ : state) {
    benchmark::DoNotOptimize(eye);
    benchmark::DoNotOptimize(mirror);
    for (unsigned int column = 1; column <= Kz::kMI_NCOLS; ++column) {
      for (unsigned int row = 1; row <= Kz::kMI_NROWS; ++row) {
        const double value = KzGeometry::GetPixelAzimuth(eye, mirror, column, row);
        benchmark::DoNotOptimize(value);
      }
    }
  }
  state.SetItemsProcessed(state.iterations() * Kz::kMI_NPIXELS);
}
BENCHMARK(BM_LookupByEyeMirrorColumnRow);

void BM_LookupByPixelNumber(benchmark::State& state) {
  KzGeometry::GetInstance(0);
  Kz::PixelNumberRec pixels[Kz::kMI_NPIXELS] = {};
  for (unsigned int i = 0; i < Kz::kMI_NPIXELS; ++i) {
    Kz::SetEyeNo(&pixels[i], kEye);
    Kz::SetMirrorNo(&pixels[i], kMirror);
    Kz::SetPixelNo(&pixels[i], i + 1);
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(pixels);
    for (const Kz::PixelNumberRec& pixel : pixels) {
      const double value = KzGeometry::GetPixelAzimuth(&pixel);
      benchmark::DoNotOptimize(value);
    }
  }
  state.SetItemsProcessed(state.iterations() * Kz::kMI_NPIXELS);
}
BENCHMARK(BM_LookupByPixelNumber);

}  // namespace
