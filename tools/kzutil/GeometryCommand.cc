// kzutil pixel and kzutil camera: where the pixels of a telescope look.
#include "GeometryCommand.h"

#include <cmath>
#include <iomanip>
#include <optional>

#include "Commands.h"
#include "InifileChain.h"
#include "KzConfig.h"
#include "KzGeometry.h"
#include "NumberCommand.h"
#include "Tool.h"

namespace KzTool {

using KzUtil::Kz;
using KzUtil::KzGeometry;

namespace {

// Eye, mirror, column and row as given, or from a Kz pixel.
struct PixelArgs {
  std::vector<std::string> fAddress;     // EYE MIRROR COLUMN ROW
  std::optional<unsigned int> fKzPixel;  // --kz-pixel
  std::string fConfig;                   // --config
};

// --config FILE of pixel and camera.
void AddConfigOption(CLI::App* sub, std::string& file) {
  sub->add_option("--config", file,
                  "Read the telescope axes of group [Geometry] of this ini file first (found "
                  "along the ini search path)");
}

void PrintAxis(std::ostream& out, const KzGeometry::_CameraPointingRec& axis) {
  out << "azimuth " << axis.fAzimuth << ", elevation " << axis.fElevation;
}

void PixelDirection(const PixelArgs& args, Result& result) {
  if (!args.fConfig.empty()) ReadPointingConfig(args.fConfig);
  unsigned int eye = 0, mirror = 0, column = 0, row = 0;
  if (args.fKzPixel) {
    const Kz::PixelNumberRec pixel = PixelFromKzPixel(*args.fKzPixel);
    eye = Kz::GetEyeNo(&pixel);
    mirror = Kz::GetMirrorNo(&pixel);
    column = Kz::GetColumnNo(&pixel);
    row = Kz::GetRowNo(&pixel);
  } else if (args.fAddress.size() == 4) {
    eye = ParseUnsigned(args.fAddress[0], "EYE");
    mirror = ParseUnsigned(args.fAddress[1], "MIRROR");
    column = ParseUnsigned(args.fAddress[2], "COLUMN");
    row = ParseUnsigned(args.fAddress[3], "ROW");
  } else {
    throw UsageError("give EYE MIRROR COLUMN ROW, or --kz-pixel N");
  }
  double azimuth = 0, elevation = 0;
  const KzGeometry* geometry = nullptr;
  CheckedByLibrary([&] {
    KzGeometry::GetPixelPointing(eye, mirror, column, row, azimuth, elevation);
    geometry = &KzGeometry::GetInstance(eye, mirror);
  });
  const KzGeometry::_CameraPointingRec& axis = geometry->GetAxis();
  const unsigned int telescope = geometry->GetTelescopeId();
  result.fText << std::fixed << std::setprecision(3) << "telescope  " << telescope << ": "
               << TelescopeName(telescope) << "\naxis       ";
  PrintAxis(result.fText, axis);
  result.fText << "\ncolumn     " << column << "\nrow        " << row << "\nazimuth    " << azimuth
               << "\nelevation  " << elevation << "\n";
  result.fJson = {{"telescope", telescope},
                  {"eye", eye},
                  {"mirror", mirror},
                  {"column", column},
                  {"row", row},
                  {"axis", Direction(axis.fAzimuth, axis.fElevation)},
                  {"azimuth", Degrees(azimuth)},
                  {"elevation", Degrees(elevation)}};
}

void AddPixel(CLI::App& app) {
  auto args = std::make_shared<PixelArgs>();
  CLI::App* sub = app.add_subcommand("pixel", "Direction (azimuth, elevation) of one camera pixel");
  CLI::Option* address =
      sub->add_option("EYE MIRROR COLUMN ROW", args->fAddress,
                      "Eye 1..5, mirror 1..6 (1..3 at the Loft), column 1..20, row 1..22")
          ->expected(4);
  sub->add_option_function<std::string>(
         "--kz-pixel",
         [args](const std::string& text) { args->fKzPixel = ParseUnsigned(text, "--kz-pixel"); },
         "The pixel by its Kz pixel number 1..12960")
      ->excludes(address);
  AddConfigOption(sub, args->fConfig);
  sub->footer(
      "Examples:\n  kzutil pixel 1 3 10 11\n  kzutil pixel --kz-pixel 4049 --json\n"
      "  kzutil pixel --config KzSite.ini 5 2 1 1\n"
      "Angles in degrees; azimuths are not wrapped to 0..360. Out-of-range numbers are usage "
      "errors.");
  SetAction(sub, [args](Result& result) { PixelDirection(*args, result); });
}

// The telescope of --telescope or of EYE MIRROR, checked by the library.
const KzGeometry& ChosenTelescope(const std::vector<std::string>& address,
                                  const std::optional<unsigned int>& telescope) {
  const KzGeometry* geometry = nullptr;
  if (telescope) {
    CheckedByLibrary([&] { geometry = &KzGeometry::GetInstance(*telescope); });
  } else if (address.size() == 2) {
    const unsigned int eye = ParseUnsigned(address[0], "EYE");
    const unsigned int mirror = ParseUnsigned(address[1], "MIRROR");
    CheckedByLibrary([&] { geometry = &KzGeometry::GetInstance(eye, mirror); });
  } else {
    throw UsageError("give EYE MIRROR, or --telescope N");
  }
  return *geometry;
}

void CameraTable(const KzGeometry& geometry, unsigned int telescope, bool csv, Result& result) {
  const KzGeometry::_CameraPointingRec& axis = geometry.GetAxis();
  result.fJson = {{"telescope", telescope},
                  {"name", TelescopeName(telescope)},
                  {"axis", Direction(axis.fAzimuth, axis.fElevation)},
                  {"pixels", nlohmann::json::array()}};
  std::ostream& out = result.fText;
  out << std::fixed << std::setprecision(3);
  if (csv) {
    out << std::setprecision(6) << "column,row,pixel,azimuth,elevation\n";
  } else {
    out << "# telescope " << telescope << ": " << TelescopeName(telescope) << "; axis ";
    PrintAxis(out, axis);
    out << "\ncolumn row pixel  azimuth elevation\n";
  }
  for (unsigned int column = Kz::kMI_FIRST_COL; column <= Kz::kMI_LAST_COL; ++column) {
    for (unsigned int row = Kz::kMI_FIRST_ROW; row <= Kz::kMI_LAST_ROW; ++row) {
      Kz::PixelNumberRec pixel{};
      Kz::SetPixelNoFromColumnRow(&pixel, column, row);
      const unsigned int number = Kz::GetPixelNo(&pixel);
      const double azimuth = geometry.GetPixelAzimuth(column, row);
      const double elevation = geometry.GetPixelElevation(column, row);
      if (csv)
        out << column << "," << row << "," << number << "," << azimuth << "," << elevation << "\n";
      else
        out << std::setw(6) << column << std::setw(4) << row << std::setw(6) << number
            << std::setw(9) << azimuth << std::setw(10) << elevation << "\n";
      nlohmann::json entry = Direction(azimuth, elevation);
      entry["column"] = column;
      entry["row"] = row;
      entry["pixel"] = number;
      result.fJson["pixels"].push_back(entry);
    }
  }
}

void AddCamera(CLI::App& app) {
  auto address = std::make_shared<std::vector<std::string>>();
  auto telescope = std::make_shared<std::optional<unsigned int>>();
  auto csv = std::make_shared<bool>(false);
  auto config = std::make_shared<std::string>();
  CLI::App* sub = app.add_subcommand(
      "camera", "All 440 pixel directions of one telescope, as a table, CSV or JSON");
  CLI::Option* byEye =
      sub->add_option("EYE MIRROR", *address, "Eye 1..5 and mirror 1..6 (1..3 at the Loft)")
          ->expected(2);
  sub->add_option_function<std::string>(
         "--telescope",
         [telescope](const std::string& text) { *telescope = ParseUnsigned(text, "--telescope"); },
         "The telescope by its absolute id 0..27 (0 = reference telescope, 25..27 = Loft)")
      ->excludes(byEye);
  sub->add_flag("--csv", *csv, "Comma-separated values with a header line");
  AddConfigOption(sub, *config);
  sub->footer(
      "Examples:\n  kzutil camera 2 3\n  kzutil camera --telescope 0 --csv > reference.csv\n"
      "  kzutil camera 5 1 --json --config ./surveyed.ini\nRows run column by column, row 1 "
      "(lowest) to 22.");
  SetAction(sub, [address, telescope, csv, config](Result& result) {
    if (!config->empty()) ReadPointingConfig(*config);
    const KzGeometry& geometry = ChosenTelescope(*address, *telescope);
    CameraTable(geometry, geometry.GetTelescopeId(), *csv, result);
  });
}

}  // namespace

std::string TelescopeName(unsigned int abs_tel_id) {
  if (abs_tel_id == 0) return "reference telescope";
  const unsigned int eye = Kz::GetEyeNoFromKzMirrorNo(abs_tel_id);
  return "eye " + std::to_string(eye) + " (" + KzUtil::GetEyeName(eye) + "), mirror " +
         std::to_string(Kz::GetMirrorNoFromKzMirrorNo(abs_tel_id));
}

void ReadPointingConfig(const std::string& file) {
  const std::string path = LocateIniOrFail(file);
  KzUtil::InifileChain chain(path.c_str());
  if (!KzGeometry::ReadCameraPointing(chain)) throw QueryFailed("no group [Geometry] in " + path);
}

double Degrees(double angle) { return std::round(angle * 1e6) / 1e6; }

nlohmann::json Direction(double azimuth, double elevation) {
  return {{"azimuth", Degrees(azimuth)}, {"elevation", Degrees(elevation)}};
}

void AddGeometryCommand(CLI::App& app) {
  AddPixel(app);
  AddCamera(app);
}

}  // namespace KzTool
