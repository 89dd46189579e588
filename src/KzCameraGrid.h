// The camera's pixel grid and its projection onto the sky, in one place for the library's
// pixel tables, the benchmarks and kzutil's pictures: a staggered (hexagonal) grid of
// 20 columns x 22 rows, pitch 1.5 degrees, even rows shifted sideways by half a pitch.
// Internal to the build tree; not installed.
//   const KzCameraGrid::FramePoint p = KzCameraGrid::Frame(column, row, axisElevation);
//   const KzCameraGrid::SkyPoint s = KzCameraGrid::Sky(p);  // radians, azimuth from the axis
#ifndef KZUTIL_KZCAMERAGRID_H
#define KZUTIL_KZCAMERAGRID_H

#include <cmath>

#include "KzNumbering.h"

namespace KzUtil {
namespace KzCameraGrid {

constexpr double kPITCH = 1.5;        // degrees between neighbouring centres of a row
constexpr double kHALF_PITCH = 0.75;  // sideways shift of the even rows, degrees
constexpr double kSQRT3 = 1.7320508075688772;
constexpr double kROW_OFFSET = 11.5;    // rows below the centre of the camera
constexpr double kDOWN_TILT = -0.2165;  // degrees: the whole camera looks a little lower
constexpr int kCENTRE_COLUMN = 10;      // column whose odd rows lie on the axis azimuth

// Radians per degree, from the math library's acos(0) = pi / 2.
inline double Radians() { return std::acos(0.0) / 90; }

// A grid point in the camera frame, radians: h across (positive towards column 1), v up.
struct FramePoint {
  double fH, fV;
};
// A direction on the sky, radians: azimuth counted from the telescope axis, elevation.
struct SkyPoint {
  double fAzimuth, fElevation;
};

// Pixel (column, row) of a camera whose axis has elevation axisElevation (degrees). The axis
// elevation is added to the vertical angle before the rotation, not applied as one of its own.
inline FramePoint Frame(int column, int row, double axisElevation) {
  const double d = Radians();
  const double shift = (row % 2 == 0) ? kHALF_PITCH * d : 0.0;
  const double h = kPITCH * (kCENTRE_COLUMN - column) * d + shift;
  const double v =
      kDOWN_TILT * d + ((row - kROW_OFFSET) * kSQRT3 * kHALF_PITCH * d + axisElevation * d);
  return {h, v};
}

// The sky direction of a frame point. The azimuth comes from asin, so it never wraps.
inline SkyPoint Sky(const FramePoint& p) {
  const double elevation = std::asin(std::cos(p.fH) * std::sin(p.fV));
  return {std::asin(std::sin(p.fH) / std::cos(elevation)), elevation};
}

// Index of (column, row) in a column-major pixel table.
constexpr int Index(int column, int row) { return (column - 1) * Kz::kMI_NROWS + (row - 1); }

}  // namespace KzCameraGrid
}  // namespace KzUtil

#endif
