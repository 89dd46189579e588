#include "KzGeometry.h"

#include <cmath>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ErrorLogger.h"
#include "KzTestSupport.h"

using namespace KzUtil;
using KzTest::Thrown;

namespace {

// Opens the protected interface; the constructor skips the checks of GetInstance.
class GeometryProbe : public KzGeometry {
 public:
  explicit GeometryProbe(unsigned int id) : KzGeometry(id) {}
  using KzGeometry::fgGeometryMap;
  using KzGeometry::InitializeClass;
  using KzGeometry::SetTelescopeAxis;
};

// Every pixel against the direction computed as a rotated unit vector, with atan2
// where the library uses asin.
void ExpectMatchesAxis(const KzGeometry& g, double axisAzimuth, double axisElevation) {
  const double rad = M_PI / 180;
  for (int column = 1; column <= 20; ++column)
    for (int row = 1; row <= 22; ++row) {
      const double h = (1.5 * (10 - column) + (row % 2 == 0 ? 0.75 : 0.0)) * rad;
      const double v = ((row - 11.5) * 0.75 * std::sqrt(3.0) - 0.2165 + axisElevation) * rad;
      const double x = std::cos(h) * std::cos(v), y = std::sin(h), z = std::cos(h) * std::sin(v);
      EXPECT_NEAR(g.GetPixelAzimuth(column, row), axisAzimuth + std::atan2(y, x) / rad, 1e-4)
          << column << "," << row;
      EXPECT_NEAR(g.GetPixelElevation(column, row), std::atan2(z, std::hypot(x, y)) / rad, 1e-4)
          << column << "," << row;
    }
}

size_t Count(const std::string& text, const std::string& part) {
  size_t n = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
  return n;
}

Kz::PixelNumberRec Pixel(unsigned int eye, unsigned int mirror, unsigned int number) {
  Kz::PixelNumberRec pixel{};
  Kz::SetEyeNo(&pixel, eye);
  Kz::SetMirrorNo(&pixel, mirror);
  Kz::SetPixelNo(&pixel, number);
  return pixel;
}

// The reader for auto mode: remembers what it was offered, answers (80, 20).
unsigned int gReaderCalls = 0;
double gOfferedAzimuth = 0, gOfferedElevation = 0;

int ReadEightyTwenty(unsigned int, double& azimuth, double& elevation) {
  ++gReaderCalls;
  gOfferedAzimuth = azimuth;
  gOfferedElevation = elevation;
  azimuth = 80.0;
  elevation = 20.0;
  return 0;
}

using KzGeometryTables = KzTest::LoggedTest;
using KzGeometryInstance = KzTest::LoggedTest;
using KzGeometryAxis = KzTest::LoggedTest;

}  // namespace

TEST_F(KzGeometryTables, ReferenceTableIsTheComputationRoundedToHundredths) {
  // Only these four lie at a rounding boundary and hold the value below the half-way point.
  const std::map<std::pair<unsigned int, unsigned int>, std::pair<float, float>> kBoundaries = {
      {{3, 15}, {11.18f, 19.97f}},
      {{10, 18}, {0.82f, 24.22f}},
      {{11, 18}, {-0.82f, 24.22f}},
      {{17, 15}, {-11.18f, 19.97f}}};
  auto hundredths = [](double value) { return double(float(std::round(value * 100) / 100)); };
  const KzGeometry& reference = KzGeometry::GetInstance(0);
  for (unsigned int column = 1; column <= 20; ++column)
    for (unsigned int row = 1; row <= 22; ++row) {
      SCOPED_TRACE(testing::Message() << column << "," << row);
      const double azimuth = reference.GetPixelAzimuth(column, row);
      const double elevation = reference.GetPixelElevation(column, row);
      const double azimuth0 = KzGeometry::GetPixelAzimuth0(column, row);
      const double elevation0 = KzGeometry::GetPixelElevation0(column, row);
      const auto boundary = kBoundaries.find({column, row});
      if (boundary == kBoundaries.end()) {
        EXPECT_EQ(azimuth0, hundredths(azimuth));
        EXPECT_EQ(elevation0, hundredths(elevation));
        continue;
      }
      EXPECT_EQ(azimuth0, double(boundary->second.first));
      EXPECT_EQ(elevation0, double(boundary->second.second));
      EXPECT_TRUE(azimuth0 != hundredths(azimuth) || elevation0 != hundredths(elevation));
      EXPECT_NEAR(elevation0, elevation, 0.00507);
    }
}

TEST_F(KzGeometryTables, PixelsAreTheRotatedVectorOfTheAxisWithoutWrapping) {
  for (unsigned int id = 0; id < 28; ++id) {
    SCOPED_TRACE(id);
    const KzGeometry& g = KzGeometry::GetInstance(id);
    EXPECT_EQ(g.GetTelescopeId(), id);
    ExpectMatchesAxis(g, KzGeometry::GetTelescopeAzimuth(id),
                      KzGeometry::GetTelescopeElevation(id));
  }
  EXPECT_EQ(KzGeometry::GetTelescopeAzimuth(13), -156.865);  // kept negative
  EXPECT_EQ(KzGeometry::GetTelescopeAzimuth(12), 224.912);   // kept above 180
  EXPECT_EQ(KzGeometry::GetTelescopeElevation(26), 45.0);    // LOFT in its default position
  KzGeometry::CameraPointing_t axis(350.0, 16.0);
  const KzGeometry& turned = KzGeometry::GetInstance(axis);
  ExpectMatchesAxis(turned, 350.0, 16.0);
  EXPECT_NEAR(turned.GetPixelAzimuth(1, 22), 366.26, 0.005);
  EXPECT_NEAR(turned.GetPixelAzimuth(20, 21), 333.1, 0.005);
}

TEST_F(KzGeometryTables, PixelLookupsServeTheTelescopesTables) {
  for (unsigned int eye = 1; eye <= 5; ++eye)
    for (unsigned int mirror = 1; mirror <= (eye == 5 ? 3u : 6u); ++mirror) {
      SCOPED_TRACE(testing::Message() << eye << "/" << mirror);
      const KzGeometry& g = KzGeometry::GetInstance(eye, mirror);
      EXPECT_EQ(&g, &KzGeometry::GetInstance((eye - 1) * 6 + mirror));
      const double azimuth = g.GetPixelAzimuth(7, 13), elevation = g.GetPixelElevation(7, 13);
      const Kz::PixelNumberRec pixel = Pixel(eye, mirror, 6 * 22 + 13);  // column 7, row 13
      double pointing[4];
      KzGeometry::GetPixelPointing(&pixel, pointing[0], pointing[1]);
      KzGeometry::GetPixelPointing(eye, mirror, 7, 13, pointing[2], pointing[3]);
      EXPECT_EQ(std::vector<double>(pointing, pointing + 4),
                std::vector<double>({azimuth, elevation, azimuth, elevation}));
    }
}

TEST_F(KzGeometryInstance, BadArgumentsAreRefusedInCheckOrderWithTheirTexts) {
  const KzGeometry& g = KzGeometry::GetInstance(4);
  const Kz::PixelNumberRec virtualChannel = Pixel(2, 4, 441), zero = Pixel(2, 4, 0),
                           noEye = Pixel(0, 4, 440);
  KzGeometry::CameraPointing_t below(10.0, -1.0), notANumber(NAN, 16.0), endless(-INFINITY, 16.0);
  double azimuth, elevation;
  const std::string column = "range_error: pixel column number invalid",
                    row = "range_error: pixel row number invalid",
                    eye = "range_error: Eye number invalid",
                    mirror = "range_error: Mirror number invalid",
                    exceeded = "range_error: KZ telescope number, range exceeded",
                    illegal = "logic_error: Illegal absolute telescope id!",
                    infinite = "invalid_argument: Axis angle is not a finite number!";
  const std::pair<std::function<void()>, std::string> rows[] = {
      // The pixel lookups check eye, mirror, column and row in this order and log nothing.
      {[] { KzGeometry::GetPixelElevation0(21, 23); }, column},
      {[] { KzGeometry::GetPixelAzimuth0(20, 0); }, row},
      {[&] { g.GetPixelAzimuth(0, 23); }, column},
      {[&] { g.GetPixelElevation(1, 23); }, row},
      {[] { KzGeometry::GetPixelAzimuth(6, 0, 0, 0); }, eye},
      {[] { KzGeometry::GetPixelElevation(1, 7, 0, 0); }, mirror},
      {[] { KzGeometry::GetPixelAzimuth(1, 1, 21, 0); }, column},
      {[] { KzGeometry::GetPixelElevation(1, 1, 1, 23); }, row},
      {[&] { KzGeometry::GetPixelAzimuth(&virtualChannel); }, row},
      {[&] { KzGeometry::GetPixelElevation(&zero); }, column},
      {[&] { KzGeometry::GetPixelAzimuth(&noEye); }, eye},
      // Axes that cannot be keyed are refused before anything is built.
      {[&] { KzGeometry::GetInstance(below); },
       "logic_error: Negative elevation angle is not supportet!"},
      {[&] { KzGeometry::GetInstance(notANumber); }, infinite},
      {[&] { KzGeometry::GetInstance(endless); }, infinite},
      // Bad ids are logged.
      {[] { KzGeometry::GetPixelAzimuth(5, 4, 1, 1); }, exceeded},
      {[] { KzGeometry::GetInstance(28); }, exceeded},
      {[] { KzGeometry::GetInstance(6, 7); }, "range_error: Eye number exceeds valid range"},
      {[] { KzGeometry::GetInstance(1, 0); }, "range_error: Mirror number exceeds valid range"},
      {[] { KzGeometry::GetInstance(5, 4); }, exceeded},
      {[] { GeometryProbe unchecked(28); }, illegal},
      {[&] { KzGeometry::GetTelescopeAxis(28, azimuth, elevation); }, illegal},
      // The setters refuse the reference telescope that the readers accept.
      {[] { GeometryProbe::SetTelescopeAxis(0, 1.0, 16.0, false); }, illegal},
      {[] { KzGeometry::SetTelescopeAxis(28); }, illegal},
      {[] { KzGeometry::SetGetAxisFunction(0, ReadEightyTwenty); }, illegal},
  };
  TakeLog();
  for (size_t n = 0; n < std::size(rows); ++n)
    EXPECT_EQ(Thrown(rows[n].first), rows[n].second) << "row " << n;
  EXPECT_EQ(TakeLog(),
            "KzGeometry::GetInstance(28) - telescope number range exceeded!\n"
            "KzGeometry::GetInstance(28) - telescope number range exceeded!\n"
            "KzGeometry::GetInstance(6,7) - eye number outside valid range!\n"
            "KzGeometry::GetInstance(1,0) - mirror number outside valid range!\n"
            "KzGeometry::GetInstance(28) - telescope number range exceeded!\n"
            "KzGeometry::KzGeometry(abs_tel_id= 28) - wrong telescope id!\n"
            "KzGeometry::GetTelescopeAxis(abs_tel_id= 28) - wrong telescope id!\n"
            "KzGeometry::SetTelescopeAxis(abs_tel_id= 0) - wrong telescope id!\n"
            "KzGeometry::SetTelescopeAxis(abs_tel_id= 28) - wrong telescope id!\n"
            "KzGeometry::SetGetAxisFunction(abs_tel_id= 0) - wrong telescope id!\n");
  EXPECT_EQ(GeometryProbe::fgGeometryMap.size(), 28u);
  EXPECT_EQ(gReaderCalls, 0u);
}

TEST_F(KzGeometryInstance, AxesShareAnInstanceExactlyWhenTheirKeysAgree) {
  // Azimuths count modulo 360 to the hundredth, elevations modulo 90 to the thousandth,
  // and the two parts of the key overlap on purpose: (0.01, 0) and (0, 10) are one key.
  const double kSameKey[][4] = {{44.945, 15.96, 44.945 - 720.0, 15.96},
                                {-14.865, 16.04, 345.135, 16.04},
                                {0.01, 0.0, 0.0, 10.0},
                                {0.01, 0.0, 0.01, 90.0}};
  for (const auto& axes : kSameKey) {
    KzGeometry::CameraPointing_t first(axes[0], axes[1]), second(axes[2], axes[3]);
    const KzGeometry* shared = &KzGeometry::GetInstance(first);
    EXPECT_EQ(&KzGeometry::GetInstance(second), shared) << axes[0] << "," << axes[1];
  }
  // An axis of a telescope gets that telescope's instance, and the caller's record its key.
  KzGeometry::CameraPointing_t wrapped(345.135, 16.04), high(0.0, 10.0);
  EXPECT_EQ(&KzGeometry::GetInstance(wrapped), &KzGeometry::GetInstance(1));
  EXPECT_EQ(wrapped.fHashValue, KzGeometry::GetInstance(1).GetAxis().fHashValue);
  const KzGeometry& built = KzGeometry::GetInstance(high);
  EXPECT_EQ(high.fHashValue, 10000u);
  EXPECT_EQ(built.GetTelescopeId(), 99u);
  ExpectMatchesAxis(built, 0.01, 0.0);                  // built for the first of the shared axes
  EXPECT_EQ(GeometryProbe::fgGeometryMap.size(), 29u);  // one new instance in all
  EXPECT_EQ(TakeLog().find("already in map"), std::string::npos);
  KzGeometry::CameraPointing_t huge(1e300, 16.0);
  EXPECT_LT(huge.CalculateHash(), 360u * 100 * 10000);  // and it returns at all
}

TEST_F(KzGeometryAxis, OnlyAChangeAboveAThousandthRebuildsTheTelescope) {
  const KzGeometry* before = &KzGeometry::GetInstance(5);
  TakeLog();
  GeometryProbe::SetTelescopeAxis(5, 104.9355, 15.9605, false);
  EXPECT_EQ(TakeLog(), "");
  EXPECT_EQ(&KzGeometry::GetInstance(5), before);
  EXPECT_EQ(KzGeometry::GetTelescopeAzimuth(5), 104.935);
  GeometryProbe::SetTelescopeAxis(5, 100.0, 17.0, false);
  EXPECT_EQ(TakeLog(),
            "KzGeometry::SetTelescopeAxis(5) - replaced axis (az,el) = (104.935,15.96) by "
            "(100,17) !\n");
  ExpectMatchesAxis(KzGeometry::GetInstance(5), 100.0, 17.0);
  EXPECT_EQ(GeometryProbe::fgGeometryMap.size(), 28u);
  KzGeometry::CameraPointing_t old(104.935, 15.96);
  EXPECT_EQ(KzGeometry::GetInstance(old).GetTelescopeId(), 99u);  // the old key was released
}

TEST_F(KzGeometryAxis, ANegativeElevationReachesTheCallerAfterTheOldInstanceIsGone) {
  KzGeometry::GetInstance(6);
  const std::string negative = "logic_error: Negative elevation angle is not supportet!";
  EXPECT_EQ(Thrown([] { GeometryProbe::SetTelescopeAxis(6, 130.0, -1.0, false); }), negative);
  EXPECT_EQ(GeometryProbe::fgGeometryMap.size(), 27u);
  EXPECT_EQ(Thrown([] { KzGeometry::GetInstance(6); }), negative);
  KzGeometry::SetTelescopeAxis(6);  // back to the built-in axis
  ExpectMatchesAxis(KzGeometry::GetInstance(6), 134.905, 15.85);
}

TEST_F(KzGeometryAxis, AutoModeTakesTheReadersAxisOrWarns) {
  KzGeometry::SetGetAxisFunction(7, ReadEightyTwenty);
  KzGeometry::SetGetAxisFunction(8, ReadEightyTwenty);
  GeometryProbe::SetTelescopeAxis(7, 70.0, 16.0, true);
  EXPECT_EQ(gReaderCalls, 0u);  // registering and setting do not read
  KzGeometry::SetTelescopeAxis(7);
  EXPECT_EQ(gReaderCalls, 1u);
  EXPECT_EQ(gOfferedAzimuth, 74.932);  // offered the built-in axis first
  EXPECT_EQ(gOfferedElevation, 15.97);
  ExpectMatchesAxis(KzGeometry::GetInstance(7), 80.0, 20.0);
  // A telescope in manual mode returns to its built-in axis; its reader is not asked.
  GeometryProbe::SetTelescopeAxis(8, 90.0, 16.0, false);
  KzGeometry::SetTelescopeAxis(8);
  EXPECT_EQ(gReaderCalls, 1u);
  EXPECT_EQ(KzGeometry::GetTelescopeAzimuth(8), 104.792);
  TakeLog();
  KzGeometry::SetGetAxisFunction(7, nullptr);
  KzGeometry::SetTelescopeAxis(7);  // still in auto mode: falls back to the built-in axis
  EXPECT_EQ(TakeLog().find("KzGeometry::SetGetAxisFunction(abs_tel_id= 7 function pointer "
                           "deleted!\nKzGeometry::SetTelescopeAxis() - No function for reading "
                           "axis pointing of telescope 7 was provided, using fallback constants "
                           "instead!\n"),
            0u);
  EXPECT_EQ(KzGeometry::GetTelescopeAzimuth(7), 74.932);
}

TEST_F(KzGeometryAxis, ReplacingTheSecondOfTwoTelescopesOnOneAxisReleasesTheSharedKey) {
  KzGeometry::GetInstance(3);
  GeometryProbe::SetTelescopeAxis(4, 44.945, 15.96, false);
  GeometryProbe::SetTelescopeAxis(4, 74.965, 16.14, false);
  KzGeometry::CameraPointing_t axis3(44.945, 15.96);
  EXPECT_EQ(KzGeometry::GetInstance(axis3).GetTelescopeId(), 99u);  // although 3 owns it
}

// Telescope 4 moved onto the axis of telescope 3 is complete but not in the map: at
// exit (print level 2, where set-up and every request are logged) it is not deleted.
TEST(KzGeometryExit, TheMapIsEmptiedAtExitAndOnlyMappedInstancesAreDeleted) {
  const KzTest::ChildResult child = KzTest::RunInChild([] {
    ErrorLogger::GetInstance().SetLoggingLevel(ErrorLogger::eDebug, true);
    KzGeometry::SetPrintLevel(2);
    KzGeometry::CameraPointing_t axis(200.0, 30.0);
    KzGeometry::GetInstance(axis);
    GeometryProbe::InitializeClass();  // once only
    GeometryProbe::SetTelescopeAxis(4, 44.945, 15.96, false);
    EXPECT_EQ(GeometryProbe::fgGeometryMap.size(), 28u);
    ExpectMatchesAxis(KzGeometry::GetInstance(4), 44.945, 15.96);
  });
  EXPECT_EQ(child.fExitCode, 0) << child.fStdout;
  const std::string& log = child.fStderr;
  EXPECT_EQ(log.find("KzGeometry::InitializeClass() - fgClassInitialized= 0\n"
                     "KzGeometry::InitializeClass() - initializing ...\n"
                     "KzGeometry::InitializeClass() - 'atexit' handler successfully installed !\n"
                     "KzGeometry::InitializeTables() -\n"
                     "KzGeometry::InitializeTables() - dump for LOFT\n"
                     "LOFT configuration 1:\n"
                     "LOFT[1] (az,el) = (-42.06,16)\n"),
            0u)
      << log;
  EXPECT_EQ(Count(log, "initializing"), 1u);
  EXPECT_NE(log.find("KzGeometry::InitializeClass() - fgClassInitialized= 1\n"), std::string::npos);
  EXPECT_EQ(Count(log, "KzGeometry::KzGeometry() - fTelescopeId= "), 29u);  // 4 built twice
  EXPECT_NE(log.find("KzGeometry::KzGeometry(unsigned int) - (az,el) = (44.945,15.96) is "
                     "already in map!\n"),
            std::string::npos);
  const size_t exit = log.find("KzGeometry::ExitHandler() - map size= 28\n");
  ASSERT_NE(exit, std::string::npos) << log;
  const std::string atExit = log.substr(exit);
  EXPECT_EQ(Count(atExit, "KzGeometry::~KzGeometry() - erasing (ax,el) = ("), 28u);
  EXPECT_NE(atExit.find("KzGeometry::~KzGeometry() - erasing (ax,el) = (200,30) from map!"),
            std::string::npos);
  EXPECT_EQ(Count(atExit, "KzGeometry::~KzGeometry() - fTelescopeId= 3\n"), 1u);
  EXPECT_EQ(Count(atExit, "KzGeometry::~KzGeometry() - fTelescopeId= 4\n"), 0u);
  EXPECT_EQ(Count(log, "not found in map"), 0u);
}
