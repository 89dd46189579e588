// The numbering conversions beside their floor: the same arithmetic written out
// here on the records' integer view, each result read from its record as a call
// would. Each iteration converts one camera (480 pixels) or all 12960 Kz pixels.
#include <benchmark/benchmark.h>

#include <vector>

#include "KzNumbering.h"

using KzUtil::Kz;

namespace {

std::vector<Kz::PixelNumberRec> CameraPixels(unsigned int eye, unsigned int mirror) {
  std::vector<Kz::PixelNumberRec> pixels(Kz::kMI_NEXTPIXELS);
  for (unsigned int n = 1; n <= Kz::kMI_NEXTPIXELS; ++n) {
    Kz::PixelNumberRec& p = pixels[n - 1];
    p.fPixelNumber = 0;
    Kz::SetEyeNo(&p, eye);
    Kz::SetMirrorNo(&p, mirror);
    Kz::SetPixelNo(&p, n);
  }
  return pixels;
}

std::vector<Kz::KzPixelNumberRec> ObservatoryPixels() {
  std::vector<Kz::KzPixelNumberRec> pixels(Kz::kKZ_NMIRRORS * Kz::kMI_NEXTPIXELS);
  for (unsigned int k = 1; k <= pixels.size(); ++k) {
    pixels[k - 1].fPixelNumber = 0;
    Kz::SetPixelNo(&pixels[k - 1], k);
  }
  return pixels;
}

unsigned int Bits(const Kz::PixelNumberRec& p, int shift, unsigned int mask) {
  return (static_cast<uint32_t>(p.fPixelNumber) >> shift) & mask;
}

unsigned int KzBits(const Kz::KzPixelNumberRec& k) {
  return static_cast<uint16_t>(k.fPixelNumber) & 0x3fff;
}

void ColumnRow(benchmark::State& state) {
  std::vector<Kz::PixelNumberRec> pixels = CameraPixels(2, 3);
  for (auto _ : state) {
    for (Kz::PixelNumberRec& p : pixels) {
      benchmark::DoNotOptimize(Kz::GetColumnNo(&p));
      benchmark::DoNotOptimize(Kz::GetRowNo(&p));
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * pixels.size());
}
BENCHMARK(ColumnRow);

void ColumnRowFloor(benchmark::State& state) {
  std::vector<Kz::PixelNumberRec> pixels = CameraPixels(2, 3);
  for (auto _ : state) {
    for (Kz::PixelNumberRec& p : pixels) {
      const unsigned int n = Bits(p, 0, 0x1ff);
      benchmark::DoNotOptimize(n < 441 ? (n - 1) / 22 + 1 : (n - 441) / 2 + 1);
      const unsigned int m = Bits(p, 0, 0x1ff);
      benchmark::DoNotOptimize(m > 440 ? (m - 441) % 2 + 23 : (m - 1) % 22 + 1);
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * pixels.size());
}
BENCHMARK(ColumnRowFloor);

void KzPixelNo(benchmark::State& state) {
  std::vector<Kz::PixelNumberRec> pixels = CameraPixels(5, 3);
  for (auto _ : state) {
    for (Kz::PixelNumberRec& p : pixels) benchmark::DoNotOptimize(Kz::GetKzPixelNo(&p));
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * pixels.size());
}
BENCHMARK(KzPixelNo);

// The arithmetic alone, without the result record that GetKzPixelNo fills.
void KzPixelNoArithmetic(benchmark::State& state) {
  std::vector<Kz::PixelNumberRec> pixels = CameraPixels(5, 3);
  for (auto _ : state) {
    for (Kz::PixelNumberRec& p : pixels) {
      const unsigned int e = Bits(p, 12, 0x7), m = Bits(p, 9, 0x7), n = Bits(p, 0, 0x1ff);
      benchmark::DoNotOptimize((((e - 1) * 6 + (m - 1)) * 480 + n) & 0x3fff);
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * pixels.size());
}
BENCHMARK(KzPixelNoArithmetic);

// The same arithmetic, and the result merged into a record whose two flag bits stay.
void KzPixelNoFloor(benchmark::State& state) {
  std::vector<Kz::PixelNumberRec> pixels = CameraPixels(5, 3);
  static uint16_t result = 0;
  for (auto _ : state) {
    for (Kz::PixelNumberRec& p : pixels) {
      const unsigned int e = Bits(p, 12, 0x7), m = Bits(p, 9, 0x7), n = Bits(p, 0, 0x1ff);
      const unsigned int k = (((e - 1) * 6 + (m - 1)) * 480 + n) & 0x3fff;
      result = static_cast<uint16_t>((result & 0xc000) | k);
      benchmark::DoNotOptimize(k);
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * pixels.size());
}
BENCHMARK(KzPixelNoFloor);

void PixelFromColumnRow(benchmark::State& state) {
  Kz::PixelNumberRec p{};
  for (auto _ : state) {
    for (unsigned int col = 1; col <= Kz::kMI_NCOLS; ++col)
      for (unsigned int row = 1; row <= Kz::kMI_NEXTROWS; ++row) {
        Kz::SetPixelNoFromColumnRow(&p, col, row);
        benchmark::DoNotOptimize(p);
      }
  }
  state.SetItemsProcessed(state.iterations() * Kz::kMI_NEXTPIXELS);
}
BENCHMARK(PixelFromColumnRow);

void PixelFromColumnRowFloor(benchmark::State& state) {
  Kz::PixelNumberRec p{};
  for (auto _ : state) {
    for (unsigned int col = 1; col <= Kz::kMI_NCOLS; ++col)
      for (unsigned int row = 1; row <= Kz::kMI_NEXTROWS; ++row) {
        const unsigned int n = row < 23 ? row + col * 22 - 22 : row + col * 2 + 416;
        p.fPixelNumber =
            static_cast<int32_t>((static_cast<uint32_t>(p.fPixelNumber) & ~0x1ffu) | (n & 0x1ff));
        benchmark::DoNotOptimize(p);
      }
  }
  state.SetItemsProcessed(state.iterations() * Kz::kMI_NEXTPIXELS);
}
BENCHMARK(PixelFromColumnRowFloor);

void KzPixelToEyeLocal(benchmark::State& state) {
  std::vector<Kz::KzPixelNumberRec> pixels = ObservatoryPixels();
  for (auto _ : state) {
    for (Kz::KzPixelNumberRec& k : pixels) {
      benchmark::DoNotOptimize(Kz::GetEyeNo(&k));
      benchmark::DoNotOptimize(Kz::GetEyeMirrorNo(&k));
      benchmark::DoNotOptimize(Kz::GetMirrorPixelNo(&k));
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * pixels.size());
}
BENCHMARK(KzPixelToEyeLocal);

void KzPixelToEyeLocalFloor(benchmark::State& state) {
  std::vector<Kz::KzPixelNumberRec> pixels = ObservatoryPixels();
  for (auto _ : state) {
    for (Kz::KzPixelNumberRec& k : pixels) {
      benchmark::DoNotOptimize((KzBits(k) - 1) / 2880 + 1);
      benchmark::DoNotOptimize(((KzBits(k) - 1) / 480) % 6 + 1);
      benchmark::DoNotOptimize((KzBits(k) - 1) % 480 + 1);
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * pixels.size());
}
BENCHMARK(KzPixelToEyeLocalFloor);

}  // namespace
