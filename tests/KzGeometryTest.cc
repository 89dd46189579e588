#include "KzGeometry.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "ErrorLogger.h"
#include "KzTestSupport.h"

using namespace KzUtil;

namespace {

// Opens the protected interface for the tests.
class GeometryProbe : public KzGeometry {
 public:
  using KzGeometry::fgGeometry;
  using KzGeometry::fgGeometryMap;
  using KzGeometry::InitializeClass;
  using KzGeometry::SetTelescopeAxis;
};

// Builds an instance by id without the checks of GetInstance.
class UncheckedGeometry : public KzGeometry {
 public:
  explicit UncheckedGeometry(unsigned int id) : KzGeometry(id) {}
};

// The pixel direction as a rotated unit vector, with atan2 where the library uses asin.
void ExpectedDirection(double axisAzimuth, double axisElevation, int column, int row,
                       double& azimuth, double& elevation) {
  const double rad = M_PI / 180;
  const double h = (1.5 * (10 - column) + (row % 2 == 0 ? 0.75 : 0.0)) * rad;
  const double v = ((row - 11.5) * 0.75 * std::sqrt(3.0) - 0.2165 + axisElevation) * rad;
  const double x = std::cos(h) * std::cos(v), y = std::sin(h), z = std::cos(h) * std::sin(v);
  elevation = std::atan2(z, std::hypot(x, y)) / rad;
  azimuth = axisAzimuth + std::atan2(y, x) / rad;
}

void ExpectMatchesAxis(const KzGeometry& g, double axisAzimuth, double axisElevation) {
  for (int column = 1; column <= 20; ++column)
    for (int row = 1; row <= 22; ++row) {
      double azimuth, elevation;
      ExpectedDirection(axisAzimuth, axisElevation, column, row, azimuth, elevation);
      EXPECT_NEAR(g.GetPixelAzimuth(column, row), azimuth, 1e-4) << column << "," << row;
      EXPECT_NEAR(g.GetPixelElevation(column, row), elevation, 1e-4) << column << "," << row;
    }
}

template <class Exception, class Body>
std::string ThrownText(Body body) {
  try {
    body();
  } catch (const Exception& e) {
    return e.what();
  }
  return "(nothing thrown)";
}

size_t Count(const std::string& text, const std::string& part) {
  size_t n = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
  return n;
}

// Collects the log of one test; every level passes.
class KzGeometryLogged : public ::testing::Test {
 protected:
  void SetUp() override {
    ErrorLogger::GetInstance().SetLoggingLevel(ErrorLogger::eDebug, true);
    ErrorLogger::GetInstance().SetStream(&fLog);
  }
  // The exit handler may still log after the test: never into this object.
  void TearDown() override {
    ErrorLogger::GetInstance().SetStream(&std::clog);
    KzGeometry::SetPrintLevel(1);
  }
  std::string Log() const { return fLog.str(); }
  void ClearLog() { fLog.str(""); }

  std::ostringstream fLog;
};

using KzGeometryTables = KzGeometryLogged;
using KzGeometryInstance = KzGeometryLogged;
using KzGeometryAxis = KzGeometryLogged;
using KzGeometryPixel = KzGeometryLogged;

}  // namespace

TEST_F(KzGeometryTables, ReferenceTableIsTheComputationRoundedToHundredths) {
  const KzGeometry& reference = KzGeometry::GetInstance(0);
  struct Boundary {
    unsigned int fColumn, fRow;
    float fAzimuth, fElevation;
  };
  const Boundary kBoundaries[] = {{3, 15, 11.18f, 19.97f},
                                  {10, 18, 0.82f, 24.22f},
                                  {11, 18, -0.82f, 24.22f},
                                  {17, 15, -11.18f, 19.97f}};
  int boundaries = 0;
  for (unsigned int column = 1; column <= 20; ++column)
    for (unsigned int row = 1; row <= 22; ++row) {
      const double azimuth = reference.GetPixelAzimuth(column, row);
      const double elevation = reference.GetPixelElevation(column, row);
      const auto* boundary =
          std::find_if(std::begin(kBoundaries), std::end(kBoundaries),
                       [&](const Boundary& b) { return b.fColumn == column && b.fRow == row; });
      if (boundary != std::end(kBoundaries)) {
        ++boundaries;
        EXPECT_EQ(KzGeometry::GetPixelAzimuth0(column, row), double(boundary->fAzimuth));
        EXPECT_EQ(KzGeometry::GetPixelElevation0(column, row), double(boundary->fElevation));
        EXPECT_NEAR(KzGeometry::GetPixelElevation0(column, row), elevation, 0.00507);
        continue;
      }
      EXPECT_EQ(KzGeometry::GetPixelAzimuth0(column, row),
                double(float(std::round(azimuth * 100) / 100)))
          << column << "," << row;
      EXPECT_EQ(KzGeometry::GetPixelElevation0(column, row),
                double(float(std::round(elevation * 100) / 100)))
          << column << "," << row;
    }
  EXPECT_EQ(boundaries, 4);
}

TEST_F(KzGeometryTables, ColumnIsCheckedBeforeRowAndNothingIsLogged) {
  const KzGeometry& g = KzGeometry::GetInstance(4);
  ClearLog();
  const std::string column = "pixel column number invalid", row = "pixel row number invalid";
  EXPECT_EQ(ThrownText<std::range_error>([] { KzGeometry::GetPixelAzimuth0(0, 0); }), column);
  EXPECT_EQ(ThrownText<std::range_error>([] { KzGeometry::GetPixelElevation0(21, 23); }), column);
  EXPECT_EQ(ThrownText<std::range_error>([] { KzGeometry::GetPixelAzimuth0(1, 0); }), row);
  EXPECT_EQ(ThrownText<std::range_error>([] { KzGeometry::GetPixelElevation0(20, 23); }), row);
  EXPECT_EQ(ThrownText<std::range_error>([&] { g.GetPixelAzimuth(21, 1); }), column);
  EXPECT_EQ(ThrownText<std::range_error>([&] { g.GetPixelElevation(1, 23); }), row);
  EXPECT_EQ(Log(), "");
}

TEST_F(KzGeometryTables, EveryTelescopeAgreesWithTheRotatedVector) {
  for (unsigned int id = 0; id < 28; ++id) {
    SCOPED_TRACE(id);
    const KzGeometry& g = KzGeometry::GetInstance(id);
    EXPECT_EQ(g.GetTelescopeId(), id);
    double azimuth, elevation;
    KzGeometry::GetTelescopeAxis(id, azimuth, elevation);
    ExpectMatchesAxis(g, azimuth, elevation);
  }
  EXPECT_EQ(KzGeometry::GetTelescopeAzimuth(13), -156.865);  // kept negative
  EXPECT_EQ(KzGeometry::GetTelescopeAzimuth(12), 224.912);   // kept above 180
  EXPECT_EQ(KzGeometry::GetTelescopeAzimuth(26), 3.24);      // LOFT in its default position
  EXPECT_EQ(KzGeometry::GetTelescopeElevation(26), 45.0);
}

TEST_F(KzGeometryTables, PixelAzimuthsFollowTheAxisWithoutWrapping) {
  KzGeometry::CameraPointing_t axis(350.0, 16.0);
  const KzGeometry& turned = KzGeometry::GetInstance(axis);
  ExpectMatchesAxis(turned, 350.0, 16.0);
  EXPECT_NEAR(turned.GetPixelAzimuth(1, 22), 366.26, 0.005);
  EXPECT_NEAR(turned.GetPixelAzimuth(20, 21), 333.1, 0.005);
}

TEST_F(KzGeometryInstance, FirstUseBuildsEveryTelescopeOnce) {
  GeometryProbe::InitializeClass();
  EXPECT_NE(Log().find("KzGeometry::InitializeClass() - initializing ..."), std::string::npos);
  EXPECT_NE(Log().find("KzGeometry::InitializeClass() - 'atexit' handler successfully installed !"),
            std::string::npos);
  EXPECT_EQ(GeometryProbe::fgGeometryMap.size(), 28u);
  KzGeometry* const first = GeometryProbe::fgGeometry[17];
  KzGeometry::SetPrintLevel(2);
  ClearLog();
  EXPECT_EQ(&KzGeometry::GetInstance(17), first);  // at this level every request says so
  GeometryProbe::InitializeClass();
  EXPECT_EQ(Log(),
            "KzGeometry::InitializeClass() - fgClassInitialized= 1\n"
            "KzGeometry::InitializeClass() - fgClassInitialized= 1\n");
  EXPECT_EQ(GeometryProbe::fgGeometryMap.size(), 28u);
  EXPECT_EQ(GeometryProbe::fgGeometry[17], first);
}

TEST_F(KzGeometryInstance, DebugLevelDumpsTheLoftTable) {
  KzGeometry::SetPrintLevel(2);
  KzGeometry::GetInstance(0);
  EXPECT_NE(Log().find("KzGeometry::InitializeTables() - dump for LOFT\n"
                       "LOFT configuration 1:\n"
                       "LOFT[1] (az,el) = (-42.06,16)\n"
                       "LOFT[2] (az,el) = (-42.06,45)\n"
                       "LOFT[3] (az,el) = (-42.06,45)\n"
                       "LOFT configuration 2:\n"),
            std::string::npos);
  EXPECT_EQ(Count(Log(), "KzGeometry::KzGeometry() - fTelescopeId= "), 28u);
}

TEST_F(KzGeometryInstance, EyeAndMirrorSelectTheTelescope) {
  for (unsigned int eye = 1; eye <= 5; ++eye)
    for (unsigned int mirror = 1; mirror <= (eye == 5 ? 3u : 6u); ++mirror)
      EXPECT_EQ(&KzGeometry::GetInstance(eye, mirror),
                &KzGeometry::GetInstance((eye - 1) * 6 + mirror));
  EXPECT_EQ(KzGeometry::GetInstance(5, 1).GetTelescopeId(), 25u);
  ClearLog();
  EXPECT_EQ(ThrownText<std::range_error>([] { KzGeometry::GetInstance(6, 7); }),
            "Eye number exceeds valid range");
  EXPECT_EQ(ThrownText<std::range_error>([] { KzGeometry::GetInstance(1, 0); }),
            "Mirror number exceeds valid range");
  EXPECT_EQ(ThrownText<std::range_error>([] { KzGeometry::GetInstance(5, 4); }),
            "KZ telescope number, range exceeded");
  EXPECT_EQ(Log(),
            "KzGeometry::GetInstance(6,7) - eye number outside valid range!\n"
            "KzGeometry::GetInstance(1,0) - mirror number outside valid range!\n"
            "KzGeometry::GetInstance(28) - telescope number range exceeded!\n");
}

TEST_F(KzGeometryInstance, IdZeroIsTheReferenceAndTwentyEightIsRefused) {
  const KzGeometry& reference = KzGeometry::GetInstance(0);
  EXPECT_EQ(reference.GetAxis().fAzimuth, 0.0);
  EXPECT_EQ(reference.GetAxis().fElevation, 16.0);
  ClearLog();
  EXPECT_EQ(ThrownText<std::range_error>([] { KzGeometry::GetInstance(28); }),
            "KZ telescope number, range exceeded");
  EXPECT_EQ(ThrownText<std::logic_error>([] { UncheckedGeometry bad(28); }),
            "Illegal absolute telescope id!");
  double azimuth, elevation;
  EXPECT_EQ(
      ThrownText<std::logic_error>([&] { KzGeometry::GetTelescopeAxis(28, azimuth, elevation); }),
      "Illegal absolute telescope id!");
  EXPECT_EQ(Log(),
            "KzGeometry::GetInstance(28) - telescope number range exceeded!\n"
            "KzGeometry::KzGeometry(abs_tel_id= 28) - wrong telescope id!\n"
            "KzGeometry::GetTelescopeAxis(abs_tel_id= 28) - wrong telescope id!\n");
}

TEST_F(KzGeometryInstance, AnAxisOfATelescopeGetsThatTelescopesInstance) {
  KzGeometry::CameraPointing_t axis3(44.945, 15.96);
  EXPECT_EQ(&KzGeometry::GetInstance(axis3), &KzGeometry::GetInstance(3));
  // Azimuths are compared modulo 360, to the hundredth.
  KzGeometry::CameraPointing_t wrapped(345.135, 16.04);
  EXPECT_EQ(&KzGeometry::GetInstance(wrapped), &KzGeometry::GetInstance(1));
  EXPECT_EQ(wrapped.fHashValue, KzGeometry::GetInstance(1).GetAxis().fHashValue);
  EXPECT_NE(wrapped.fHashValue, 0u);
  EXPECT_EQ(GeometryProbe::fgGeometryMap.size(), 28u);
  EXPECT_EQ(Log().find("already in map"), std::string::npos);
}

TEST_F(KzGeometryInstance, NewAxesAreBuiltOnceAndOverlappingKeysShare) {
  KzGeometry::CameraPointing_t low(0.01, 0.0), high(0.0, 10.0);
  const KzGeometry& built = KzGeometry::GetInstance(low);
  EXPECT_EQ(built.GetTelescopeId(), 99u);
  ExpectMatchesAxis(built, 0.01, 0.0);
  EXPECT_EQ(&KzGeometry::GetInstance(high), &built);  // both hash to 10000
  EXPECT_EQ(high.fHashValue, 10000u);
  KzGeometry::CameraPointing_t zenith(0.01, 90.0);  // elevations count modulo 90
  EXPECT_EQ(&KzGeometry::GetInstance(zenith), &built);
  KzGeometry::CameraPointing_t again(0.01, 0.0);
  EXPECT_EQ(&KzGeometry::GetInstance(again), &built);
  EXPECT_EQ(GeometryProbe::fgGeometryMap.size(), 29u);
}

TEST_F(KzGeometryInstance, BadAxesAreRefusedBeforeBuildingAndFarOffOnesWrap) {
  KzGeometry::CameraPointing_t below(10.0, -1.0);
  EXPECT_EQ(ThrownText<std::logic_error>([&] { KzGeometry::GetInstance(below); }),
            "Negative elevation angle is not supportet!");
  KzGeometry::CameraPointing_t notANumber(NAN, 16.0), endless(-INFINITY, 16.0);
  EXPECT_EQ(ThrownText<std::invalid_argument>([&] { KzGeometry::GetInstance(notANumber); }),
            "Axis angle is not a finite number!");
  EXPECT_EQ(ThrownText<std::invalid_argument>([&] { KzGeometry::GetInstance(endless); }),
            "Axis angle is not a finite number!");
  EXPECT_EQ(GeometryProbe::fgGeometryMap.size(), 28u);
  KzGeometry::CameraPointing_t twoTurnsBack(44.945 - 720.0, 15.96), huge(1e300, 16.0);
  EXPECT_EQ(&KzGeometry::GetInstance(twoTurnsBack), &KzGeometry::GetInstance(3));
  EXPECT_LT(huge.CalculateHash(), 360u * 100 * 10000);  // and it returns at all
}

TEST_F(KzGeometryAxis, AChangeRebuildsTheTelescope) {
  KzGeometry::GetInstance(5);
  ClearLog();
  GeometryProbe::SetTelescopeAxis(5, 100.0, 17.0, false);
  EXPECT_EQ(Log(),
            "KzGeometry::SetTelescopeAxis(5) - replaced axis (az,el) = (104.935,15.96) by "
            "(100,17) !\n");
  const KzGeometry& rebuilt = KzGeometry::GetInstance(5);
  EXPECT_EQ(rebuilt.GetAxis().fAzimuth, 100.0);
  ExpectMatchesAxis(rebuilt, 100.0, 17.0);
  EXPECT_EQ(GeometryProbe::fgGeometryMap.size(), 28u);
  KzGeometry::CameraPointing_t old(104.935, 15.96);
  EXPECT_EQ(KzGeometry::GetInstance(old).GetTelescopeId(), 99u);  // the old key was released
}

TEST_F(KzGeometryAxis, ASmallChangeOnlySetsTheMode) {
  const KzGeometry* before = &KzGeometry::GetInstance(5);
  ClearLog();
  GeometryProbe::SetTelescopeAxis(5, 104.9355, 15.9605, true);
  EXPECT_EQ(Log(), "");
  EXPECT_EQ(&KzGeometry::GetInstance(5), before);
  EXPECT_EQ(KzGeometry::GetTelescopeAzimuth(5), 104.935);
  // Auto mode without a reader falls back to the built-in axis, with a warning.
  KzGeometry::SetTelescopeAxis(5);
  EXPECT_EQ(Log(),
            "KzGeometry::SetTelescopeAxis() - No function for reading axis pointing of "
            "telescope 5 was provided, using fallback constants instead!\n");
}

unsigned int gReaderCalls = 0;
double gReaderAzimuth = 0, gReaderElevation = 0;

int ReadEightyTwenty(unsigned int id, double& azimuth, double& elevation) {
  ++gReaderCalls;
  gReaderAzimuth = azimuth;
  gReaderElevation = elevation;
  if (id != 7) return -1;
  azimuth = 80.0;
  elevation = 20.0;
  return 0;
}

TEST_F(KzGeometryAxis, AutoModeTakesTheReadersAxis) {
  KzGeometry::SetGetAxisFunction(7, ReadEightyTwenty);
  KzGeometry::SetGetAxisFunction(8, ReadEightyTwenty);
  GeometryProbe::SetTelescopeAxis(7, 70.0, 16.0, true);
  EXPECT_NE(Log().find("KzGeometry::SetTelescopeAxis(7) - mode is set to 'auto' !\n"),
            std::string::npos);
  EXPECT_EQ(gReaderCalls, 0u);  // registering and setting do not read
  KzGeometry::SetTelescopeAxis(7);
  EXPECT_EQ(gReaderCalls, 1u);
  EXPECT_EQ(gReaderAzimuth, 74.932);  // offered the built-in axis first
  EXPECT_EQ(gReaderElevation, 15.97);
  EXPECT_EQ(KzGeometry::GetTelescopeAzimuth(7), 80.0);
  ExpectMatchesAxis(KzGeometry::GetInstance(7), 80.0, 20.0);
  // A telescope in manual mode returns to its built-in axis; its reader is not asked.
  GeometryProbe::SetTelescopeAxis(8, 90.0, 16.0, false);
  KzGeometry::SetTelescopeAxis(8);
  EXPECT_EQ(gReaderCalls, 1u);
  EXPECT_EQ(KzGeometry::GetTelescopeAzimuth(8), 104.792);
  ClearLog();
  KzGeometry::SetGetAxisFunction(7, nullptr);
  EXPECT_EQ(Log(), "KzGeometry::SetGetAxisFunction(abs_tel_id= 7 function pointer deleted!\n");
}

TEST_F(KzGeometryAxis, SettersRefuseTheReferenceTelescope) {
  const std::string illegal = "Illegal absolute telescope id!";
  EXPECT_EQ(
      ThrownText<std::logic_error>([] { GeometryProbe::SetTelescopeAxis(0, 1.0, 16.0, false); }),
      illegal);
  EXPECT_EQ(ThrownText<std::logic_error>([] { KzGeometry::SetTelescopeAxis(0); }), illegal);
  EXPECT_EQ(ThrownText<std::logic_error>([] { KzGeometry::SetTelescopeAxis(28); }), illegal);
  EXPECT_EQ(
      ThrownText<std::logic_error>([] { KzGeometry::SetGetAxisFunction(0, ReadEightyTwenty); }),
      illegal);
  EXPECT_EQ(Count(Log(), "KzGeometry::SetTelescopeAxis(abs_tel_id= 0) - wrong telescope id!\n"),
            2u);
  EXPECT_EQ(Count(Log(), "KzGeometry::SetTelescopeAxis(abs_tel_id= 28) - wrong telescope id!\n"),
            1u);
  EXPECT_NE(Log().find("KzGeometry::SetGetAxisFunction(abs_tel_id= 0) - wrong telescope id!\n"),
            std::string::npos);
}

TEST_F(KzGeometryAxis, ANegativeElevationReachesTheCallerAfterTheOldInstanceIsGone) {
  KzGeometry::GetInstance(6);
  EXPECT_EQ(
      ThrownText<std::logic_error>([] { GeometryProbe::SetTelescopeAxis(6, 130.0, -1.0, false); }),
      "Negative elevation angle is not supportet!");
  EXPECT_EQ(GeometryProbe::fgGeometryMap.size(), 27u);
  EXPECT_EQ(ThrownText<std::logic_error>([] { KzGeometry::GetInstance(6); }),
            "Negative elevation angle is not supportet!");
  KzGeometry::SetTelescopeAxis(6);  // back to the built-in axis
  ExpectMatchesAxis(KzGeometry::GetInstance(6), 134.905, 15.85);
}

TEST_F(KzGeometryAxis, TwoTelescopesOnOneAxisShareOneMapEntry) {
  KzGeometry::GetInstance(3);
  GeometryProbe::SetTelescopeAxis(4, 44.945, 15.96, false);
  EXPECT_NE(Log().find("KzGeometry::KzGeometry(unsigned int) - (az,el) = (44.945,15.96) is "
                       "already in map!\n"),
            std::string::npos);
  EXPECT_EQ(GeometryProbe::fgGeometryMap.size(), 27u);
  ExpectMatchesAxis(KzGeometry::GetInstance(4), 44.945, 15.96);  // complete, only not mapped
  // Replacing telescope 4 again releases the shared key, although telescope 3 owns it.
  GeometryProbe::SetTelescopeAxis(4, 74.965, 16.14, false);
  KzGeometry::CameraPointing_t axis3(44.945, 15.96);
  EXPECT_EQ(KzGeometry::GetInstance(axis3).GetTelescopeId(), 99u);
}

TEST_F(KzGeometryPixel, LookupsCheckEyeMirrorColumnRowInOrder) {
  KzGeometry::GetInstance(0);
  ClearLog();
  auto text = [](unsigned int e, unsigned int m, unsigned int c, unsigned int r) {
    return ThrownText<std::range_error>([&] { KzGeometry::GetPixelAzimuth(e, m, c, r); });
  };
  EXPECT_EQ(text(0, 1, 1, 1), "Eye number invalid");
  EXPECT_EQ(text(6, 0, 0, 0), "Eye number invalid");
  EXPECT_EQ(text(1, 0, 0, 0), "Mirror number invalid");
  EXPECT_EQ(text(1, 7, 1, 1), "Mirror number invalid");
  EXPECT_EQ(text(1, 1, 0, 0), "pixel column number invalid");
  EXPECT_EQ(text(1, 1, 21, 1), "pixel column number invalid");
  EXPECT_EQ(text(1, 1, 1, 23), "pixel row number invalid");
  EXPECT_EQ(Log(), "");
  EXPECT_EQ(text(5, 4, 1, 1), "KZ telescope number, range exceeded");
}

TEST_F(KzGeometryPixel, LookupsServeTheTelescopesTables) {
  for (unsigned int eye = 1; eye <= 5; ++eye)
    for (unsigned int mirror = 1; mirror <= (eye == 5 ? 3u : 6u); ++mirror) {
      const KzGeometry& g = KzGeometry::GetInstance(eye, mirror);
      Kz::PixelNumberRec pixel{};
      Kz::SetEyeNo(&pixel, eye);
      Kz::SetMirrorNo(&pixel, mirror);
      Kz::SetPixelNoFromColumnRow(&pixel, 7, 13);
      EXPECT_EQ(KzGeometry::GetPixelAzimuth(eye, mirror, 7, 13), g.GetPixelAzimuth(7, 13));
      EXPECT_EQ(KzGeometry::GetPixelElevation(&pixel), g.GetPixelElevation(7, 13));
      double azimuth, elevation;
      KzGeometry::GetPixelPointing(&pixel, azimuth, elevation);
      EXPECT_EQ(azimuth, g.GetPixelAzimuth(7, 13));
      EXPECT_EQ(elevation, g.GetPixelElevation(7, 13));
      KzGeometry::GetPixelPointing(eye, mirror, 20, 22, azimuth, elevation);
      EXPECT_EQ(elevation, g.GetPixelElevation(20, 22));
    }
}

TEST_F(KzGeometryPixel, PackedNumbersOutsideTheCameraAreRefused) {
  KzGeometry::GetInstance(2, 4);
  Kz::PixelNumberRec pixel{};
  Kz::SetEyeNo(&pixel, 2);
  Kz::SetMirrorNo(&pixel, 4);
  Kz::SetPixelNo(&pixel, 441);  // a virtual channel, row 23
  EXPECT_EQ(ThrownText<std::range_error>([&] { KzGeometry::GetPixelAzimuth(&pixel); }),
            "pixel row number invalid");
  Kz::SetPixelNo(&pixel, 0);
  EXPECT_EQ(ThrownText<std::range_error>([&] { KzGeometry::GetPixelElevation(&pixel); }),
            "pixel column number invalid");
  Kz::SetPixelNo(&pixel, 440);
  Kz::SetEyeNo(&pixel, 0);
  EXPECT_EQ(ThrownText<std::range_error>([&] { KzGeometry::GetPixelAzimuth(&pixel); }),
            "Eye number invalid");
}

TEST(KzGeometryExit, TheMapIsEmptiedAtExit) {
  const KzTest::ChildResult child = KzTest::RunInChild([] {
    ErrorLogger::GetInstance().SetLoggingLevel(ErrorLogger::eDebug, true);
    KzGeometry::CameraPointing_t axis(200.0, 30.0);
    KzGeometry::GetInstance(axis);
    KzGeometry::SetPrintLevel(2);
  });
  EXPECT_EQ(child.fExitCode, 0) << child.fStderr;
  EXPECT_NE(child.fStderr.find("KzGeometry::ExitHandler() - map size= 29\n"), std::string::npos)
      << child.fStderr;
  EXPECT_EQ(Count(child.fStderr, "KzGeometry::~KzGeometry() - erasing (ax,el) = ("), 29u);
  EXPECT_NE(child.fStderr.find("KzGeometry::~KzGeometry() - erasing (ax,el) = (200,30) from map!"),
            std::string::npos);
  EXPECT_EQ(Count(child.fStderr, "not found in map"), 0u);
}

TEST(KzGeometryExit, OfTwoTelescopesOnOneAxisOnlyTheMappedOneIsDeleted) {
  const KzTest::ChildResult child = KzTest::RunInChild([] {
    ErrorLogger::GetInstance().SetLoggingLevel(ErrorLogger::eDebug, true);
    GeometryProbe::SetTelescopeAxis(4, 44.945, 15.96, false);
    KzGeometry::SetPrintLevel(2);
  });
  EXPECT_EQ(child.fExitCode, 0) << child.fStderr;
  EXPECT_NE(child.fStderr.find("KzGeometry::ExitHandler() - map size= 27\n"), std::string::npos)
      << child.fStderr;
  EXPECT_EQ(Count(child.fStderr, "KzGeometry::~KzGeometry() - fTelescopeId= 3\n"), 1u);
  EXPECT_EQ(Count(child.fStderr, "KzGeometry::~KzGeometry() - fTelescopeId= 4\n"), 0u);
  EXPECT_EQ(Count(child.fStderr, "erasing (ax,el)"), 27u);
}
