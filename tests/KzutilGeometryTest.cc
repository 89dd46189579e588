// kzutil pixel and kzutil camera: pixel directions from the built-in or configured axes.
#include <cmath>

#include "KzutilTestSupport.h"

using KzTest::KzutilCall;
using KzTest::KzutilRun;
using KzTest::TempDir;

namespace {

// The pixel (column, row) of a camera --json document.
nlohmann::json CameraPixel(const nlohmann::json& camera, unsigned int column, unsigned int row) {
  return camera["pixels"][(column - 1) * 22 + (row - 1)];
}

}  // namespace

TEST(KzutilPixel, CentreColumnOfAnOddRowLooksAlongTheAxisAzimuth) {
  KzutilRun run({"pixel", "1", "3", "10", "11"});
  EXPECT_EQ(run.fExitCode, 0);
  EXPECT_EQ(run.fStderr, "");
  EXPECT_EQ(run.fStdout,
            "telescope  3: eye 1 (Alder Ridge), mirror 3\n"
            "axis       azimuth 44.945, elevation 15.960\n"
            "column     10\n"
            "row        11\n"
            "azimuth    44.945\n"
            "elevation  15.094\n");
}

TEST(KzutilPixel, KzPixelNumberNamesTheSamePixel) {
  const nlohmann::json byKz = KzutilRun({"pixel", "--kz-pixel", "4049", "--json"}).Json();
  const nlohmann::json byAddress = KzutilRun({"pixel", "2", "3", "10", "11", "--json"}).Json();
  EXPECT_EQ(byKz, byAddress);
  EXPECT_EQ(byKz["telescope"], 9);
  EXPECT_EQ(byKz["axis"]["azimuth"], 134.782);
}

TEST(KzutilPixel, LibraryRangeErrorsAreUsageErrors) {
  EXPECT_USAGE_ERROR(KzutilRun({"pixel", "0", "1", "1", "1"}), "Eye number invalid");
  EXPECT_USAGE_ERROR(KzutilRun({"pixel", "1", "1", "21", "1"}), "pixel column number invalid");
  EXPECT_USAGE_ERROR(KzutilRun({"pixel", "1", "1", "1", "23"}), "pixel row number invalid");
  EXPECT_USAGE_ERROR(KzutilRun({"pixel", "--kz-pixel", "441"}), "pixel row number invalid");
  EXPECT_USAGE_ERROR(KzutilRun({"pixel", "5", "4", "1", "1"}), "telescope number range exceeded");
  EXPECT_USAGE_ERROR(KzutilRun({"pixel", "1", "2", "3"}), "At least 4 required");
}

TEST(KzutilPixel, ConfigReplacesTheAxisQuietlyByDefault) {
  TempDir dir;
  const std::string ini = dir.Write("surveyed.ini", "[Geometry]\naxis3 = 100 20\n");
  KzutilRun quiet({"pixel", "--config", ini, "1", "3", "10", "11", "--json"});
  KzutilRun told({"pixel", "--config", ini, "1", "3", "10", "11", "--log-level", "warning"});
  EXPECT_EQ(quiet.fExitCode, 0);
  EXPECT_EQ(quiet.fStderr, "");
  const nlohmann::json json = quiet.Json();
  EXPECT_EQ(json["axis"]["azimuth"], 100.0);
  EXPECT_EQ(json["axis"]["elevation"], 20.0);
  EXPECT_EQ(json["azimuth"], 100.0);
  EXPECT_EQ(told.fStderr,
            "WRN:KzGeometry::SetTelescopeAxis(3) - replaced axis (az,el) = (44.945,15.96) by "
            "(100,20) !\n");
}

TEST(KzutilPixel, ConfigSetsTheLoftAxisFromItsDefaultPair) {
  TempDir dir;
  const std::string ini = dir.Write("loft.ini", "[Geometry]\nloft2 = 3.24 16 10 50 11 60\n");
  const nlohmann::json json =
      KzutilRun({"pixel", "--config", ini, "5", "2", "10", "11", "--json"}).Json();
  EXPECT_EQ(json["telescope"], 26);
  EXPECT_EQ(json["axis"]["azimuth"], 11.0);
  EXPECT_EQ(json["axis"]["elevation"], 60.0);
}

TEST(KzutilPixel, ConfigWithoutGeometryOrFileFails) {
  TempDir dir;
  const std::string ini = dir.Write("other.ini", "[Run]\nx = 1\n");
  KzutilRun noGroup({"pixel", "--config", ini, "1", "1", "1", "1"});
  KzutilRun noFile({"pixel", "--config", "nowhere-at-all.ini", "1", "1", "1", "1"});
  EXPECT_EQ(noGroup.fExitCode, 1);
  EXPECT_EQ(noGroup.fStdout, "");
  EXPECT_EQ(noGroup.fStderr, "kzutil: error: no group [Geometry] in " + ini + "\n");
  EXPECT_EQ(noFile.fExitCode, 1);
  EXPECT_NE(noFile.fStderr.find("cannot find nowhere-at-all.ini"), std::string::npos);
}

TEST(KzutilCamera, TableListsAll440PixelsColumnByColumn) {
  KzutilRun run({"camera", "--telescope", "0"});
  EXPECT_EQ(run.fExitCode, 0);
  const std::vector<std::string> lines = run.Lines();
  ASSERT_EQ(lines.size(), 2u + 440u);
  EXPECT_EQ(lines[0], "# telescope 0: reference telescope; axis azimuth 0.000, elevation 16.000");
  EXPECT_EQ(lines[1], "column row pixel  azimuth elevation");
  EXPECT_EQ(lines[2], "     1   1     1   13.509     2.084");
  EXPECT_EQ(lines[2 + 22].substr(0, 16), "     2   1    23");
  EXPECT_EQ(lines.back().substr(0, 16), "    20  22   440");
}

TEST(KzutilCamera, ReferenceCameraMatchesTheReferenceTable) {
  const nlohmann::json camera = KzutilRun({"camera", "--telescope", "0", "--json"}).Json();
  ASSERT_EQ(camera["pixels"].size(), 440u);
  EXPECT_NEAR(CameraPixel(camera, 1, 1)["azimuth"].get<double>(), 13.51, 0.00507);
  EXPECT_NEAR(CameraPixel(camera, 1, 1)["elevation"].get<double>(), 2.08, 0.00507);
  EXPECT_NEAR(CameraPixel(camera, 20, 22)["azimuth"].get<double>(), -16.26, 0.00507);
  EXPECT_NEAR(CameraPixel(camera, 10, 22)["elevation"].get<double>(), 29.42, 0.00507);
  EXPECT_EQ(CameraPixel(camera, 11, 1)["pixel"], 221);
}

TEST(KzutilCamera, CsvCarriesTheSameNumbersAsJson) {
  const KzutilRun csv({"camera", "5", "1", "--csv"});
  const nlohmann::json json = KzutilRun({"camera", "5", "1", "--json"}).Json();
  const std::vector<std::string> lines = csv.Lines();
  ASSERT_EQ(lines.size(), 441u);
  EXPECT_EQ(lines[0], "column,row,pixel,azimuth,elevation");
  unsigned int column = 0, row = 0, pixel = 0;
  double azimuth = 0, elevation = 0;
  ASSERT_EQ(std::sscanf(lines[440].c_str(), "%u,%u,%u,%lf,%lf", &column, &row, &pixel, &azimuth,
                        &elevation),
            5);
  EXPECT_EQ(pixel, 440u);
  EXPECT_NEAR(azimuth, CameraPixel(json, 20, 22)["azimuth"].get<double>(), 1e-6);
  EXPECT_NEAR(elevation, CameraPixel(json, 20, 22)["elevation"].get<double>(), 1e-6);
  EXPECT_EQ(json["axis"]["azimuth"], -42.06);
  EXPECT_EQ(json["axis"]["elevation"], 45.0);
  EXPECT_EQ(json["telescope"], 25);
}

TEST(KzutilCamera, AzimuthsAreNotWrapped) {
  TempDir dir;
  const std::string ini = dir.Write("north.ini", "[Geometry]\naxis1 = 350 16\n");
  const nlohmann::json json = KzutilRun({"camera", "1", "1", "--config", ini, "--json"}).Json();
  EXPECT_GT(CameraPixel(json, 1, 1)["azimuth"].get<double>(), 360.0);
}

TEST(KzutilCamera, TelescopesOutsideTheTableAreUsageErrors) {
  EXPECT_USAGE_ERROR(KzutilRun({"camera", "--telescope", "28"}), "range exceeded");
  EXPECT_USAGE_ERROR(KzutilRun({"camera", "5", "4"}), "range exceeded");
  EXPECT_USAGE_ERROR(KzutilRun({"camera", "1", "1", "--telescope", "3"}), "excludes");
  EXPECT_USAGE_ERROR(KzutilRun({"camera"}), "give EYE MIRROR, or --telescope N");
}
