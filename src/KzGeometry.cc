#include "KzGeometry.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

#include "ErrorLogger.h"
#include "InifileChain.h"
#include "KzCameraGrid.h"

namespace KzUtil {

namespace {

constexpr double kAxisTolerance = 0.001;  // degrees; smaller axis changes are ignored
constexpr const char* kGEOMETRY_GROUP = "Geometry";

// The next (azimuth, elevation) pair of a LOFT entry: its first pair when key is given, else
// the pair after the one read last. axis is left alone unless both numbers are read.
bool ReadAnglePair(InifileChain& inifile, const char* key, KzGeometry::_CameraPointingRec& axis) {
  int status = 0;
  const double azimuth =
      key ? inifile.GetFirstFloat(key, 0.0, &status) : inifile.GetNextFloat(0.0, &status);
  if (status != 0) return false;
  const double elevation = inifile.GetNextFloat(0.0, &status);
  if (status != 0) return false;
  axis = KzGeometry::_CameraPointingRec(azimuth, elevation);
  return true;
}

}  // namespace

bool KzGeometry::fgClassInitialized = false;
unsigned int KzGeometry::fgPrintLevel = 1;

// Example site data: five invented positions on one inland plateau, not surveyed values.
const KzGeometry::_EyeGeometryRec KzGeometry::fgEyeGeometry[Kz::kKZ_NEYES] = {
    {129.25814, -27.51342, 476.2, 474.6, 1.374}, {129.64207, -27.28713, 503.8, 502.1, -0.862},
    {129.71536, -27.66081, 488.5, 486.9, 2.115}, {129.33092, -27.83427, 461.7, 460.2, -1.538},
    {129.67311, -27.63905, 489.4, 487.7, 0.447},
};

const KzGeometry::_CameraPointingRec KzGeometry::fgDefaultCameraPointing[kNFIXED_TELESCOPES] = {
    // reference telescope
    {0.0, 16.0},
    // eye 1, mirrors 1..6
    {-14.865, 16.04},
    {15.005, 16.06},
    {44.945, 15.96},
    {74.965, 16.14},
    {104.935, 15.96},
    {134.905, 15.85},
    // eye 2
    {74.932, 15.97},
    {104.792, 15.81},
    {134.782, 15.82},
    {164.982, 15.75},
    {195.012, 15.84},
    {224.912, 15.89},
    // eye 3
    {-156.865, 16.0},
    {-126.865, 16.0},
    {-96.865, 16.0},
    {-66.865, 16.0},
    {-36.865, 16.0},
    {-6.865, 16.0},
    // eye 4
    {-101.567, 15.94},
    {-71.637, 16.19},
    {-41.787, 16.21},
    {-11.777, 16.26},
    {18.263, 16.17},
    {48.083, 16.23},
};

// A LOFT telescope whose tilt is unknown counts as tilted up: default = up.
KzGeometry::_CameraPointingRec KzGeometry::fgLoftCameraPointing[kNLOFT_TELESCOPES][kNTILT_SLOTS] = {
    {{-42.06, 16.0}, {-42.06, 45.0}, {-42.06, 45.0}},
    {{3.24, 16.0}, {3.24, 45.0}, {3.24, 45.0}},
    {{48.08, 16.0}, {48.08, 45.0}, {48.08, 45.0}},
};

KzGeometry::_CameraGeometryRec KzGeometry::fgCameraGeometry[kNTELESCOPES];
KzGeometry* KzGeometry::fgGeometry[kNTELESCOPES];
KzGeometry::GeometryMap_t KzGeometry::fgGeometryMap;

// CalculateAzElevTable for axis (0, 16), rounded to hundredths, 22 rows per column.
// Four elevations, at (3,15), (10,18), (11,18) and (17,15), lie less than 0.0001 degrees
// above a half hundredth and keep the lower value.
const float KzGeometry::fgDefaultPixelAzimuth[Kz::kMI_NPIXELS] = {
    // column 1
    13.51f, 14.27f, 13.54f, 14.33f, 13.61f, 14.41f, 13.70f, 14.52f, 13.82f, 14.66f, 13.97f, 14.83f,
    14.15f, 15.04f, 14.36f, 15.28f, 14.61f, 15.56f, 14.90f, 15.89f, 15.23f, 16.26f,
    // column 2
    12.01f, 12.77f, 12.04f, 12.82f, 12.10f, 12.89f, 12.18f, 12.99f, 12.28f, 13.12f, 12.42f, 13.27f,
    12.58f, 13.46f, 12.77f, 13.68f, 13.00f, 13.94f, 13.25f, 14.23f, 13.55f, 14.56f,
    // column 3
    10.51f, 11.27f, 10.54f, 11.31f, 10.58f, 11.38f, 10.66f, 11.46f, 10.75f, 11.58f, 10.87f, 11.72f,
    11.01f, 11.88f, 11.18f, 12.08f, 11.38f, 12.30f, 11.61f, 12.57f, 11.87f, 12.86f,
    // column 4
    9.01f, 9.77f, 9.03f, 9.80f, 9.07f, 9.86f, 9.13f, 9.94f, 9.22f, 10.04f, 9.32f, 10.16f, 9.44f,
    10.30f, 9.59f, 10.47f, 9.76f, 10.67f, 9.95f, 10.90f, 10.18f, 11.16f,
    // column 5
    7.51f, 8.26f, 7.53f, 8.30f, 7.56f, 8.34f, 7.61f, 8.41f, 7.68f, 8.49f, 7.77f, 8.60f, 7.87f,
    8.72f, 7.99f, 8.87f, 8.14f, 9.03f, 8.30f, 9.23f, 8.49f, 9.45f,
    // column 6
    6.00f, 6.76f, 6.02f, 6.79f, 6.05f, 6.83f, 6.09f, 6.88f, 6.15f, 6.95f, 6.21f, 7.03f, 6.30f,
    7.14f, 6.40f, 7.26f, 6.51f, 7.40f, 6.64f, 7.56f, 6.80f, 7.74f,
    // column 7
    4.50f, 5.26f, 4.52f, 5.28f, 4.54f, 5.31f, 4.57f, 5.35f, 4.61f, 5.41f, 4.66f, 5.47f, 4.72f,
    5.55f, 4.80f, 5.65f, 4.88f, 5.75f, 4.98f, 5.88f, 5.10f, 6.02f,
    // column 8
    3.00f, 3.76f, 3.01f, 3.77f, 3.02f, 3.79f, 3.05f, 3.82f, 3.07f, 3.86f, 3.11f, 3.91f, 3.15f,
    3.97f, 3.20f, 4.03f, 3.26f, 4.11f, 3.32f, 4.20f, 3.40f, 4.30f,
    // column 9
    1.50f, 2.25f, 1.51f, 2.26f, 1.51f, 2.28f, 1.52f, 2.29f, 1.54f, 2.32f, 1.55f, 2.35f, 1.57f,
    2.38f, 1.60f, 2.42f, 1.63f, 2.47f, 1.66f, 2.52f, 1.70f, 2.58f,
    // column 10
    0.00f, 0.75f, 0.00f, 0.75f, 0.00f, 0.76f, 0.00f, 0.76f, 0.00f, 0.77f, 0.00f, 0.78f, 0.00f,
    0.79f, 0.00f, 0.81f, 0.00f, 0.82f, 0.00f, 0.84f, 0.00f, 0.86f,
    // column 11
    -1.50f, -0.75f, -1.51f, -0.75f, -1.51f, -0.76f, -1.52f, -0.76f, -1.54f, -0.77f, -1.55f, -0.78f,
    -1.57f, -0.79f, -1.60f, -0.81f, -1.63f, -0.82f, -1.66f, -0.84f, -1.70f, -0.86f,
    // column 12
    -3.00f, -2.25f, -3.01f, -2.26f, -3.02f, -2.28f, -3.05f, -2.29f, -3.07f, -2.32f, -3.11f, -2.35f,
    -3.15f, -2.38f, -3.20f, -2.42f, -3.26f, -2.47f, -3.32f, -2.52f, -3.40f, -2.58f,
    // column 13
    -4.50f, -3.76f, -4.52f, -3.77f, -4.54f, -3.79f, -4.57f, -3.82f, -4.61f, -3.86f, -4.66f, -3.91f,
    -4.72f, -3.97f, -4.80f, -4.03f, -4.88f, -4.11f, -4.98f, -4.20f, -5.10f, -4.30f,
    // column 14
    -6.00f, -5.26f, -6.02f, -5.28f, -6.05f, -5.31f, -6.09f, -5.35f, -6.15f, -5.41f, -6.21f, -5.47f,
    -6.30f, -5.55f, -6.40f, -5.65f, -6.51f, -5.75f, -6.64f, -5.88f, -6.80f, -6.02f,
    // column 15
    -7.51f, -6.76f, -7.53f, -6.79f, -7.56f, -6.83f, -7.61f, -6.88f, -7.68f, -6.95f, -7.77f, -7.03f,
    -7.87f, -7.14f, -7.99f, -7.26f, -8.14f, -7.40f, -8.30f, -7.56f, -8.49f, -7.74f,
    // column 16
    -9.01f, -8.26f, -9.03f, -8.30f, -9.07f, -8.34f, -9.13f, -8.41f, -9.22f, -8.49f, -9.32f, -8.60f,
    -9.44f, -8.72f, -9.59f, -8.87f, -9.76f, -9.03f, -9.95f, -9.23f, -10.18f, -9.45f,
    // column 17
    -10.51f, -9.77f, -10.54f, -9.80f, -10.58f, -9.86f, -10.66f, -9.94f, -10.75f, -10.04f, -10.87f,
    -10.16f, -11.01f, -10.30f, -11.18f, -10.47f, -11.38f, -10.67f, -11.61f, -10.90f, -11.87f,
    -11.16f,
    // column 18
    -12.01f, -11.27f, -12.04f, -11.31f, -12.10f, -11.38f, -12.18f, -11.46f, -12.28f, -11.58f,
    -12.42f, -11.72f, -12.58f, -11.88f, -12.77f, -12.08f, -13.00f, -12.30f, -13.25f, -12.57f,
    -13.55f, -12.86f,
    // column 19
    -13.51f, -12.77f, -13.54f, -12.82f, -13.61f, -12.89f, -13.70f, -12.99f, -13.82f, -13.12f,
    -13.97f, -13.27f, -14.15f, -13.46f, -14.36f, -13.68f, -14.61f, -13.94f, -14.90f, -14.23f,
    -15.23f, -14.56f,
    // column 20
    -15.01f, -14.27f, -15.05f, -14.33f, -15.12f, -14.41f, -15.22f, -14.52f, -15.35f, -14.66f,
    -15.51f, -14.83f, -15.71f, -15.04f, -15.95f, -15.28f, -16.22f, -15.56f, -16.54f, -15.89f,
    -16.90f, -16.26f};

const float KzGeometry::fgDefaultPixelElevation[Kz::kMI_NPIXELS] = {
    // column 1
    2.08f, 3.34f, 4.61f, 5.85f, 7.14f, 8.37f, 9.66f, 10.89f, 12.18f, 13.40f, 14.71f, 15.91f, 17.23f,
    18.42f, 19.74f, 20.93f, 22.26f, 23.44f, 24.77f, 25.94f, 27.28f, 28.43f,
    // column 2
    2.10f, 3.36f, 4.64f, 5.89f, 7.18f, 8.42f, 9.72f, 10.96f, 12.26f, 13.49f, 14.80f, 16.02f, 17.33f,
    18.54f, 19.87f, 21.07f, 22.40f, 23.59f, 24.93f, 26.11f, 27.46f, 28.63f,
    // column 3
    2.11f, 3.38f, 4.66f, 5.92f, 7.22f, 8.47f, 9.77f, 11.02f, 12.32f, 13.56f, 14.87f, 16.11f, 17.43f,
    18.65f, 19.97f, 21.19f, 22.52f, 23.73f, 25.07f, 26.27f, 27.61f, 28.80f,
    // column 4
    2.12f, 3.39f, 4.68f, 5.95f, 7.25f, 8.51f, 9.81f, 11.07f, 12.38f, 13.63f, 14.94f, 16.19f, 17.51f,
    18.75f, 20.07f, 21.30f, 22.63f, 23.86f, 25.19f, 26.41f, 27.75f, 28.96f,
    // column 5
    2.13f, 3.41f, 4.70f, 5.98f, 7.28f, 8.55f, 9.85f, 11.12f, 12.43f, 13.69f, 15.00f, 16.26f, 17.58f,
    18.83f, 20.15f, 21.39f, 22.72f, 23.96f, 25.29f, 26.53f, 27.86f, 29.09f,
    // column 6
    2.13f, 3.42f, 4.72f, 6.00f, 7.30f, 8.58f, 9.88f, 11.16f, 12.47f, 13.74f, 15.05f, 16.32f, 17.63f,
    18.89f, 20.21f, 21.47f, 22.80f, 24.05f, 25.38f, 26.62f, 27.96f, 29.20f,
    // column 7
    2.14f, 3.43f, 4.73f, 6.02f, 7.32f, 8.60f, 9.91f, 11.19f, 12.50f, 13.78f, 15.09f, 16.36f, 17.68f,
    18.95f, 20.26f, 21.53f, 22.85f, 24.12f, 25.44f, 26.70f, 28.03f, 29.29f,
    // column 8
    2.14f, 3.44f, 4.74f, 6.03f, 7.33f, 8.62f, 9.92f, 11.21f, 12.52f, 13.80f, 15.11f, 16.40f, 17.71f,
    18.99f, 20.30f, 21.58f, 22.89f, 24.17f, 25.49f, 26.76f, 28.08f, 29.35f,
    // column 9
    2.14f, 3.44f, 4.74f, 6.04f, 7.34f, 8.63f, 9.93f, 11.23f, 12.53f, 13.82f, 15.13f, 16.42f, 17.73f,
    19.02f, 20.32f, 21.61f, 22.92f, 24.21f, 25.52f, 26.80f, 28.11f, 29.40f,
    // column 10
    2.14f, 3.44f, 4.74f, 6.04f, 7.34f, 8.64f, 9.94f, 11.24f, 12.54f, 13.83f, 15.13f, 16.43f, 17.73f,
    19.03f, 20.33f, 21.63f, 22.93f, 24.22f, 25.53f, 26.82f, 28.12f, 29.42f,
    // column 11
    2.14f, 3.44f, 4.74f, 6.04f, 7.34f, 8.64f, 9.93f, 11.24f, 12.53f, 13.83f, 15.13f, 16.43f, 17.73f,
    19.03f, 20.32f, 21.63f, 22.92f, 24.22f, 25.52f, 26.82f, 28.11f, 29.42f,
    // column 12
    2.14f, 3.44f, 4.74f, 6.04f, 7.33f, 8.63f, 9.92f, 11.23f, 12.52f, 13.82f, 15.11f, 16.42f, 17.71f,
    19.02f, 20.30f, 21.61f, 22.89f, 24.21f, 25.49f, 26.80f, 28.08f, 29.40f,
    // column 13
    2.14f, 3.44f, 4.73f, 6.03f, 7.32f, 8.62f, 9.91f, 11.21f, 12.50f, 13.80f, 15.09f, 16.40f, 17.68f,
    18.99f, 20.26f, 21.58f, 22.85f, 24.17f, 25.44f, 26.76f, 28.03f, 29.35f,
    // column 14
    2.13f, 3.43f, 4.72f, 6.02f, 7.30f, 8.60f, 9.88f, 11.19f, 12.47f, 13.78f, 15.05f, 16.36f, 17.63f,
    18.95f, 20.21f, 21.53f, 22.80f, 24.12f, 25.38f, 26.70f, 27.96f, 29.29f,
    // column 15
    2.13f, 3.42f, 4.70f, 6.00f, 7.28f, 8.58f, 9.85f, 11.16f, 12.43f, 13.74f, 15.00f, 16.32f, 17.58f,
    18.89f, 20.15f, 21.47f, 22.72f, 24.05f, 25.29f, 26.62f, 27.86f, 29.20f,
    // column 16
    2.12f, 3.41f, 4.68f, 5.98f, 7.25f, 8.55f, 9.81f, 11.12f, 12.38f, 13.69f, 14.94f, 16.26f, 17.51f,
    18.83f, 20.07f, 21.39f, 22.63f, 23.96f, 25.19f, 26.53f, 27.75f, 29.09f,
    // column 17
    2.11f, 3.39f, 4.66f, 5.95f, 7.22f, 8.51f, 9.77f, 11.07f, 12.32f, 13.63f, 14.87f, 16.19f, 17.43f,
    18.75f, 19.97f, 21.30f, 22.52f, 23.86f, 25.07f, 26.41f, 27.61f, 28.96f,
    // column 18
    2.10f, 3.38f, 4.64f, 5.92f, 7.18f, 8.47f, 9.72f, 11.02f, 12.26f, 13.56f, 14.80f, 16.11f, 17.33f,
    18.65f, 19.87f, 21.19f, 22.40f, 23.73f, 24.93f, 26.27f, 27.46f, 28.80f,
    // column 19
    2.08f, 3.36f, 4.61f, 5.89f, 7.14f, 8.42f, 9.66f, 10.96f, 12.18f, 13.49f, 14.71f, 16.02f, 17.23f,
    18.54f, 19.74f, 21.07f, 22.26f, 23.59f, 24.77f, 26.11f, 27.28f, 28.63f,
    // column 20
    2.07f, 3.34f, 4.58f, 5.85f, 7.09f, 8.37f, 9.60f, 10.89f, 12.10f, 13.40f, 14.61f, 15.91f, 17.11f,
    18.42f, 19.61f, 20.93f, 22.10f, 23.44f, 24.60f, 25.94f, 27.09f, 28.43f};

unsigned int KzGeometry::_CameraPointingRec::CalculateHash() const {
  if (fElevation < 0) throw std::logic_error("Negative elevation angle is not supportet!");
  // Stepping by 360 would never end on these.
  if (!std::isfinite(fAzimuth) || !std::isfinite(fElevation))
    throw std::invalid_argument("Axis angle is not a finite number!");
  // fmod only shortens the stepping for far-off angles; it is exact in (-360, 720).
  double azimuth = std::fmod(fAzimuth, 360.0);
  while (azimuth < 0) azimuth += 360.0;
  while (azimuth >= 360.0) azimuth -= 360.0;
  double elevation = std::fmod(fElevation, 90.0);
  while (elevation >= 90.0) elevation -= 90.0;
  // The two parts overlap (elevation up to 89999, azimuth in steps of 10000): on purpose.
  fHashValue = static_cast<unsigned int>(std::trunc(elevation * 1000)) +
               static_cast<unsigned int>(std::trunc(azimuth * 100)) * 10000u;
  return fHashValue;
}

void KzGeometry::InitializeClass() {
  if (fgPrintLevel > 1)
    KZ_LOG(ErrorLogger::eInfo,
           "KzGeometry::InitializeClass() - fgClassInitialized= " << fgClassInitialized);
  if (fgClassInitialized) return;
  if (fgPrintLevel > 0)
    KZ_LOG(ErrorLogger::eInfo, "KzGeometry::InitializeClass() - initializing ...");
  std::fill(std::begin(fgGeometry), std::end(fgGeometry), nullptr);
  // The exit handler logs: build the logger first so that it is destroyed after the handler ran.
  ErrorLogger::GetInstance();
  if (atexit(ExitHandler) != 0) {
    const int error = errno;
    KZ_LOG(ErrorLogger::eError, "KzGeometry::InitializeClass() - "
                                    << "trying installing 'atexit' handler with error, " << error
                                    << " - " << strerror(error));
  } else if (fgPrintLevel > 0) {
    KZ_LOG(ErrorLogger::eInfo,
           "KzGeometry::InitializeClass() - 'atexit' handler successfully installed !");
  }
  InitializeTables();
  // Set before the instances are built: their constructors call back in here.
  fgClassInitialized = true;
  for (unsigned int id = 0; id < kNTELESCOPES; ++id) fgGeometry[id] = new KzGeometry(id);
}

void KzGeometry::InitializeTables() {
  if (fgPrintLevel > 1) KZ_LOG(ErrorLogger::eInfo, "KzGeometry::InitializeTables() -");
  for (unsigned int id = 0; id < kNFIXED_TELESCOPES; ++id)
    fgCameraGeometry[id].fAxis = fgDefaultCameraPointing[id];
  for (unsigned int loft = 0; loft < kNLOFT_TELESCOPES; ++loft)
    fgCameraGeometry[kFIRST_LOFT_TELESCOPE + loft].fAxis =
        fgLoftCameraPointing[loft][kLOFT_DEFAULT_SLOT];
  if (fgPrintLevel > 1) DumpLoftPointing("KzGeometry::InitializeTables()");
}

void KzGeometry::DumpLoftPointing(const char* caller) {
  KZ_LOG(ErrorLogger::eInfo, caller << " - dump for LOFT");
  for (unsigned int loft = 0; loft < kNLOFT_TELESCOPES; ++loft) {
    KZ_LOG(ErrorLogger::eInfo, "LOFT configuration " << loft + 1 << ":");
    for (unsigned int slot = 0; slot < kNTILT_SLOTS; ++slot) {
      const _CameraPointingRec& axis = fgLoftCameraPointing[loft][slot];
      KZ_LOG(ErrorLogger::eInfo, "LOFT[" << slot + 1 << "] (az,el) = (" << axis.fAzimuth << ","
                                         << axis.fElevation << ")");
    }
  }
}

void KzGeometry::CalculateAzElevTable() {
  if (!fgClassInitialized) InitializeClass();
  const double d = KzCameraGrid::Radians();
  const double axisAzimuth = fAxis.fAzimuth;
  const double axisElevation = fAxis.fElevation;
  if (fgPrintLevel > 1)
    KZ_LOG(ErrorLogger::eDebug, "KzGeometry::CalculateAzElevTable() - "
                                    << "fTelescopeId= " << fTelescopeId << " (az,el) = ("
                                    << axisAzimuth << "," << axisElevation << ")");
  for (int column = 1; column <= Kz::kMI_NCOLS; ++column) {
    for (int row = 1; row <= Kz::kMI_NROWS; ++row) {
      const KzCameraGrid::SkyPoint sky =
          KzCameraGrid::Sky(KzCameraGrid::Frame(column, row, axisElevation));
      const int index = KzCameraGrid::Index(column, row);
      fPixelAzimuth[index] = static_cast<float>((sky.fAzimuth + axisAzimuth * d) / d);
      fPixelElevation[index] = static_cast<float>(sky.fElevation / d);
    }
  }
}

KzGeometry::KzGeometry(unsigned int abs_tel_id) : fTelescopeId(abs_tel_id), fAxis() {
  if (fgPrintLevel > 1)
    KZ_LOG(ErrorLogger::eDebug, "KzGeometry::KzGeometry() - fTelescopeId= " << fTelescopeId);
  InitializeClass();
  RequireTelescopeId(abs_tel_id, 0, "KzGeometry");
  fPixelAzimuth.resize(Kz::kMI_NPIXELS);
  fPixelElevation.resize(Kz::kMI_NPIXELS);
  GetTelescopeAxis(abs_tel_id, fAxis.fAzimuth, fAxis.fElevation);
  CalculateAzElevTable();
  EnterMap("KzGeometry::KzGeometry(unsigned int)");
}

KzGeometry::KzGeometry(_CameraPointingRec& axis) : fTelescopeId(kAXIS_INSTANCE_ID), fAxis(axis) {
  if (fgPrintLevel > 1)
    KZ_LOG(ErrorLogger::eDebug, "KzGeometry::KzGeometry(CameraPointing_t&) - (az,el) = ("
                                    << fAxis.fAzimuth << "," << fAxis.fElevation << ")");
  fPixelAzimuth.resize(Kz::kMI_NPIXELS);
  fPixelElevation.resize(Kz::kMI_NPIXELS);
  CalculateAzElevTable();
  EnterMap("KzGeometry::KzGeometry()");
}

void KzGeometry::EnterMap(const char* caller) {
  // Hashing first refuses a negative elevation even when the map is empty.
  fAxis.GetHashValue();
  if (fgGeometryMap.emplace(fAxis, this).second) return;
  KZ_LOG(ErrorLogger::eWarning, caller << " - (az,el) = (" << fAxis.fAzimuth << ","
                                       << fAxis.fElevation << ") is already in map!");
}

KzGeometry::~KzGeometry() {
  if (fgPrintLevel > 1) {
    KZ_LOG(ErrorLogger::eDebug, "KzGeometry::~KzGeometry() - fTelescopeId= " << fTelescopeId);
    KZ_LOG(ErrorLogger::eDebug,
           "\t\t(ax,el) = (" << fAxis.fAzimuth << "," << fAxis.fElevation << ")");
  }
  // The entry of this axis goes even if another instance owns it; failing that, ours.
  auto entry = fgGeometryMap.find(fAxis);
  if (entry == fgGeometryMap.end())
    entry = std::find_if(fgGeometryMap.begin(), fgGeometryMap.end(),
                         [this](const GeometryMap_t::value_type& e) { return e.second == this; });
  if (entry == fgGeometryMap.end()) {
    KZ_LOG(ErrorLogger::eWarning, "KzGeometry::~KzGeometry() - (ax,el) = ("
                                      << fAxis.fAzimuth << "," << fAxis.fElevation
                                      << ") not found in map!");
    return;
  }
  if (fgPrintLevel > 1)
    KZ_LOG(ErrorLogger::eDebug, "KzGeometry::~KzGeometry() - erasing (ax,el) = ("
                                    << fAxis.fAzimuth << "," << fAxis.fElevation << ") from map!");
  fgGeometryMap.erase(entry);
}

void KzGeometry::ExitHandler() {
  if (fgPrintLevel > 1)
    KZ_LOG(ErrorLogger::eInfo, "KzGeometry::ExitHandler() - map size= " << fgGeometryMap.size());
  // Each destructor erases its own entry. Instances outside the map stay.
  while (!fgGeometryMap.empty()) delete fgGeometryMap.begin()->second;
}

const KzGeometry& KzGeometry::FindOrBuildInstance(unsigned int abs_tel_id) {
  InitializeClass();
  if (abs_tel_id >= kNTELESCOPES) {
    KZ_LOG(ErrorLogger::eCritical, "KzGeometry::GetInstance("
                                       << abs_tel_id << ") - "
                                       << "telescope number range exceeded!");
    throw std::range_error("KZ telescope number, range exceeded");
  }
  if (!fgGeometry[abs_tel_id]) fgGeometry[abs_tel_id] = new KzGeometry(abs_tel_id);
  return *fgGeometry[abs_tel_id];
}

const KzGeometry& KzGeometry::GetInstance(unsigned int eye_id, unsigned int mirror_id) {
  InitializeClass();
  if (eye_id < Kz::kKZ_FIRST_EYE || eye_id > Kz::kKZ_LAST_EYE) {
    KZ_LOG(ErrorLogger::eCritical, "KzGeometry::GetInstance("
                                       << eye_id << "," << mirror_id
                                       << ") - eye number outside valid range!");
    throw std::range_error("Eye number exceeds valid range");
  }
  if (mirror_id < Kz::kEYE_FIRST_MIRROR || mirror_id > Kz::kEYE_LAST_MIRROR) {
    KZ_LOG(ErrorLogger::eCritical, "KzGeometry::GetInstance("
                                       << eye_id << "," << mirror_id
                                       << ") - mirror number outside valid range!");
    throw std::range_error("Mirror number exceeds valid range");
  }
  // The Kz mirror number is the absolute telescope id; mirrors 4..6 of eye 5 give 28..30,
  // which GetInstance(id) refuses.
  Kz::MirrorNumberRec mirror{};
  Kz::SetEyeNo(&mirror, eye_id);
  Kz::SetMirrorNo(&mirror, mirror_id);
  return GetInstance(Kz::GetKzMirrorNo(&mirror));
}

const KzGeometry& KzGeometry::GetInstance(_CameraPointingRec& axis) {
  InitializeClass();
  axis.GetHashValue();
  const auto entry = fgGeometryMap.find(axis);
  if (entry != fgGeometryMap.end()) return *entry->second;
  // Owned by the map until exit.
  return *new KzGeometry(axis);
}

void KzGeometry::RequireTelescopeId(unsigned int abs_tel_id, unsigned int first,
                                    const char* method) {
  if (abs_tel_id >= first && abs_tel_id < kNTELESCOPES) return;
  KZ_LOG(ErrorLogger::eFatal,
         "KzGeometry::" << method << "(abs_tel_id= " << abs_tel_id << ") - wrong telescope id!");
  throw std::logic_error("Illegal absolute telescope id!");
}

void KzGeometry::GetTelescopeAxis(unsigned int abs_tel_id, double& azimuth, double& elevation) {
  if (!fgClassInitialized) InitializeClass();
  RequireTelescopeId(abs_tel_id, 0, "GetTelescopeAxis");
  azimuth = fgCameraGeometry[abs_tel_id].fAxis.fAzimuth;
  elevation = fgCameraGeometry[abs_tel_id].fAxis.fElevation;
}

double KzGeometry::GetTelescopeAzimuth(unsigned int abs_tel_id) {
  double azimuth, elevation;
  GetTelescopeAxis(abs_tel_id, azimuth, elevation);
  return azimuth;
}

double KzGeometry::GetTelescopeElevation(unsigned int abs_tel_id) {
  double azimuth, elevation;
  GetTelescopeAxis(abs_tel_id, azimuth, elevation);
  return elevation;
}

void KzGeometry::SetTelescopeAxis(unsigned int abs_tel_id, double azimuth, double elevation,
                                  bool auto_mode) {
  if (!fgClassInitialized) InitializeClass();
  if (fgPrintLevel > 1)
    KZ_LOG(ErrorLogger::eDebug, "KzGeometry::SetTelescopeAxis() - "
                                    << "abs_tel_id= " << abs_tel_id << " (az,el)= "
                                    << "(" << azimuth << "," << elevation
                                    << ") auto= " << auto_mode);
  RequireTelescopeId(abs_tel_id, 1, "SetTelescopeAxis");
  _CameraGeometryRec& camera = fgCameraGeometry[abs_tel_id];
  camera.fAutomatic = auto_mode;
  _CameraPointingRec& axis = camera.fAxis;
  if (fabs(axis.fAzimuth - azimuth) <= kAxisTolerance &&
      fabs(axis.fElevation - elevation) <= kAxisTolerance)
    return;
  KZ_LOG(ErrorLogger::eWarning, "KzGeometry::SetTelescopeAxis("
                                    << abs_tel_id << ") - "
                                    << "replaced axis (az,el) = (" << axis.fAzimuth << ","
                                    << axis.fElevation << ") by (" << azimuth << "," << elevation
                                    << ") !");
  if (auto_mode)
    KZ_LOG(ErrorLogger::eWarning, "KzGeometry::SetTelescopeAxis(" << abs_tel_id << ") - "
                                                                  << "mode is set to 'auto' !");
  axis.fAzimuth = azimuth;
  axis.fElevation = elevation;
  KzGeometry*& instance = fgGeometry[abs_tel_id];
  if (!instance) return;
  delete instance;
  // Null first: if the new axis is refused, GetInstance builds (and refuses) again later.
  instance = nullptr;
  instance = new KzGeometry(abs_tel_id);
}

void KzGeometry::SetTelescopeAxis(unsigned int abs_tel_id) {
  if (!fgClassInitialized) InitializeClass();
  if (fgPrintLevel > 1)
    KZ_LOG(ErrorLogger::eDebug, "KzGeometry::SetTelescopeAxis(abs_tel_id= " << abs_tel_id << ") -");
  RequireTelescopeId(abs_tel_id, 1, "SetTelescopeAxis");
  const _CameraPointingRec& fallback =
      abs_tel_id < kFIRST_LOFT_TELESCOPE
          ? fgDefaultCameraPointing[abs_tel_id]
          : fgLoftCameraPointing[abs_tel_id - kFIRST_LOFT_TELESCOPE][kLOFT_DEFAULT_SLOT];
  double azimuth = fallback.fAzimuth;
  double elevation = fallback.fElevation;
  const bool automatic = fgCameraGeometry[abs_tel_id].fAutomatic;
  if (automatic) ReadAxis("KzGeometry::SetTelescopeAxis()", abs_tel_id, azimuth, elevation);
  SetTelescopeAxis(abs_tel_id, azimuth, elevation, automatic);
}

void KzGeometry::ReadAxis(const char* caller, unsigned int abs_tel_id, double& azimuth,
                          double& elevation) {
  const GetAxisFunc_t reader = fgCameraGeometry[abs_tel_id].fGetAxisFunc;
  if (reader) {
    reader(abs_tel_id, azimuth, elevation);
    return;
  }
  KZ_LOG(ErrorLogger::eWarning, caller << " - "
                                       << "No function for reading axis pointing of telescope "
                                       << abs_tel_id << " was provided, "
                                       << "using fallback constants instead!");
}

void KzGeometry::SetGetAxisFunction(unsigned int abs_tel_id, GetAxisFunc_t func) {
  RequireTelescopeId(abs_tel_id, 1, "SetGetAxisFunction");
  fgCameraGeometry[abs_tel_id].fGetAxisFunc = func;
  if (!func)
    KZ_LOG(ErrorLogger::eWarning, "KzGeometry::SetGetAxisFunction(abs_tel_id= "
                                      << abs_tel_id << " function pointer deleted!");
}

void KzGeometry::ThrowRangeError(const char* text) { throw std::range_error(text); }

bool KzGeometry::SelectGeometryGroup(InifileChain& inifile, const char* caller) {
  if (inifile.SpecifyGroup(kGEOMETRY_GROUP) == 0) return true;
  KZ_LOG(ErrorLogger::eWarning, caller << " - "
                                       << "Section [" << kGEOMETRY_GROUP << "] not found !!!");
  return false;
}

bool KzGeometry::ReadCameraPointing(InifileChain& inifile) {
  if (!fgClassInitialized) InitializeClass();
  if (fgPrintLevel > 1) KZ_LOG(ErrorLogger::eDebug, "KzGeometry::ReadCameraPointing() -");
  if (!SelectGeometryGroup(inifile, "KzGeometry::ReadCameraPointing()")) return false;
  for (unsigned int id = 1; id < kNTELESCOPES; ++id) ReadAxisEntry(inifile, id);
  ReadCameraPointing4LOFT(inifile);
  return true;
}

void KzGeometry::ReadAxisEntry(InifileChain& inifile, unsigned int abs_tel_id) {
  double azimuth, elevation;
  GetTelescopeAxis(abs_tel_id, azimuth, elevation);
  const std::string key = "axis" + std::to_string(abs_tel_id);
  int missing = 0;
  std::string mode = inifile.GetFirstString(key.c_str(), "", &missing);
  if (missing) {
    // The search may have run into the end of the file, where the reader stays until the
    // group is selected again; and a next value would come from some other line.
    inifile.SpecifyGroup(kGEOMETRY_GROUP);
    SetTelescopeAxis(abs_tel_id, azimuth, elevation, false);
    return;
  }
  for (char& c : mode) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  const bool automatic = mode == "auto";
  azimuth = automatic ? inifile.GetNextFloat(azimuth) : inifile.GetFirstFloat(key.c_str(), azimuth);
  elevation = inifile.GetNextFloat(elevation);
  if (automatic) ReadAxis("KzGeometry::ReadCameraPointing()", abs_tel_id, azimuth, elevation);
  SetTelescopeAxis(abs_tel_id, azimuth, elevation, automatic);
}

bool KzGeometry::ReadCameraPointing4LOFT(InifileChain& inifile) {
  if (fgPrintLevel > 1) KZ_LOG(ErrorLogger::eDebug, "KzGeometry::ReadCameraPointing4LOFT() -");
  if (!SelectGeometryGroup(inifile, "KzGeometry::ReadCameraPointing4LOFT()")) return false;
  for (unsigned int loft = 0; loft < kNLOFT_TELESCOPES; ++loft) ReadLoftEntry(inifile, loft);
  if (fgPrintLevel > 1) DumpLoftPointing("KzGeometry::ReadCameraPointing4LOFT()");
  return true;
}

void KzGeometry::ReadLoftEntry(InifileChain& inifile, unsigned int loft) {
  const std::string key = "loft" + std::to_string(loft + 1);
  _CameraPointingRec(&slots)[kNTILT_SLOTS] = fgLoftCameraPointing[loft];
  if (!ReadAnglePair(inifile, key.c_str(), slots[kLOFT_DOWN_SLOT])) {
    // A missing key may have left the reader at the end of the file.
    inifile.SpecifyGroup(kGEOMETRY_GROUP);
    return;
  }
  if (!ReadAnglePair(inifile, nullptr, slots[kLOFT_UP_SLOT])) return;
  if (!ReadAnglePair(inifile, nullptr, slots[kLOFT_DEFAULT_SLOT])) return;
  const unsigned int id = kFIRST_LOFT_TELESCOPE + loft;
  SetTelescopeAxis(id, slots[kLOFT_DEFAULT_SLOT].fAzimuth, slots[kLOFT_DEFAULT_SLOT].fElevation,
                   fgCameraGeometry[id].fAutomatic);
}

void KzGeometry::GetTelescopeAxis4LOFT(unsigned int loft_tel_id, double& azimuth, double& elevation,
                                       ETiltPosition tilt) {
  if (loft_tel_id < 1 || loft_tel_id > kNLOFT_TELESCOPES) {
    KZ_LOG(ErrorLogger::eFatal, "KzGeometry::GetTelescopeAxis4LOFT(loft_tel_id= "
                                    << loft_tel_id << ") - wrong LOFT telescope id!");
    throw std::logic_error("Illegal LOFT telescope id!");
  }
  const unsigned int slot = tilt == kPositionDown ? kLOFT_DOWN_SLOT
                            : tilt == kPositionUp ? kLOFT_UP_SLOT
                                                  : kLOFT_DEFAULT_SLOT;
  azimuth = fgLoftCameraPointing[loft_tel_id - 1][slot].fAzimuth;
  elevation = fgLoftCameraPointing[loft_tel_id - 1][slot].fElevation;
}

}  // namespace KzUtil
