// kzutil fov and kzutil display: cameras drawn on the sky, as a field of view of
// chosen telescopes or as one camera whose pixels carry values from a CSV file.
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <optional>

#include "CameraPicture.h"
#include "Commands.h"
#include "InifileChain.h"
#include "KzConfig.h"
#include "KzGeometry.h"
#include "KzNumbering.h"
#include "Tool.h"

namespace KzTool {

using KzUtil::Kz;
using KzUtil::KzGeometry;

namespace {

// Options that every picture has.
struct PictureArgs {
  std::string fOutput;                // its extension selects the format
  unsigned int fWidth = 0;            // 0 = from the height or the default scale
  unsigned int fHeight = 0;           // 0 = from the width and the picture's aspect
  bool fIds = false;                  // pixel numbers in the hexagons
  std::optional<std::string> fTitle;  // replaces the default title
};

struct FovArgs {
  PictureArgs fPicture;
  std::optional<unsigned int> fEye, fMirror;  // none: every telescope
  std::string fConfig;                        // ini file with group "Geometry", or empty
  std::string fTilt;                          // "up", "down", or empty: the LOFT's current axis
};

struct DisplayArgs {
  PictureArgs fPicture;
  std::string fEye, fMirror;   // as given
  std::string fValues;         // CSV file
  bool fLog = false;           // logarithmic colour scale
  std::vector<double> fRange;  // LO HI, or empty for the values' own range
  std::string fPalette = PaletteNames().front();
};

void AddPictureOptions(CLI::App* sub, PictureArgs& args) {
  sub->add_option("-o,--output", args.fOutput, "Picture file: .png, .svg or .pdf")->required();
  sub->add_option("--width", args.fWidth, "Width in pixels (PNG) or points (SVG, PDF)")
      ->check(CLI::Range(300u, 10000u));
  sub->add_option("--height", args.fHeight, "Height; with only one of the two the other follows")
      ->check(CLI::Range(300u, 10000u));
  sub->add_flag("--ids", args.fIds, "Write each pixel's number into its hexagon");
  sub->add_option_function<std::string>(
      "--title", [&args](const std::string& title) { args.fTitle = title; },
      "Title above the picture");
}

// Eye and mirror checked as the numbering does; the camera's absolute telescope id.
unsigned int TelescopeOf(unsigned int eye, unsigned int mirror) {
  unsigned int mirrors = 0;
  CheckedByLibrary([&] { mirrors = Kz::GetEyeNMirrors(eye); });
  if (mirror < Kz::kEYE_FIRST_MIRROR || mirror > mirrors)
    throw UsageError("eye " + std::to_string(eye) + " (" + KzUtil::GetEyeName(eye) +
                     ") has mirrors 1.." + std::to_string(mirrors) + ", not " +
                     std::to_string(mirror));
  return Kz::GetKzMirrorNo(eye, mirror);
}

std::string CameraName(unsigned int telescope) {
  return "eye " + std::to_string(Kz::GetEyeNoFromKzMirrorNo(telescope)) + " mirror " +
         std::to_string(Kz::GetMirrorNoFromKzMirrorNo(telescope));
}

// Applies the telescope axes of an ini file's group "Geometry".
void ReadPointing(const std::string& name) {
  const std::string path = LocateIniOrFail(name);
  KzUtil::InifileChain chain(path.c_str());
  bool found = false;
  try {
    found = KzGeometry::ReadCameraPointing(chain);
  } catch (const std::exception& e) {
    throw QueryFailed(path + ": " + e.what());
  }
  if (!found) throw QueryFailed("no group [Geometry] in " + path);
}

// The geometry of a telescope; a LOFT telescope's in the given tilt, unless that is empty.
const KzGeometry& GeometryOf(unsigned int telescope, const std::string& tilt) {
  if (tilt.empty() || telescope < KzGeometry::kFIRST_LOFT_TELESCOPE)
    return KzGeometry::GetInstance(telescope);
  KzGeometry::CameraPointing_t axis;
  KzGeometry::GetTelescopeAxis4LOFT(telescope - KzGeometry::kFIRST_LOFT_TELESCOPE + 1,
                                    axis.fAzimuth, axis.fElevation,
                                    tilt == "up" ? KzUtil::kPositionUp : KzUtil::kPositionDown);
  return KzGeometry::GetInstance(axis);
}

// The camera labelled with its absolute id, and with its eye and mirror where there is room.
CameraView ViewOf(unsigned int telescope, const std::string& tilt, bool longLabel) {
  std::string label = std::to_string(telescope);
  if (longLabel) label += ": " + CameraName(telescope);
  return {telescope, &GeometryOf(telescope, tilt), label};
}

// Draws the picture and reports it: file, size, cameras and where each pixel went.
void WritePicture(CameraPicture& picture, const std::vector<CameraView>& views,
                  const PictureArgs& args, Result& result) {
  picture.ShowPixelNumbers(args.fIds);
  picture.Write(args.fOutput, args.fWidth, args.fHeight);
  const char* format = FormatName(FormatOfPath(args.fOutput));
  result.fText << args.fOutput << ": " << format << " " << picture.Width() << " x "
               << picture.Height() << ", " << views.size()
               << (views.size() == 1 ? " camera, " : " cameras, ") << picture.Placements().size()
               << " pixels\n";
  nlohmann::json& json = result.fJson;
  json["file"] = args.fOutput;
  json["format"] = format;
  json["width"] = picture.Width();
  json["height"] = picture.Height();
  json["cameras"] = nlohmann::json::array();
  for (const CameraView& view : views) {
    const KzGeometry::CameraPointing_t& axis = view.fGeometry->GetAxis();
    json["cameras"].push_back({{"telescope", view.fTelescopeId},
                               {"eye", Kz::GetEyeNoFromKzMirrorNo(view.fTelescopeId)},
                               {"mirror", Kz::GetMirrorNoFromKzMirrorNo(view.fTelescopeId)},
                               {"azimuth", axis.fAzimuth},
                               {"elevation", axis.fElevation}});
  }
  json["pixels"] = nlohmann::json::array();
  for (const PixelPlacement& p : picture.Placements())
    json["pixels"].push_back({{"telescope", p.fTelescopeId},
                              {"pixel", p.fPixel},
                              {"column", p.fColumn},
                              {"row", p.fRow},
                              {"azimuth", p.fAzimuth},
                              {"elevation", p.fElevation},
                              {"x", p.fX},
                              {"y", p.fY}});
}

void DrawFieldOfView(const FovArgs& args, Result& result) {
  FormatOfPath(args.fPicture.fOutput);
  if (!args.fConfig.empty()) ReadPointing(args.fConfig);
  std::vector<unsigned int> telescopes;
  if (args.fMirror) {
    telescopes.push_back(TelescopeOf(*args.fEye, *args.fMirror));
  } else if (args.fEye) {
    unsigned int mirrors = 0;
    CheckedByLibrary([&] { mirrors = Kz::GetEyeNMirrors(*args.fEye); });
    for (unsigned int mirror = 1; mirror <= mirrors; ++mirror)
      telescopes.push_back(Kz::GetKzMirrorNo(*args.fEye, mirror));
  } else {
    for (unsigned int id = Kz::kKZ_FIRST_MIRROR; id <= Kz::kKZ_LAST_MIRROR; ++id)
      telescopes.push_back(id);
  }
  std::vector<CameraView> views;
  for (unsigned int telescope : telescopes)
    views.push_back(ViewOf(telescope, args.fTilt, args.fEye.has_value()));

  std::string title = "Field of view: ";
  if (args.fMirror)
    title += CameraName(telescopes.front());
  else if (args.fEye)
    title += "eye " + std::to_string(*args.fEye) + " (" + KzUtil::GetEyeName(*args.fEye) + ")";
  else
    title += "all telescopes";
  const bool loft = telescopes.back() >= KzGeometry::kFIRST_LOFT_TELESCOPE;
  if (loft && !args.fTilt.empty()) title += ", LOFT tilted " + args.fTilt;
  CameraPicture picture(views);
  picture.SetTitle(args.fPicture.fTitle.value_or(title));
  WritePicture(picture, views, args.fPicture, result);
}

std::string Trimmed(const std::string& text) {
  const size_t first = text.find_first_not_of(" \t");
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::vector<std::string> SplitFields(const std::string& line) {
  std::vector<std::string> fields;
  size_t start = 0;
  for (size_t comma; (comma = line.find(',', start)) != std::string::npos; start = comma + 1)
    fields.push_back(Trimmed(line.substr(start, comma - start)));
  fields.push_back(Trimmed(line.substr(start)));
  return fields;
}

bool IsHeader(const std::vector<std::string>& fields) {
  std::string joined;
  for (const std::string& field : fields) {
    for (char c : field) joined += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    joined += ',';
  }
  return joined == "pixel,value," || joined == "column,row,value,";
}

// Reads the CSV file of a camera's values, one pixel per line.
class ValueReader {
 public:
  explicit ValueReader(const std::string& path)
      : fPath(path), fValues(Kz::kMI_NPIXELS), fLines(Kz::kMI_NPIXELS, 0) {}

  std::vector<std::optional<double>> Read() {
    std::ifstream file(fPath);
    if (!file) throw QueryFailed("cannot read " + fPath + ": " + std::strerror(errno));
    bool first = true;
    for (std::string line; std::getline(file, line);) {
      ++fLine;
      if (!line.empty() && line.back() == '\r') line.pop_back();
      const std::string text = Trimmed(line);
      if (text.empty() || text[0] == '#') continue;
      const std::vector<std::string> fields = SplitFields(text);
      if (!(first && IsHeader(fields))) Store(fields);
      first = false;
    }
    if (file.bad() || !file.eof()) throw QueryFailed("cannot read " + fPath);
    return fValues;
  }

 private:
  [[noreturn]] void Fail(const std::string& what) const {
    throw QueryFailed(fPath + ", line " + std::to_string(fLine) + ": " + what);
  }

  unsigned int Index(const std::string& text, const char* what, unsigned int last) const {
    const bool digits = !text.empty() && text.size() <= 9 &&
                        text.find_first_not_of("0123456789") == std::string::npos;
    if (!digits) Fail(std::string("'") + text + "' is not a " + what + " number");
    const unsigned int value = std::stoul(text);
    if (value < 1 || value > last)
      Fail(std::string(what) + " " + text + " is outside 1.." + std::to_string(last));
    return value;
  }

  double Value(const std::string& text) const {
    char* end = nullptr;
    const double value = text.empty() ? 0 : std::strtod(text.c_str(), &end);
    if (text.empty() || *end != 0 || !std::isfinite(value))
      Fail("'" + text + "' is not a finite number");
    return value;
  }

  void Store(const std::vector<std::string>& fields) {
    if (fields.size() != 2 && fields.size() != 3)
      Fail("expected column,row,value or pixel,value, not " + std::to_string(fields.size()) +
           (fields.size() == 1 ? " field" : " fields"));
    Kz::PixelNumberRec pixel{};
    if (fields.size() == 2)
      Kz::SetPixelNo(&pixel, Index(fields[0], "pixel", Kz::kMI_LAST_PIXEL));
    else
      Kz::SetPixelNoFromColumnRow(&pixel, Index(fields[0], "column", Kz::kMI_LAST_COL),
                                  Index(fields[1], "row", Kz::kMI_LAST_ROW));
    const double value = Value(fields.back());
    const unsigned int index = Kz::GetPixelNo(&pixel) - 1;
    if (fLines[index])
      Fail("pixel " + std::to_string(index + 1) + " (column " +
           std::to_string(Kz::GetColumnNo(&pixel)) + ", row " +
           std::to_string(Kz::GetRowNo(&pixel)) + ") was given already on line " +
           std::to_string(fLines[index]));
    fValues[index] = value;
    fLines[index] = fLine;
  }

  std::string fPath;                           // as given
  std::vector<std::optional<double>> fValues;  // by pixel number - 1
  std::vector<unsigned int> fLines;            // line of each pixel's value, 0 = none yet
  unsigned int fLine = 0;                      // current line, from 1
};

// The colour scale: --range, or the values' own range (their positive part for --log).
ColourScale ScaleOf(const std::vector<std::optional<double>>& values, const DisplayArgs& args) {
  ColourScale scale{args.fPalette, args.fLog, 0, 1};
  if (!args.fRange.empty()) {
    scale.fLow = args.fRange[0];
    scale.fHigh = args.fRange[1];
    if (!(scale.fLow < scale.fHigh)) throw UsageError("--range needs LO below HI");
    if (args.fLog && scale.fLow <= 0) throw UsageError("--log needs a --range above 0");
    return scale;
  }
  std::vector<double> shown;
  for (const std::optional<double>& value : values)
    if (value && (!args.fLog || *value > 0)) shown.push_back(*value);
  if (shown.empty()) {
    if (args.fLog) throw QueryFailed("no value above 0 for --log; give --range");
    return scale;
  }
  const auto [low, high] = std::minmax_element(shown.begin(), shown.end());
  scale.fLow = *low;
  scale.fHigh = *high;
  if (scale.fLow < scale.fHigh) return scale;
  // One value only: centre it.
  if (args.fLog) {
    scale.fLow /= 2;
    scale.fHigh *= 2;
  } else {
    const double half = scale.fLow != 0 ? std::fabs(scale.fLow) / 10 : 1;
    scale.fLow -= half;
    scale.fHigh += half;
  }
  return scale;
}

void DrawDisplay(const DisplayArgs& args, Result& result) {
  FormatOfPath(args.fPicture.fOutput);
  const unsigned int telescope =
      TelescopeOf(ParseUnsigned(args.fEye, "EYE"), ParseUnsigned(args.fMirror, "MIRROR"));
  const std::vector<std::optional<double>> values = ValueReader(args.fValues).Read();
  const ColourScale scale = ScaleOf(values, args);
  const std::vector<CameraView> views = {{telescope, &KzGeometry::GetInstance(telescope), ""}};
  const unsigned int eye = Kz::GetEyeNoFromKzMirrorNo(telescope);
  const size_t slash = args.fValues.rfind('/');
  CameraPicture picture(views);
  picture.SetTitle(args.fPicture.fTitle.value_or(
      "Eye " + std::to_string(eye) + " (" + KzUtil::GetEyeName(eye) + ") mirror " +
      std::to_string(Kz::GetMirrorNoFromKzMirrorNo(telescope)) + ": " +
      args.fValues.substr(slash == std::string::npos ? 0 : slash + 1)));
  picture.SetValues(values, scale);
  WritePicture(picture, views, args.fPicture, result);

  size_t given = 0;
  for (const std::optional<double>& value : values) given += value.has_value();
  result.fJson["palette"] = scale.fPalette;
  result.fJson["log"] = scale.fLog;
  result.fJson["range"] = {scale.fLow, scale.fHigh};
  result.fJson["values"] = given;
  for (nlohmann::json& pixel : result.fJson["pixels"]) {
    const std::optional<double>& value = values[pixel["pixel"].get<unsigned int>() - 1];
    pixel["value"] = value ? nlohmann::json(*value) : nlohmann::json();
  }
}

}  // namespace

void AddFovCommand(CLI::App& app) {
  auto args = std::make_shared<FovArgs>();
  CLI::App* sub = app.add_subcommand(
      "fov", "Draw where the telescopes look: every camera pixel as a hexagon on the sky");
  CLI::Option* eye = sub->add_option_function<std::string>(
      "--eye", [args](const std::string& text) { args->fEye = ParseUnsigned(text, "--eye"); },
      "Only the telescopes of eye 1..5 (5 = Loft)");
  CLI::Option* mirror = sub->add_option_function<std::string>(
      "--mirror",
      [args](const std::string& text) { args->fMirror = ParseUnsigned(text, "--mirror"); },
      "Only this mirror of the eye");
  CLI::Option* all = sub->add_flag("--all", "Every telescope (the default)");
  mirror->needs(eye);
  all->excludes(eye)->excludes(mirror);
  sub->add_option(
      "--config", args->fConfig,
      "Ini file (found along the ini search path) whose group [Geometry] sets the axes");
  sub->add_option("--tilt", args->fTilt, "Draw the LOFT telescopes tilted up or down")
      ->check(CLI::IsMember({"up", "down"}));
  AddPictureOptions(sub, args->fPicture);
  sub->footer(
      "Azimuth increases to the left, as on the sky seen from the eye; azimuths are drawn\n"
      "continuously across 0/360. Hexagons touch their neighbours: the pixel pitch is 1.5 deg.\n"
      "Examples:\n"
      "  kzutil fov --eye 1 -o eye1.png\n"
      "  kzutil fov --eye 3 --mirror 2 --ids -o camera.svg   # check the pixel numbering\n"
      "  kzutil fov --all --width 2400 -o all.pdf\n"
      "  kzutil fov --eye 5 --tilt down --config KzSite.ini -o loft.png");
  SetAction(sub, [args](Result& result) { DrawFieldOfView(*args, result); });
}

void AddDisplayCommand(CLI::App& app) {
  auto args = std::make_shared<DisplayArgs>();
  CLI::App* sub = app.add_subcommand(
      "display", "Draw one camera with its pixels coloured by values from a CSV file");
  sub->add_option("EYE", args->fEye, "Eye 1..5")->required();
  sub->add_option("MIRROR", args->fMirror, "Mirror within the eye")->required();
  sub->add_option("VALUES", args->fValues, "CSV file: lines column,row,value or pixel,value")
      ->required();
  sub->add_flag("--log", args->fLog, "Logarithmic colour scale; values <= 0 get the bottom colour");
  sub->add_option("--range", args->fRange,
                  "Values at the bottom and top colour (default: min, max)")
      ->expected(2);
  sub->add_option("--palette", args->fPalette, "Colour palette (default: viridis)")
      ->check(CLI::IsMember(PaletteNames()));
  AddPictureOptions(sub, args->fPicture);
  sub->footer(
      "VALUES holds one pixel per line, 'column,row,value' (1..20, 1..22) or 'pixel,value'\n"
      "(1..440); blank lines, lines starting with '#' and a header line naming the fields\n"
      "are skipped. Pixels without a value are drawn empty. A malformed line ends the\n"
      "command with its line number and exit status 1.\n"
      "Examples:\n"
      "  kzutil display 2 3 gains.csv -o gains.png\n"
      "  kzutil display 5 1 rates.csv --log --range 1 1000 --palette heat -o rates.pdf");
  SetAction(sub, [args](Result& result) { DrawDisplay(*args, result); });
}

}  // namespace KzTool
