#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "ErrorLogger.h"
#include "InifileChain.h"
#include "KzGeometry.h"
#include "KzTestSupport.h"

using namespace KzUtil;

namespace {

// Opens the protected interface for the tests.
class PointingProbe : public KzGeometry {
 public:
  using KzGeometry::fgCameraGeometry;
  using KzGeometry::fgLoftCameraPointing;
  using KzGeometry::ReadCameraPointing4LOFT;
  using KzGeometry::SetTelescopeAxis;
};

bool IsAuto(unsigned int id) { return PointingProbe::fgCameraGeometry[id].fAutomatic; }

KzGeometry::CameraPointing_t Axis(unsigned int id) {
  KzGeometry::CameraPointing_t axis;
  KzGeometry::GetTelescopeAxis(id, axis.fAzimuth, axis.fElevation);
  return axis;
}

KzGeometry::CameraPointing_t LoftAxis(unsigned int loft, ETiltPosition tilt) {
  KzGeometry::CameraPointing_t axis;
  KzGeometry::GetTelescopeAxis4LOFT(loft, axis.fAzimuth, axis.fElevation, tilt);
  return axis;
}

#define EXPECT_AXIS(axis, azimuth, elevation)       \
  do {                                              \
    const KzGeometry::CameraPointing_t a_ = (axis); \
    EXPECT_DOUBLE_EQ(a_.fAzimuth, (azimuth));       \
    EXPECT_DOUBLE_EQ(a_.fElevation, (elevation));   \
  } while (0)

// The reader registered for auto mode: remembers what it was offered, answers (60, 20).
unsigned int gReaderCalls = 0;
double gOfferedAzimuth = 0, gOfferedElevation = 0;

int ReadSixtyTwenty(unsigned int, double& azimuth, double& elevation) {
  ++gReaderCalls;
  gOfferedAzimuth = azimuth;
  gOfferedElevation = elevation;
  azimuth = 60.0;
  elevation = 20.0;
  return 0;
}

// The repository's etc/ directory; ctest passes KZUTIL_SOURCE_DIR.
std::string SourceDir() {
  const char* dir = getenv("KZUTIL_SOURCE_DIR");
  if (dir && *dir) return dir;
  const std::string here = __FILE__;
  return here.substr(0, here.rfind("/tests/"));
}

// Every test starts with the class initialised and an empty log; every level passes.
class KzGeometryPointing : public ::testing::Test {
 protected:
  void SetUp() override {
    ErrorLogger::GetInstance().SetLoggingLevel(ErrorLogger::eDebug, true);
    ErrorLogger::GetInstance().SetStream(&fLog);
    KzGeometry::GetInstance(0);
    fLog.str("");
  }
  // The exit handler may still log after the test: never into this object.
  void TearDown() override {
    ErrorLogger::GetInstance().SetStream(&std::clog);
    KzGeometry::SetPrintLevel(1);
  }
  // Reads the pointing from a site file of this content, through a chain.
  bool Read(const std::string& content) {
    InifileChain chain(fDir.Write("KzSite.ini", content).c_str());
    return KzGeometry::ReadCameraPointing(chain);
  }
  std::string Log() const { return fLog.str(); }

  KzTest::TempDir fDir;
  std::ostringstream fLog;
};

using KzGeometryLoft = KzGeometryPointing;

}  // namespace

TEST_F(KzGeometryPointing, ManualEntryMovesOnlyTheTelescopeThatDiffers) {
  EXPECT_TRUE(
      Read("[Geometry]\n"
           "axis3 = 50.5 17.25\n"
           "axis4 = 74.965 16.14   ; where it is already\n"
           "[Other]\n"
           "axis5 = 1 2\n"));
  EXPECT_EQ(Log(),
            "KzGeometry::SetTelescopeAxis(3) - replaced axis (az,el) = (44.945,15.96) by "
            "(50.5,17.25) !\n");
  EXPECT_AXIS(Axis(3), 50.5, 17.25);
  EXPECT_AXIS(KzGeometry::GetInstance(3).GetAxis(), 50.5, 17.25);
  EXPECT_AXIS(Axis(5), 104.935, 15.96);  // the key of another group is not read
  EXPECT_FALSE(IsAuto(3));
}

TEST_F(KzGeometryPointing, AutoEntryTakesTheReadersAxis) {
  KzGeometry::SetGetAxisFunction(3, ReadSixtyTwenty);
  EXPECT_TRUE(Read("[Geometry]\naxis3 = AUTO 44.9 16.0\n[Other]\n"));
  EXPECT_EQ(gReaderCalls, 1u);
  EXPECT_EQ(gOfferedAzimuth, double(44.9f));  // the configured numbers, single precision
  EXPECT_EQ(gOfferedElevation, 16.0);
  EXPECT_AXIS(Axis(3), 60.0, 20.0);
  EXPECT_TRUE(IsAuto(3));
  EXPECT_EQ(Log(),
            "KzGeometry::SetTelescopeAxis(3) - replaced axis (az,el) = (44.945,15.96) by (60,20) "
            "!\n"
            "KzGeometry::SetTelescopeAxis(3) - mode is set to 'auto' !\n");
}

TEST_F(KzGeometryPointing, AutoEntryWithoutReaderUsesItsNumbersAndWarns) {
  EXPECT_TRUE(
      Read("[Geometry]\n"
           "axis3 = Auto 44.9 16.0\n"
           "axis5 = aUtO 104.935 15.96\n"
           "axis6 = automatic 1 2\n"
           "[Other]\n"));
  EXPECT_EQ(Log(),
            "KzGeometry::ReadCameraPointing() - No function for reading axis pointing of "
            "telescope 3 was provided, using fallback constants instead!\n"
            "KzGeometry::SetTelescopeAxis(3) - replaced axis (az,el) = (44.945,15.96) by "
            "(44.9,16) !\n"
            "KzGeometry::SetTelescopeAxis(3) - mode is set to 'auto' !\n"
            "KzGeometry::ReadCameraPointing() - No function for reading axis pointing of "
            "telescope 5 was provided, using fallback constants instead!\n"
            "KzGeometry::SetTelescopeAxis(6) - replaced axis (az,el) = (134.905,15.85) by "
            "(134.905,1) !\n");
  EXPECT_AXIS(Axis(3), double(44.9f), 16.0);
  EXPECT_TRUE(IsAuto(3));
  EXPECT_TRUE(IsAuto(5));   // unchanged axis, but the mode is set
  EXPECT_FALSE(IsAuto(6));  // only the word itself means auto; its azimuth is unreadable
}

TEST_F(KzGeometryPointing, AbsentKeySwitchesToManualWithoutMovingTheAxis) {
  EXPECT_TRUE(Read("[Geometry]\naxis7 = auto 80 20\n[Other]\n"));
  ASSERT_TRUE(IsAuto(7));
  fLog.str("");
  // The group is the file's last: the search for axis7 runs into the end of the file.
  EXPECT_TRUE(Read("[Other]\naxis7 = 1 2\n[Geometry]\naxis6 = 134.905 15.85\naxis8 = 100 17\n"));
  EXPECT_FALSE(IsAuto(7));
  EXPECT_AXIS(Axis(7), 80.0, 20.0);
  EXPECT_AXIS(Axis(8), 100.0, 17.0);  // keys after the missing one are still found
  EXPECT_EQ(Log(),
            "KzGeometry::SetTelescopeAxis(8) - replaced axis (az,el) = (104.792,15.81) by "
            "(100,17) !\n");
}

TEST_F(KzGeometryPointing, UnreadableOrMissingNumbersKeepTheirCurrentValues) {
  EXPECT_TRUE(
      Read("[Geometry]\n"
           "axis9 = north 17.5\n"
           "axis10 = 170\n"
           "axis11 =\n"
           "axis12 = 224.912 15.89 extra words\n"
           "[X]\n"));
  EXPECT_AXIS(Axis(9), 134.782, 17.5);
  EXPECT_AXIS(Axis(10), 170.0, 15.75);
  EXPECT_AXIS(Axis(11), 195.012, 15.84);
  EXPECT_AXIS(Axis(12), 224.912, 15.89);
  // Nothing else moves: the keys after the group's last line are missing, and their
  // elevation is not taken from the values left over on that line.
  EXPECT_EQ(Log(),
            "KzGeometry::SetTelescopeAxis(9) - replaced axis (az,el) = (134.782,15.82) by "
            "(134.782,17.5) !\n"
            "KzGeometry::SetTelescopeAxis(10) - replaced axis (az,el) = (164.982,15.75) by "
            "(170,15.75) !\n");
}

TEST_F(KzGeometryPointing, MissingGroupChangesNothing) {
  PointingProbe::SetTelescopeAxis(3, 44.945, 15.96, true);
  const std::string path =
      fDir.Write("KzSite.ini", "[Other]\naxis3 = 50 17\nloft1 = 1 2 3 4 5 6\n");
  InifileChain chain(path.c_str());
  EXPECT_FALSE(KzGeometry::ReadCameraPointing(chain));
  EXPECT_FALSE(PointingProbe::ReadCameraPointing4LOFT(chain));
  EXPECT_EQ(Log(),
            "KzGeometry::ReadCameraPointing() - Section [Geometry] not found !!!\n"
            "KzGeometry::ReadCameraPointing4LOFT() - Section [Geometry] not found !!!\n");
  EXPECT_AXIS(Axis(3), 44.945, 15.96);
  EXPECT_TRUE(IsAuto(3));
  EXPECT_AXIS(LoftAxis(1, kPositionDown), -42.06, 16.0);
}

TEST_F(KzGeometryPointing, ShippedSiteFileCarriesTheBuiltInAxes) {
  KzGeometry::CameraPointing_t builtIn[28];
  for (unsigned int id = 1; id < 28; ++id) {
    builtIn[id] = Axis(id);
    PointingProbe::SetTelescopeAxis(id, 1.0, 1.0, true);
  }
  KzGeometry::CameraPointing_t loft[3][3];
  for (unsigned int t = 0; t < 3; ++t)
    for (unsigned int slot = 0; slot < 3; ++slot) {
      loft[t][slot] = PointingProbe::fgLoftCameraPointing[t][slot];
      PointingProbe::fgLoftCameraPointing[t][slot] = KzGeometry::CameraPointing_t(2.0, 2.0);
    }
  fLog.str("");
  InifileChain chain((SourceDir() + "/etc/KzSite.ini").c_str());
  ASSERT_TRUE(KzGeometry::ReadCameraPointing(chain)) << Log();
  for (unsigned int id = 1; id < 28; ++id) {
    SCOPED_TRACE(id);
    EXPECT_NEAR(Axis(id).fAzimuth, builtIn[id].fAzimuth, 1e-5);
    EXPECT_NEAR(Axis(id).fElevation, builtIn[id].fElevation, 1e-5);
    EXPECT_FALSE(IsAuto(id));
  }
  for (unsigned int t = 0; t < 3; ++t)
    for (unsigned int slot = 0; slot < 3; ++slot) {
      SCOPED_TRACE(t * 3 + slot);
      EXPECT_NEAR(PointingProbe::fgLoftCameraPointing[t][slot].fAzimuth, loft[t][slot].fAzimuth,
                  1e-5);
      EXPECT_NEAR(PointingProbe::fgLoftCameraPointing[t][slot].fElevation, loft[t][slot].fElevation,
                  1e-5);
    }
  EXPECT_EQ(Log().find("No function"), std::string::npos);
}

TEST_F(KzGeometryLoft, TiltPositionsSelectTheSlots) {
  const double azimuths[] = {-42.06, 3.24, 48.08};
  for (unsigned int t = 1; t <= 3; ++t) {
    SCOPED_TRACE(t);
    EXPECT_AXIS(LoftAxis(t, kPositionDown), azimuths[t - 1], 16.0);
    EXPECT_AXIS(LoftAxis(t, kPositionUp), azimuths[t - 1], 45.0);
    EXPECT_AXIS(LoftAxis(t, kPositionDefault), azimuths[t - 1], 45.0);
    EXPECT_AXIS(LoftAxis(t, kPositionUnknown), azimuths[t - 1], 45.0);
    EXPECT_AXIS(LoftAxis(t, static_cast<ETiltPosition>(7)), azimuths[t - 1], 45.0);
  }
  for (unsigned int bad : {0u, 4u}) {
    double azimuth = 0, elevation = 0;
    try {
      KzGeometry::GetTelescopeAxis4LOFT(bad, azimuth, elevation, kPositionUp);
      ADD_FAILURE() << bad << " accepted";
    } catch (const std::logic_error& e) {
      EXPECT_STREQ(e.what(), "Illegal LOFT telescope id!");
    }
  }
  EXPECT_EQ(Log(),
            "KzGeometry::GetTelescopeAxis4LOFT(loft_tel_id= 0) - wrong LOFT telescope id!\n"
            "KzGeometry::GetTelescopeAxis4LOFT(loft_tel_id= 4) - wrong LOFT telescope id!\n");
}

TEST_F(KzGeometryLoft, FourNumbersUpdateDownAndUpButNotTheDefault) {
  EXPECT_TRUE(Read("[Geometry]\nloft2 = 3.5 17 3.5 44\n[Other]\n"));
  EXPECT_AXIS(LoftAxis(2, kPositionDown), 3.5, 17.0);
  EXPECT_AXIS(LoftAxis(2, kPositionUp), 3.5, 44.0);
  EXPECT_AXIS(LoftAxis(2, kPositionDefault), 3.24, 45.0);
  EXPECT_AXIS(Axis(26), 3.24, 45.0);
  EXPECT_EQ(Log(), "");
}

TEST_F(KzGeometryLoft, SixNumbersMoveTheTelescopeAndKeepItsMode) {
  EXPECT_TRUE(
      Read("[Geometry]\n"
           "axis25 = auto -42.06 45\n"
           "loft1 = -40 15 -40 44 -40 30\n"
           "loft2 = north 16 3.24 45 3.24 30\n"
           "loft3 = 50 16 50 45 50 40\n"
           "[Other]\n"));
  EXPECT_AXIS(LoftAxis(1, kPositionDown), -40.0, 15.0);
  EXPECT_AXIS(LoftAxis(1, kPositionUp), -40.0, 44.0);
  EXPECT_AXIS(LoftAxis(1, kPositionUnknown), -40.0, 30.0);
  EXPECT_AXIS(Axis(25), -40.0, 30.0);
  EXPECT_AXIS(KzGeometry::GetInstance(5, 1).GetAxis(), -40.0, 30.0);
  EXPECT_TRUE(IsAuto(25));
  EXPECT_AXIS(LoftAxis(2, kPositionDown), 3.24, 16.0);  // unreadable entry: nothing stored
  EXPECT_AXIS(Axis(26), 3.24, 45.0);
  EXPECT_AXIS(Axis(27), 50.0, 40.0);  // read after the bad entry
  EXPECT_FALSE(IsAuto(27));
  EXPECT_NE(Log().find("KzGeometry::SetTelescopeAxis(25) - replaced axis (az,el) = (-42.06,45) by "
                       "(-40,30) !\n"
                       "KzGeometry::SetTelescopeAxis(25) - mode is set to 'auto' !\n"),
            std::string::npos);
}

TEST_F(KzGeometryLoft, AMissingEntryDoesNotHideTheNext) {
  // The group is the file's last: the search for loft1 and loft2 runs into the end of the file.
  EXPECT_TRUE(Read("[Geometry]\nloft3 = 50 16 50 45 50 40\n"));
  EXPECT_AXIS(LoftAxis(3, kPositionDown), 50.0, 16.0);
  EXPECT_AXIS(Axis(27), 50.0, 40.0);
  EXPECT_AXIS(LoftAxis(1, kPositionDown), -42.06, 16.0);
}

TEST_F(KzGeometryLoft, DebugLevelDumpsWhatWasRead) {
  KzGeometry::SetPrintLevel(2);
  EXPECT_TRUE(Read("[Geometry]\nloft1 = -40 15 -40 44 -40 30\n[Other]\n"));
  EXPECT_NE(Log().find("KzGeometry::ReadCameraPointing() -\n"), std::string::npos);
  EXPECT_NE(Log().find("KzGeometry::ReadCameraPointing4LOFT() -\n"), std::string::npos);
  EXPECT_NE(Log().find("KzGeometry::ReadCameraPointing4LOFT() - dump for LOFT\n"
                       "LOFT configuration 1:\n"
                       "LOFT[1] (az,el) = (-40,15)\n"
                       "LOFT[2] (az,el) = (-40,44)\n"
                       "LOFT[3] (az,el) = (-40,30)\n"
                       "LOFT configuration 2:\n"
                       "LOFT[1] (az,el) = (3.24,16)\n"),
            std::string::npos);
}
