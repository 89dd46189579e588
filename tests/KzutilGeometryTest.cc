// kzutil pixel and kzutil camera: pixel directions from the built-in or configured axes.
#include "KzutilTestSupport.h"

using KzTest::KzutilRun;
using KzTest::TempDir;

namespace {

// The pixel (column, row) of a camera --json document.
nlohmann::json CameraPixel(const nlohmann::json& camera, unsigned int column, unsigned int row) {
  return camera["pixels"][(column - 1) * 22 + (row - 1)];
}

}  // namespace

// Column 10 of an odd row sits on the camera's centre line: the axis azimuth.
TEST(KzutilPixel, AddressOrKzPixelNumberGiveTheDirection) {
  KzTest::ExpectCases({{"pixel 1 3 10 11", 0,
                        "telescope  3: eye 1 (Alder Ridge), mirror 3\n"
                        "axis       azimuth 44.945, elevation 15.960\n"
                        "column     10\nrow        11\nazimuth    44.945\nelevation  15.094\n"}});
  const nlohmann::json byKz = KzutilRun("pixel --kz-pixel 4049 --json").Json();
  EXPECT_EQ(byKz, KzutilRun("pixel 2 3 10 11 --json").Json());
  KzTest::ExpectFields(byKz, R"({"/telescope": 9, "/axis/azimuth": 134.782})"_json);
}

// The Loft's default slot is the last of its three (az, el) pairs.
TEST(KzutilPixel, ConfigReplacesAxesTellingOnlyWhenAskedOrFails) {
  TempDir dir;
  const std::string ini =
      dir.Write("s.ini", "[Geometry]\naxis3 = 100 20\nloft2 = 3.24 16 10 50 11 60\n");
  const std::string other = dir.Write("other.ini", "[Run]\nx = 1\n");
  KzTest::ExpectCases({
      {"pixel 1 3 10 11 --json --config " + ini, 0,
       R"({"/axis/azimuth": 100.0, "/axis/elevation": 20.0, "/azimuth": 100.0})"_json},
      {"pixel 5 2 10 11 --json --config " + ini, 0,
       R"({"/telescope": 26, "/axis/azimuth": 11.0, "/axis/elevation": 60.0})"_json},
      {"pixel 1 3 10 11 --log-level warning --config " + ini, 0,
       KzutilRun("pixel 1 3 10 11 --config " + ini).fStdout,
       "WRN:KzGeometry::SetTelescopeAxis(3) - replaced axis (az,el) = (44.945,15.96) by "
       "(100,20) !\n"
       "WRN:KzGeometry::SetTelescopeAxis(26) - replaced axis (az,el) = (3.24,45) by (11,60) !\n"},
      {"pixel 1 1 1 1 --config " + other, 1, "",
       "kzutil: error: no group [Geometry] in " + other + "\n"},
      {"pixel 1 1 1 1 --config nowhere-at-all.ini", 1, "",
       "kzutil: error: cannot find nowhere-at-all.ini along the ini search path (see kzutil ini "
       "locate nowhere-at-all.ini)\n"},
  });
}

// The reference camera's pixel (1,1) looks at (13.51, 2.08), (10,22) at elevation 29.42.
TEST(KzutilCamera, TableCsvAndJsonListEveryPixel) {
  const std::vector<std::string> table = KzutilRun("camera --telescope 0").Lines();
  const std::vector<std::string> csv = KzutilRun("camera --telescope 0 --csv").Lines();
  const nlohmann::json json = KzutilRun("camera --telescope 0 --json").Json();
  ASSERT_EQ(table.size(), 2u + 440u);
  EXPECT_EQ(table[0], "# telescope 0: reference telescope; axis azimuth 0.000, elevation 16.000");
  EXPECT_EQ(table[1], "column row pixel  azimuth elevation");
  EXPECT_EQ(table[2], "     1   1     1   13.509     2.084");
  EXPECT_EQ(table[2 + 22].substr(0, 16), "     2   1    23");
  EXPECT_EQ(table.back().substr(0, 16), "    20  22   440");
  ASSERT_EQ(csv.size(), 1u + 440u);
  EXPECT_EQ(csv[0], "column,row,pixel,azimuth,elevation");
  EXPECT_EQ(csv[440].rfind("20,22,440,", 0), 0u) << csv[440];
  ASSERT_EQ(json["pixels"].size(), 440u);
  EXPECT_NEAR(CameraPixel(json, 10, 22)["elevation"].get<double>(), 29.42, 0.00507);
}

// Azimuths past 360 stay so, for the pixels of one camera to lie together.
TEST(KzutilCamera, LoftAndConfiguredAxesAreUsedUnwrapped) {
  TempDir dir;
  const std::string ini = dir.Write("north.ini", "[Geometry]\naxis1 = 350 16\n");
  KzTest::ExpectFields(
      KzutilRun("camera 5 1 --json").Json(),
      R"({"/axis/azimuth": -42.06, "/axis/elevation": 45.0, "/telescope": 25})"_json);
  const nlohmann::json north = KzutilRun("camera 1 1 --json --config " + ini).Json();
  EXPECT_GT(CameraPixel(north, 1, 1)["azimuth"].get<double>(), 360.0);
}

TEST(KzutilPixel, BadAddressesAndTelescopesAreUsageErrors) {
  KzTest::ExpectUsageErrors({
      {"pixel 0 1 1 1", "Eye number invalid"},
      {"pixel --kz-pixel 441", "pixel row number invalid"},
      {"pixel 5 4 1 1", "telescope number range exceeded"},
      {"pixel 1 2 3", "At least 4 required"},
      {"camera --telescope 28", "range exceeded"},
      {"camera 1 1 --telescope 3", "excludes"},
      {"camera", "give EYE MIRROR, or --telescope N"},
  });
}
