#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

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

typedef std::pair<double, double> AzEl;

bool IsAuto(unsigned int id) { return PointingProbe::fgCameraGeometry[id].fAutomatic; }

AzEl Axis(unsigned int id) {
  AzEl axis;
  KzGeometry::GetTelescopeAxis(id, axis.first, axis.second);
  return axis;
}

AzEl LoftAxis(unsigned int loft, ETiltPosition tilt) {
  AzEl axis;
  KzGeometry::GetTelescopeAxis4LOFT(loft, axis.first, axis.second, tilt);
  return axis;
}

// The warnings of a moved axis, of auto mode and of auto mode without a reader.
std::string Replaced(unsigned int id, const std::string& from, const std::string& to) {
  return "KzGeometry::SetTelescopeAxis(" + std::to_string(id) + ") - replaced axis (az,el) = (" +
         from + ") by (" + to + ") !\n";
}
std::string AutoSet(unsigned int id) {
  return "KzGeometry::SetTelescopeAxis(" + std::to_string(id) + ") - mode is set to 'auto' !\n";
}
std::string NoReader(unsigned int id) {
  return "KzGeometry::ReadCameraPointing() - No function for reading axis pointing of telescope " +
         std::to_string(id) + " was provided, using fallback constants instead!\n";
}

// The reader for auto mode: remembers what it was offered, answers (60, 20).
unsigned int gReaderCalls = 0;
AzEl gOffered;

int ReadSixtyTwenty(unsigned int, double& azimuth, double& elevation) {
  ++gReaderCalls;
  gOffered = AzEl(azimuth, elevation);
  azimuth = 60.0;
  elevation = 20.0;
  return 0;
}

// Every test starts with the class initialised and an empty log.
class KzGeometryPointing : public KzTest::LoggedTest {
 protected:
  void SetUp() override {
    LoggedTest::SetUp();
    KzGeometry::GetInstance(0);
    TakeLog();
  }
  // Reads the pointing from a site file of this content, through a chain.
  bool Read(const std::string& content) {
    InifileChain chain(fDir.Write("KzSite.ini", content).c_str());
    return KzGeometry::ReadCameraPointing(chain);
  }

  KzTest::TempDir fDir;
};

using KzGeometryLoft = KzGeometryPointing;

}  // namespace

TEST_F(KzGeometryPointing, ManualEntriesMoveOnlyTheTelescopesThatDiffer) {
  EXPECT_TRUE(
      Read("[Geometry]\n"
           "axis3 = 50.5 17.25\n"
           "axis4 = 74.965 16.14   ; where it is already\n"
           "axis9 = north 17.5\n"
           "axis10 = 170\n"
           "axis11 =\n"
           "axis12 = 224.912 15.89 extra words\n"
           "[Other]\n"
           "axis5 = 1 2\n"));
  // Unreadable or missing numbers keep their current values; nothing else moves.
  EXPECT_EQ(TakeLog(), Replaced(3, "44.945,15.96", "50.5,17.25") +
                           Replaced(9, "134.782,15.82", "134.782,17.5") +
                           Replaced(10, "164.982,15.75", "170,15.75"));
  const KzGeometry::CameraPointing_t& built = KzGeometry::GetInstance(3).GetAxis();
  EXPECT_EQ(AzEl(built.fAzimuth, built.fElevation), AzEl(50.5, 17.25));
  EXPECT_EQ(Axis(3), AzEl(50.5, 17.25));
  EXPECT_FALSE(IsAuto(3));
  EXPECT_EQ(Axis(9), AzEl(134.782, 17.5));
  EXPECT_EQ(Axis(10), AzEl(170.0, 15.75));
  EXPECT_EQ(Axis(5), AzEl(104.935, 15.96));  // the key of another group is not read
}

TEST_F(KzGeometryPointing, AutoEntriesTakeTheReadersAxisOrTheirOwnNumbers) {
  KzGeometry::SetGetAxisFunction(3, ReadSixtyTwenty);
  EXPECT_TRUE(
      Read("[Geometry]\n"
           "axis3 = AUTO 44.9 16.0\n"
           "axis4 = Auto 74.9 16.0\n"
           "axis5 = aUtO 104.935 15.96\n"
           "axis6 = automatic 1 2\n"
           "[Other]\n"));
  EXPECT_EQ(gReaderCalls, 1u);
  EXPECT_EQ(gOffered, AzEl(44.9f, 16.0));  // the configured numbers, single precision
  EXPECT_EQ(Axis(3), AzEl(60.0, 20.0));
  EXPECT_EQ(Axis(4), AzEl(74.9f, 16.0));
  EXPECT_EQ(TakeLog(), Replaced(3, "44.945,15.96", "60,20") + AutoSet(3) + NoReader(4) +
                           Replaced(4, "74.965,16.14", "74.9,16") + AutoSet(4) + NoReader(5) +
                           Replaced(6, "134.905,15.85", "134.905,1"));
  EXPECT_TRUE(IsAuto(3));
  EXPECT_TRUE(IsAuto(4));
  EXPECT_TRUE(IsAuto(5));   // unchanged axis, but the mode is set
  EXPECT_FALSE(IsAuto(6));  // only the word itself means auto; its azimuth is unreadable
}

TEST_F(KzGeometryPointing, AbsentKeySwitchesToManualWithoutMovingTheAxis) {
  EXPECT_TRUE(Read("[Geometry]\naxis7 = auto 80 20\n[Other]\n"));
  ASSERT_TRUE(IsAuto(7));
  TakeLog();
  // The group is the file's last: the search for axis7 runs into the end of the file.
  EXPECT_TRUE(Read("[Other]\naxis7 = 1 2\n[Geometry]\naxis6 = 134.905 15.85\naxis8 = 100 17\n"));
  EXPECT_FALSE(IsAuto(7));
  EXPECT_EQ(Axis(7), AzEl(80.0, 20.0));
  EXPECT_EQ(Axis(8), AzEl(100.0, 17.0));  // keys after the missing one are still found
  EXPECT_EQ(TakeLog(), Replaced(8, "104.792,15.81", "100,17"));
}

TEST_F(KzGeometryPointing, MissingGroupChangesNothing) {
  PointingProbe::SetTelescopeAxis(3, 44.945, 15.96, true);
  InifileChain chain(
      fDir.Write("KzSite.ini", "[Other]\naxis3 = 50 17\nloft1 = 1 2 3 4 5 6\n").c_str());
  EXPECT_FALSE(KzGeometry::ReadCameraPointing(chain));
  EXPECT_FALSE(PointingProbe::ReadCameraPointing4LOFT(chain));
  EXPECT_EQ(TakeLog(),
            "KzGeometry::ReadCameraPointing() - Section [Geometry] not found !!!\n"
            "KzGeometry::ReadCameraPointing4LOFT() - Section [Geometry] not found !!!\n");
  EXPECT_EQ(Axis(3), AzEl(44.945, 15.96));
  EXPECT_TRUE(IsAuto(3));
  EXPECT_EQ(LoftAxis(1, kPositionDown), AzEl(-42.06, 16.0));
}

TEST_F(KzGeometryPointing, ShippedSiteFileCarriesTheBuiltInAxes) {
  std::vector<AzEl> builtIn;
  for (unsigned int id = 1; id < 28; ++id) {
    builtIn.push_back(Axis(id));
    PointingProbe::SetTelescopeAxis(id, 1.0, 1.0, true);
  }
  KzGeometry::CameraPointing_t* const loft = &PointingProbe::fgLoftCameraPointing[0][0];
  const std::vector<KzGeometry::CameraPointing_t> loftBuiltIn(loft, loft + 9);
  std::fill(loft, loft + 9, KzGeometry::CameraPointing_t(2.0, 2.0));
  TakeLog();
  InifileChain chain(KzTest::SourcePath("etc/KzSite.ini").c_str());
  ASSERT_TRUE(KzGeometry::ReadCameraPointing(chain)) << TakeLog();
  for (unsigned int id = 1; id < 28; ++id) {
    EXPECT_NEAR(Axis(id).first, builtIn[id - 1].first, 1e-5) << id;
    EXPECT_NEAR(Axis(id).second, builtIn[id - 1].second, 1e-5) << id;
    EXPECT_FALSE(IsAuto(id)) << id;
  }
  for (unsigned int n = 0; n < 9; ++n) {
    EXPECT_NEAR(loft[n].fAzimuth, loftBuiltIn[n].fAzimuth, 1e-5) << "loft slot " << n;
    EXPECT_NEAR(loft[n].fElevation, loftBuiltIn[n].fElevation, 1e-5) << "loft slot " << n;
  }
  EXPECT_EQ(TakeLog().find("No function"), std::string::npos);
}

TEST_F(KzGeometryLoft, TiltPositionsSelectTheSlots) {
  const double azimuths[] = {-42.06, 3.24, 48.08};
  for (unsigned int t = 1; t <= 3; ++t) {
    EXPECT_EQ(LoftAxis(t, kPositionDown), AzEl(azimuths[t - 1], 16.0)) << t;
    // Default and unknown (the same value) and any other tilt count as tilted up.
    for (ETiltPosition tilt : {kPositionUp, kPositionDefault, static_cast<ETiltPosition>(7)})
      EXPECT_EQ(LoftAxis(t, tilt), AzEl(azimuths[t - 1], 45.0)) << t << " " << tilt;
  }
  for (unsigned int bad : {0u, 4u})
    EXPECT_EQ(KzTest::Thrown([=] { LoftAxis(bad, kPositionUp); }),
              "logic_error: Illegal LOFT telescope id!");
  EXPECT_EQ(TakeLog(),
            "KzGeometry::GetTelescopeAxis4LOFT(loft_tel_id= 0) - wrong LOFT telescope id!\n"
            "KzGeometry::GetTelescopeAxis4LOFT(loft_tel_id= 4) - wrong LOFT telescope id!\n");
}

TEST_F(KzGeometryLoft, FourNumbersUpdateDownAndUpButNotTheDefault) {
  // The group is the file's last: the search for loft1 runs into the end of the file
  // and must not hide loft2.
  EXPECT_TRUE(Read("[Geometry]\nloft2 = 3.5 17 3.5 44\n"));
  EXPECT_EQ(LoftAxis(2, kPositionDown), AzEl(3.5, 17.0));
  EXPECT_EQ(LoftAxis(2, kPositionUp), AzEl(3.5, 44.0));
  EXPECT_EQ(LoftAxis(2, kPositionDefault), AzEl(3.24, 45.0));
  EXPECT_EQ(Axis(26), AzEl(3.24, 45.0));
  EXPECT_EQ(TakeLog(), "");
}

TEST_F(KzGeometryLoft, SixNumbersMoveTheTelescopeKeepItsModeAndAreDumped) {
  KzGeometry::SetPrintLevel(2);
  EXPECT_TRUE(
      Read("[Geometry]\n"
           "axis25 = auto -42.06 45\n"
           "loft1 = -40 15 -40 44 -40 30\n"
           "loft2 = north 16 3.24 45 3.24 30\n"
           "loft3 = 50 16 50 45 50 40\n"
           "[Other]\n"));
  EXPECT_EQ(LoftAxis(1, kPositionDown), AzEl(-40.0, 15.0));
  EXPECT_EQ(LoftAxis(1, kPositionUp), AzEl(-40.0, 44.0));
  EXPECT_EQ(LoftAxis(1, kPositionDefault), AzEl(-40.0, 30.0));
  EXPECT_EQ(Axis(25), AzEl(-40.0, 30.0));
  EXPECT_EQ(KzGeometry::GetInstance(5, 1).GetAxis().fElevation, 30.0);
  EXPECT_TRUE(IsAuto(25));
  EXPECT_EQ(LoftAxis(2, kPositionDown), AzEl(3.24, 16.0));  // unreadable entry: nothing stored
  EXPECT_EQ(Axis(26), AzEl(3.24, 45.0));
  EXPECT_EQ(Axis(27), AzEl(50.0, 40.0));  // read after the bad entry
  EXPECT_FALSE(IsAuto(27));
  const std::string log = TakeLog();
  EXPECT_NE(log.find(Replaced(25, "-42.06,45", "-40,30") + AutoSet(25)), std::string::npos);
  EXPECT_NE(log.find("KzGeometry::ReadCameraPointing4LOFT() - dump for LOFT\n"
                     "LOFT configuration 1:\n"
                     "LOFT[1] (az,el) = (-40,15)\n"
                     "LOFT[2] (az,el) = (-40,44)\n"
                     "LOFT[3] (az,el) = (-40,30)\n"),
            std::string::npos);
}
