#include "CameraPicture.h"

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <sstream>
#include <utility>

#include "KzConfig.h"
#include "KzNumbering.h"
#include "Tool.h"

namespace KzTool {

using KzUtil::Kz;
using KzUtil::KzGeometry;

namespace {

const double kDEGREE = std::acos(-1.0) / 180;  // radians per degree
constexpr double kPITCH = 1.5;                 // degrees between neighbouring pixel centres
// Centre to corner of a hexagon whose flat sides touch the neighbours one pitch away.
const double kCORNER_RADIUS = kPITCH / std::sqrt(3.0);

// Page furniture, in pixels (PNG) or points (SVG, PDF).
constexpr double kMARGIN_LEFT = 70, kMARGIN_RIGHT = 24, kMARGIN_TOP = 44, kMARGIN_BOTTOM = 58;
constexpr double kCOLOUR_BAR_SPACE = 100;  // added to the right margin for the colour bar
constexpr double kLEGEND_SPACE = 22;       // added to the bottom margin for the eyes' colours
constexpr double kPADDING = 10;            // between the plot frame and the outermost hexagons
constexpr double kLABEL_PADDING = 26;      // above the cameras, room for their labels
constexpr double kFONT = 12, kTITLE_FONT = 15, kLABEL_FONT = 11;
constexpr double kDEFAULT_SCALE = 6;  // page units per degree when no size is given
constexpr long kMIN_AUTO_WIDTH = 800, kMAX_AUTO_WIDTH = 2400;
constexpr double kCAMERA_ALPHA = 0.45;  // cameras of a field of view may overlap

// Palettes as evenly spaced stops, bottom first, 0xRRGGBB.
struct Palette {
  const char* fName;
  std::vector<unsigned int> fStops;
};

const std::vector<Palette>& Palettes() {
  static const std::vector<Palette> palettes = {
      {"viridis",
       {0x440154, 0x482878, 0x3E4A89, 0x31688E, 0x26828E, 0x1F9E89, 0x35B779, 0x6DCD59, 0xB4DE2C,
        0xFDE725}},
      {"grey", {0x000000, 0xFFFFFF}},
      {"heat", {0x000000, 0x7F0000, 0xFF0000, 0xFF7F00, 0xFFFF00, 0xFFFFBF}},
      {"bluered", {0x2166AC, 0x67A9CF, 0xD1E5F0, 0xF7F7F7, 0xFDDBC7, 0xEF8A62, 0xB2182B}},
  };
  return palettes;
}

Colour FromHex(unsigned int rgb) {
  return {((rgb >> 16) & 0xFF) / 255.0, ((rgb >> 8) & 0xFF) / 255.0, (rgb & 0xFF) / 255.0};
}

const Palette& FindPalette(const std::string& name) {
  for (const Palette& palette : Palettes())
    if (name == palette.fName) return palette;
  throw UsageError("unknown palette '" + name + "'");
}

// One colour per eye, so that the cameras of an eye belong together.
Colour EyeColour(unsigned int telescopeId) {
  static const unsigned int colours[] = {0x3B6FB6, 0xE07B2A, 0x3A9A4A, 0xC8383C, 0x7E5CB8};
  if (telescopeId < Kz::kKZ_FIRST_MIRROR || telescopeId > Kz::kKZ_LAST_MIRROR)
    return FromHex(0x808080);
  return FromHex(colours[Kz::GetEyeNoFromKzMirrorNo(telescopeId) - 1]);
}

std::string Number(double value) {
  std::ostringstream text;
  text.precision(6);
  text << (std::fabs(value) < 1e-12 ? 0.0 : value);
  return text.str();
}

// A point in a telescope's camera frame, degrees: h across the camera, toward larger
// azimuth; v upward, the telescope's elevation included. Its x-axis points to the
// axis azimuth at elevation 0, so pixel rows are rows of constant v.
struct FramePoint {
  double fH, fV;
};

FramePoint ToFrame(double relativeAzimuth, double elevation) {
  const double a = relativeAzimuth * kDEGREE, e = elevation * kDEGREE;
  return {std::asin(std::cos(e) * std::sin(a)) / kDEGREE,
          std::atan2(std::sin(e), std::cos(e) * std::cos(a)) / kDEGREE};
}

// The (relative azimuth, elevation) of a frame point.
std::pair<double, double> FromFrame(const FramePoint& point) {
  const double h = point.fH * kDEGREE, v = point.fV * kDEGREE;
  return {std::atan2(std::sin(h), std::cos(h) * std::cos(v)) / kDEGREE,
          std::asin(std::cos(h) * std::sin(v)) / kDEGREE};
}

// Corner k of a hexagon, counter-clockwise from the top, and the neighbour across the
// edge from corner k to corner k + 1, in half pitches across and rows up.
double CornerAngle(int k) { return (90 + 60 * k) * kDEGREE; }
constexpr int kNEIGHBOUR[6][2] = {{-1, 1}, {-2, 0}, {-1, -1}, {1, -1}, {2, 0}, {1, 1}};

double Normalised(double azimuth) {
  const double a = std::fmod(azimuth, 360.0);
  return a < 0 ? a + 360 : a;
}

// The azimuths moved by whole turns so that they run continuously: the cut lies in
// the widest gap between them, and the middle of their span in -180..180.
std::vector<double> Unwrapped(const std::vector<double>& azimuths) {
  std::vector<double> sorted;
  for (double azimuth : azimuths) sorted.push_back(Normalised(azimuth));
  std::sort(sorted.begin(), sorted.end());
  double start = sorted.front(), widest = -1;
  for (size_t i = 0; i < sorted.size(); ++i) {
    const double next = i + 1 < sorted.size() ? sorted[i + 1] : sorted.front() + 360;
    if (next - sorted[i] > widest) {
      widest = next - sorted[i];
      start = i + 1 < sorted.size() ? sorted[i + 1] : sorted.front();
    }
  }
  std::vector<double> unwrapped;
  for (double azimuth : azimuths) unwrapped.push_back(start + Normalised(azimuth - start));
  const auto [low, high] = std::minmax_element(unwrapped.begin(), unwrapped.end());
  const double shift = (*low + *high) / 2 > 180 ? -360 : 0;
  for (double& azimuth : unwrapped) azimuth += shift;
  return unwrapped;
}

// The first step of steps that puts ticks at least minSpacing page units apart.
double TickStep(double unitsPerDegree, double minSpacing) {
  static const double steps[] = {0.5, 1, 2, 5, 10, 15, 30, 45, 90};
  for (double step : steps)
    if (step * unitsPerDegree >= minSpacing) return step;
  return 90;
}

std::vector<double> Multiples(double low, double high, double step) {
  std::vector<double> values;
  for (double value = std::ceil(low / step - 1e-9) * step; value <= high + 1e-9 * step;
       value += step)
    values.push_back(value);
  return values;
}

// About five round values between low and high.
std::vector<double> LinearTicks(double low, double high) {
  const double rough = (high - low) / 5;
  const double decade = std::pow(10, std::floor(std::log10(rough)));
  double step = 10 * decade;
  for (double factor : {1.0, 2.0, 5.0})
    if (factor * decade >= rough) {
      step = factor * decade;
      break;
    }
  return Multiples(low, high, step);
}

// Powers of ten between low and high; 2 and 5 times them as well when there are few.
std::vector<double> LogTicks(double low, double high) {
  std::vector<double> ticks;
  static const std::vector<double> kFACTORS[] = {{1}, {1, 2, 5}};
  for (const std::vector<double>& factors : kFACTORS) {
    ticks.clear();
    for (double decade = std::pow(10, std::floor(std::log10(low))); decade <= high; decade *= 10)
      for (double factor : factors)
        if (factor * decade >= low * (1 - 1e-9) && factor * decade <= high * (1 + 1e-9))
          ticks.push_back(factor * decade);
    if (ticks.size() >= 3) return ticks;
  }
  return ticks.size() >= 2 ? ticks : LinearTicks(low, high);
}

void SetColour(cairo_t* cairo, const Colour& colour, double alpha = 1) {
  cairo_set_source_rgba(cairo, colour.fRed, colour.fGreen, colour.fBlue, alpha);
}

void SetFont(cairo_t* cairo, double size, bool bold = false) {
  cairo_select_font_face(cairo, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                         bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(cairo, size);
}

// Writes text with its ink box placed at (x, y): alignX 0 = left edge at x, 0.5 = centred,
// 1 = right edge; alignY likewise from the top (0) to the bottom (1).
void ShowText(cairo_t* cairo, double x, double y, const std::string& text, double alignX,
              double alignY) {
  cairo_text_extents_t extents;
  cairo_text_extents(cairo, text.c_str(), &extents);
  cairo_move_to(cairo, x - extents.x_bearing - alignX * extents.width,
                y - extents.y_bearing - alignY * extents.height);
  cairo_show_text(cairo, text.c_str());
}

void Line(cairo_t* cairo, double x0, double y0, double x1, double y1) {
  cairo_move_to(cairo, x0, y0);
  cairo_line_to(cairo, x1, y1);
}

cairo_status_t WriteChunk(void* file, const unsigned char* data, unsigned int length) {
  return std::fwrite(data, 1, length, static_cast<FILE*>(file)) == length
             ? CAIRO_STATUS_SUCCESS
             : CAIRO_STATUS_WRITE_ERROR;
}

// The output file: removed again unless Close() succeeded.
class OutputFile {
 public:
  explicit OutputFile(const std::string& path)
      : fPath(path), fFile(std::fopen(path.c_str(), "wb")) {
    if (!fFile) Fail(std::strerror(errno));
  }
  ~OutputFile() {
    if (!fFile) return;
    std::fclose(fFile);
    std::remove(fPath.c_str());
  }
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  FILE* Get() const { return fFile; }
  void Close() {
    FILE* file = fFile;
    fFile = nullptr;
    if (std::fclose(file) != 0) {
      std::remove(fPath.c_str());
      Fail(std::strerror(errno));
    }
  }
  [[noreturn]] void Fail(const std::string& why) const {
    throw QueryFailed("cannot write " + fPath + ": " + why);
  }

 private:
  std::string fPath;  // as given
  FILE* fFile;        // null once closed
};

struct SurfaceDeleter {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
using Surface = std::unique_ptr<cairo_surface_t, SurfaceDeleter>;

Surface CreateSurface(PictureFormat format, FILE* file, unsigned int width, unsigned int height) {
  switch (format) {
    case PictureFormat::kSvg:
      return Surface(cairo_svg_surface_create_for_stream(WriteChunk, file, width, height));
    case PictureFormat::kPdf:
      return Surface(cairo_pdf_surface_create_for_stream(WriteChunk, file, width, height));
    case PictureFormat::kPng:
      break;
  }
  return Surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height));
}

// Cairo and fontconfig keep their font caches for the whole process; handing them back
// at exit keeps leak checkers quiet.
void ReleaseFontCaches() {
  cairo_debug_reset_static_data();
  FcFini();
}

std::string Lowercase(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

}  // namespace

PictureFormat FormatOfPath(const std::string& path) {
  const size_t dot = path.rfind('.');
  const std::string extension = dot == std::string::npos ? "" : Lowercase(path.substr(dot));
  if (extension == ".png") return PictureFormat::kPng;
  if (extension == ".svg") return PictureFormat::kSvg;
  if (extension == ".pdf") return PictureFormat::kPdf;
  throw UsageError("the output file must end in .png, .svg or .pdf: '" + path + "'");
}

const char* FormatName(PictureFormat format) {
  switch (format) {
    case PictureFormat::kSvg:
      return "SVG";
    case PictureFormat::kPdf:
      return "PDF";
    case PictureFormat::kPng:
      break;
  }
  return "PNG";
}

const std::vector<std::string>& PaletteNames() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> list;
    for (const Palette& palette : Palettes()) list.push_back(palette.fName);
    return list;
  }();
  return names;
}

Colour PaletteColour(const std::string& palette, double fraction) {
  const std::vector<unsigned int>& stops = FindPalette(palette).fStops;
  const double position = std::clamp(fraction, 0.0, 1.0) * (stops.size() - 1);
  const size_t below = std::min(static_cast<size_t>(position), stops.size() - 2);
  const double t = position - below;
  const Colour a = FromHex(stops[below]), b = FromHex(stops[below + 1]);
  return {a.fRed + t * (b.fRed - a.fRed), a.fGreen + t * (b.fGreen - a.fGreen),
          a.fBlue + t * (b.fBlue - a.fBlue)};
}

double ColourScale::Fraction(double value) const {
  if (!fLog) return std::clamp((value - fLow) / (fHigh - fLow), 0.0, 1.0);
  if (value <= 0) return 0;
  return std::clamp(std::log(value / fLow) / std::log(fHigh / fLow), 0.0, 1.0);
}

// The page: margins, the plot area and the mapping of the sky into it at one scale for
// both axes, azimuth increasing to the left as on the sky seen from the eye.
class CameraPicture::Page {
 public:
  Page(double azimuthLow, double azimuthHigh, double elevationLow, double elevationHigh,
       unsigned int width, unsigned int height, double marginRight, double marginBottom) {
    const double spanAz = azimuthHigh - azimuthLow, spanEl = elevationHigh - elevationLow;
    const double fixedWidth = kMARGIN_LEFT + marginRight + 2 * kPADDING;
    const double fixedHeight = kMARGIN_TOP + marginBottom + kPADDING + kLABEL_PADDING;
    if (!width && !height)
      width = std::clamp(std::lround(kDEFAULT_SCALE * spanAz + fixedWidth), kMIN_AUTO_WIDTH,
                         kMAX_AUTO_WIDTH);
    if (!height) height = std::lround((width - fixedWidth) / spanAz * spanEl + fixedHeight);
    if (!width) width = std::lround((height - fixedHeight) / spanEl * spanAz + fixedWidth);
    fWidth = width;
    fHeight = height;
    fScale =
        std::max(1e-3, std::min((width - fixedWidth) / spanAz, (height - fixedHeight) / spanEl));
    fRight = width - marginRight;
    fBottom = height - marginBottom;
    fCentreX = (kMARGIN_LEFT + fRight) / 2;
    fCentreY = (kMARGIN_TOP + kLABEL_PADDING + fBottom - kPADDING) / 2;
    fCentreAz = (azimuthLow + azimuthHigh) / 2;
    fCentreEl = (elevationLow + elevationHigh) / 2;
  }

  double X(double azimuth) const { return fCentreX - (azimuth - fCentreAz) * fScale; }
  double Y(double elevation) const { return fCentreY - (elevation - fCentreEl) * fScale; }
  double Azimuth(double x) const { return fCentreAz - (x - fCentreX) / fScale; }
  double Elevation(double y) const { return fCentreEl - (y - fCentreY) / fScale; }

  unsigned int fWidth, fHeight;  // of the whole page
  double fScale;                 // page units per degree
  double fRight, fBottom;        // of the plot area; its left and top are the margins
  double fCentreX, fCentreY;     // page position of (fCentreAz, fCentreEl)
  double fCentreAz, fCentreEl;   // middle of the cameras
};

CameraPicture::CameraPicture(const std::vector<CameraView>& cameras) {
  std::vector<double> axes;
  for (const CameraView& view : cameras) axes.push_back(view.fGeometry->GetAxis().fAzimuth);
  const std::vector<double> unwrapped = Unwrapped(axes);
  for (size_t i = 0; i < cameras.size(); ++i) {
    fCameras.push_back({cameras[i], unwrapped[i], {}, {unwrapped[i], -HUGE_VAL}});
    LayOut(i);
  }
}

// Builds the hexagons of one camera: corners one corner radius from the pixel's centre
// in the camera frame, so that neighbours share their corners; and its outline, the
// hexagon edges without a neighbour.
void CameraPicture::LayOut(unsigned int index) {
  Layout& camera = fCameras[index];
  const KzGeometry& geometry = *camera.fView.fGeometry;
  const double axisAzimuth = geometry.GetAxis().fAzimuth;
  std::set<std::pair<long, unsigned int>> occupied;  // (half pitches across, row)
  std::vector<std::pair<long, unsigned int>> keys;
  const size_t first = fHexagons.size();
  for (unsigned int column = Kz::kMI_FIRST_COL; column <= Kz::kMI_LAST_COL; ++column) {
    for (unsigned int row = Kz::kMI_FIRST_ROW; row <= Kz::kMI_LAST_ROW; ++row) {
      const double relative = geometry.GetPixelAzimuth(column, row) - axisAzimuth;
      const double elevation = geometry.GetPixelElevation(column, row);
      Hexagon hexagon{index, column, row, {camera.fAzimuth + relative, elevation}, {}};
      const FramePoint centre = ToFrame(relative, elevation);
      for (int k = 0; k < 6; ++k) {
        const auto [az, el] = FromFrame({centre.fH + kCORNER_RADIUS * std::cos(CornerAngle(k)),
                                         centre.fV + kCORNER_RADIUS * std::sin(CornerAngle(k))});
        hexagon.fCorners[k] = {camera.fAzimuth + az, el};
        if (el > camera.fTop.fElevation) camera.fTop.fElevation = el;
      }
      fHexagons.push_back(hexagon);
      keys.emplace_back(std::lround(centre.fH / (kPITCH / 2)), row);
      occupied.insert(keys.back());
    }
  }
  for (size_t i = first; i < fHexagons.size(); ++i) {
    const auto [across, row] = keys[i - first];
    for (int k = 0; k < 6; ++k) {
      if (occupied.count({across + kNEIGHBOUR[k][0], row + kNEIGHBOUR[k][1]})) continue;
      camera.fOutlineEdges.push_back(fHexagons[i].fCorners[k]);
      camera.fOutlineEdges.push_back(fHexagons[i].fCorners[(k + 1) % 6]);
    }
  }
}

void CameraPicture::SetValues(const std::vector<std::optional<double>>& values,
                              const ColourScale& scale) {
  FindPalette(scale.fPalette);
  fValues = values;
  fValues.resize(Kz::kMI_NPIXELS);
  fScale = scale;
}

void CameraPicture::Write(const std::string& path, unsigned int width, unsigned int height) {
  const PictureFormat format = FormatOfPath(path);
  double azLow = HUGE_VAL, azHigh = -HUGE_VAL, elLow = HUGE_VAL, elHigh = -HUGE_VAL;
  for (const Hexagon& hexagon : fHexagons)
    for (const SkyPoint& corner : hexagon.fCorners) {
      azLow = std::min(azLow, corner.fAzimuth);
      azHigh = std::max(azHigh, corner.fAzimuth);
      elLow = std::min(elLow, corner.fElevation);
      elHigh = std::max(elHigh, corner.fElevation);
    }
  const Page page(azLow, azHigh, elLow, elHigh, width, height,
                  kMARGIN_RIGHT + (fScale ? kCOLOUR_BAR_SPACE : 0),
                  kMARGIN_BOTTOM + (LegendEyes().size() > 1 ? kLEGEND_SPACE : 0));

  [[maybe_unused]] static const int kReleaseAtExit = std::atexit(ReleaseFontCaches);
  OutputFile file(path);
  Surface surface = CreateSurface(format, file.Get(), page.fWidth, page.fHeight);
  cairo_t* cairo = cairo_create(surface.get());
  Draw(cairo, page);
  const cairo_status_t drawn = cairo_status(cairo);
  cairo_destroy(cairo);
  if (drawn != CAIRO_STATUS_SUCCESS) file.Fail(cairo_status_to_string(drawn));
  if (format == PictureFormat::kPng) {
    const cairo_status_t written =
        cairo_surface_write_to_png_stream(surface.get(), WriteChunk, file.Get());
    if (written != CAIRO_STATUS_SUCCESS) file.Fail(cairo_status_to_string(written));
  }
  cairo_surface_finish(surface.get());
  const cairo_status_t finished = cairo_surface_status(surface.get());
  if (finished != CAIRO_STATUS_SUCCESS) file.Fail(cairo_status_to_string(finished));
  file.Close();

  fWidth = page.fWidth;
  fHeight = page.fHeight;
  fPlacements.clear();
  for (const Hexagon& hexagon : fHexagons) {
    Kz::PixelNumberRec pixel{};
    Kz::SetPixelNoFromColumnRow(&pixel, hexagon.fColumn, hexagon.fRow);
    fPlacements.push_back({fCameras[hexagon.fCamera].fView.fTelescopeId, Kz::GetPixelNo(&pixel),
                           hexagon.fColumn, hexagon.fRow, hexagon.fCentre.fAzimuth,
                           hexagon.fCentre.fElevation, page.X(hexagon.fCentre.fAzimuth),
                           page.Y(hexagon.fCentre.fElevation)});
  }
}

void CameraPicture::Draw(cairo_t* cairo, const Page& page) const {
  cairo_set_source_rgb(cairo, 1, 1, 1);
  cairo_paint(cairo);
  DrawAxes(cairo, page);
  DrawPixels(cairo, page);
  DrawOutlines(cairo, page);
  if (fShowPixelNumbers) DrawPixelNumbers(cairo, page);
  DrawLabels(cairo, page);
  if (fScale) DrawColourBar(cairo, page);
  if (LegendEyes().size() > 1) DrawLegend(cairo, page);
  cairo_set_source_rgb(cairo, 0, 0, 0);
  SetFont(cairo, kTITLE_FONT, true);
  ShowText(cairo, (kMARGIN_LEFT + page.fRight) / 2, kMARGIN_TOP / 2, fTitle, 0.5, 0.5);
}

void CameraPicture::DrawAxes(cairo_t* cairo, const Page& page) const {
  const double left = kMARGIN_LEFT, top = kMARGIN_TOP;
  const double azStep = TickStep(page.fScale, 48), elStep = TickStep(page.fScale, 28);
  const std::vector<double> azimuths =
      Multiples(page.Azimuth(page.fRight), page.Azimuth(left), azStep);
  const std::vector<double> elevations =
      Multiples(page.Elevation(page.fBottom), page.Elevation(top), elStep);

  cairo_set_line_width(cairo, 0.6);
  cairo_set_source_rgb(cairo, 0.86, 0.86, 0.86);
  for (double azimuth : azimuths) Line(cairo, page.X(azimuth), top, page.X(azimuth), page.fBottom);
  for (double elevation : elevations)
    Line(cairo, left, page.Y(elevation), page.fRight, page.Y(elevation));
  cairo_stroke(cairo);

  cairo_set_source_rgb(cairo, 0, 0, 0);
  cairo_set_line_width(cairo, 1);
  cairo_rectangle(cairo, left, top, page.fRight - left, page.fBottom - top);
  for (double azimuth : azimuths)
    Line(cairo, page.X(azimuth), page.fBottom, page.X(azimuth), page.fBottom + 5);
  for (double elevation : elevations)
    Line(cairo, left - 5, page.Y(elevation), left, page.Y(elevation));
  cairo_stroke(cairo);

  SetFont(cairo, kFONT);
  for (double azimuth : azimuths)
    ShowText(cairo, page.X(azimuth), page.fBottom + 9, Number(azimuth), 0.5, 0);
  for (double elevation : elevations)
    ShowText(cairo, left - 9, page.Y(elevation), Number(elevation), 1, 0.5);
  ShowText(cairo, (left + page.fRight) / 2, page.fBottom + kMARGIN_BOTTOM - 10,
           "azimuth [\u00b0], increasing to the left as seen from the eye", 0.5, 1);
  cairo_save(cairo);
  cairo_translate(cairo, 14, (top + page.fBottom) / 2);
  cairo_rotate(cairo, -90 * kDEGREE);
  ShowText(cairo, 0, 0, "elevation [\u00b0]", 0.5, 0);
  cairo_restore(cairo);
}

std::optional<Colour> CameraPicture::FillOf(const Hexagon& hexagon) const {
  if (!fScale) return EyeColour(fCameras[hexagon.fCamera].fView.fTelescopeId);
  if (hexagon.fCamera != 0) return std::nullopt;
  const std::optional<double>& value =
      fValues[(hexagon.fColumn - 1) * Kz::kMI_NROWS + hexagon.fRow - 1];
  if (!value) return std::nullopt;
  return PaletteColour(fScale->fPalette, fScale->Fraction(*value));
}

// Each pixel is one closed path, filled and stroked, so that it stays one element in SVG.
void CameraPicture::DrawPixels(cairo_t* cairo, const Page& page) const {
  cairo_set_line_width(cairo, std::clamp(0.04 * kPITCH * page.fScale, 0.3, 1.0));
  cairo_set_line_join(cairo, CAIRO_LINE_JOIN_ROUND);
  for (const Hexagon& hexagon : fHexagons) {
    cairo_new_path(cairo);
    for (const SkyPoint& corner : hexagon.fCorners)
      cairo_line_to(cairo, page.X(corner.fAzimuth), page.Y(corner.fElevation));
    cairo_close_path(cairo);
    if (const std::optional<Colour> fill = FillOf(hexagon)) {
      SetColour(cairo, *fill, fScale ? 1 : kCAMERA_ALPHA);
      cairo_fill_preserve(cairo);
    }
    cairo_set_source_rgb(cairo, 0.3, 0.3, 0.3);
    cairo_stroke(cairo);
  }
}

void CameraPicture::DrawOutlines(cairo_t* cairo, const Page& page) const {
  cairo_set_line_width(cairo, 1.5);
  cairo_set_line_cap(cairo, CAIRO_LINE_CAP_ROUND);
  for (const Layout& camera : fCameras) {
    const Colour colour = EyeColour(camera.fView.fTelescopeId);
    SetColour(cairo, {colour.fRed * 0.6, colour.fGreen * 0.6, colour.fBlue * 0.6});
    for (size_t i = 0; i + 1 < camera.fOutlineEdges.size(); i += 2)
      Line(cairo, page.X(camera.fOutlineEdges[i].fAzimuth),
           page.Y(camera.fOutlineEdges[i].fElevation), page.X(camera.fOutlineEdges[i + 1].fAzimuth),
           page.Y(camera.fOutlineEdges[i + 1].fElevation));
    cairo_stroke(cairo);
  }
}

// Each label above its camera on a light box; labels of overlapping cameras move up
// until they are clear of the others.
void CameraPicture::DrawLabels(cairo_t* cairo, const Page& page) const {
  SetFont(cairo, kLABEL_FONT, true);
  std::vector<std::array<double, 4>> boxes;  // left, top, right, bottom of those written
  for (const Layout& camera : fCameras) {
    if (camera.fView.fLabel.empty()) continue;
    cairo_text_extents_t extents;
    cairo_text_extents(cairo, camera.fView.fLabel.c_str(), &extents);
    const double x = page.X(camera.fTop.fAzimuth), halfWidth = extents.width / 2 + 3;
    const double height = extents.height + 4;
    double bottom = page.Y(camera.fTop.fElevation) - 3;
    const auto overlaps = [&](const std::array<double, 4>& box) {
      return x - halfWidth < box[2] && x + halfWidth > box[0] && bottom - height < box[3] &&
             bottom > box[1];
    };
    while (std::any_of(boxes.begin(), boxes.end(), overlaps)) bottom -= height + 1;
    boxes.push_back({x - halfWidth, bottom - height, x + halfWidth, bottom});
    cairo_set_source_rgba(cairo, 1, 1, 1, 0.85);
    cairo_rectangle(cairo, x - halfWidth, bottom - height, 2 * halfWidth, height);
    cairo_fill(cairo);
    const Colour colour = EyeColour(camera.fView.fTelescopeId);
    SetColour(cairo, {colour.fRed * 0.6, colour.fGreen * 0.6, colour.fBlue * 0.6});
    ShowText(cairo, x, bottom - 2, camera.fView.fLabel, 0.5, 1);
  }
}

void CameraPicture::DrawPixelNumbers(cairo_t* cairo, const Page& page) const {
  SetFont(cairo, std::max(1.0, 0.3 * kPITCH * page.fScale));
  for (const Hexagon& hexagon : fHexagons) {
    const std::optional<Colour> fill = FillOf(hexagon);
    const bool dark =
        fScale && fill && 0.3 * fill->fRed + 0.59 * fill->fGreen + 0.11 * fill->fBlue < 0.5;
    cairo_set_source_rgb(cairo, dark, dark, dark);
    Kz::PixelNumberRec pixel{};
    Kz::SetPixelNoFromColumnRow(&pixel, hexagon.fColumn, hexagon.fRow);
    ShowText(cairo, page.X(hexagon.fCentre.fAzimuth), page.Y(hexagon.fCentre.fElevation),
             std::to_string(Kz::GetPixelNo(&pixel)), 0.5, 0.5);
  }
}

// The eyes of the cameras drawn, in order, when their colours tell them apart.
std::vector<unsigned int> CameraPicture::LegendEyes() const {
  std::vector<unsigned int> eyes;
  if (fScale) return eyes;
  for (const Layout& camera : fCameras) {
    const unsigned int id = camera.fView.fTelescopeId;
    if (id < Kz::kKZ_FIRST_MIRROR || id > Kz::kKZ_LAST_MIRROR) continue;
    const unsigned int eye = Kz::GetEyeNoFromKzMirrorNo(id);
    if (std::find(eyes.begin(), eyes.end(), eye) == eyes.end()) eyes.push_back(eye);
  }
  return eyes;
}

// One coloured square and the eye's name per eye, centred under the azimuth title.
void CameraPicture::DrawLegend(cairo_t* cairo, const Page& page) const {
  constexpr double kSQUARE = 10, kGAP = 18;
  SetFont(cairo, kFONT);
  const std::vector<unsigned int> eyes = LegendEyes();
  std::vector<std::string> names;
  std::vector<double> advances;
  double width = -kGAP;
  for (unsigned int eye : eyes) {
    names.push_back("eye " + std::to_string(eye) + " " + KzUtil::GetEyeName(eye));
    cairo_text_extents_t extents;
    cairo_text_extents(cairo, names.back().c_str(), &extents);
    advances.push_back(kSQUARE + 5 + extents.x_advance + kGAP);
    width += advances.back();
  }
  double x = (kMARGIN_LEFT + page.fRight - width) / 2;
  const double y = page.fBottom + kMARGIN_BOTTOM + kLEGEND_SPACE / 2 - 4;
  for (size_t i = 0; i < eyes.size(); ++i) {
    SetColour(cairo, EyeColour(Kz::GetKzMirrorNo(eyes[i], 1)), kCAMERA_ALPHA);
    cairo_rectangle(cairo, x, y - kSQUARE / 2, kSQUARE, kSQUARE);
    cairo_fill(cairo);
    cairo_set_source_rgb(cairo, 0, 0, 0);
    ShowText(cairo, x + kSQUARE + 5, y, names[i], 0, 0.5);
    x += advances[i];
  }
}

// A vertical bar from the bottom colour to the top colour, ticks at round values.
void CameraPicture::DrawColourBar(cairo_t* cairo, const Page& page) const {
  const double left = page.fRight + 24, width = 16, top = kMARGIN_TOP, bottom = page.fBottom;
  const std::vector<unsigned int>& stops = FindPalette(fScale->fPalette).fStops;
  cairo_pattern_t* gradient = cairo_pattern_create_linear(0, bottom, 0, top);
  for (size_t i = 0; i < stops.size(); ++i) {
    const Colour colour = FromHex(stops[i]);
    cairo_pattern_add_color_stop_rgb(gradient, static_cast<double>(i) / (stops.size() - 1),
                                     colour.fRed, colour.fGreen, colour.fBlue);
  }
  cairo_rectangle(cairo, left, top, width, bottom - top);
  cairo_set_source(cairo, gradient);
  cairo_fill_preserve(cairo);
  cairo_pattern_destroy(gradient);
  cairo_set_source_rgb(cairo, 0, 0, 0);
  cairo_set_line_width(cairo, 1);
  const std::vector<double> ticks = fScale->fLog ? LogTicks(fScale->fLow, fScale->fHigh)
                                                 : LinearTicks(fScale->fLow, fScale->fHigh);
  for (double tick : ticks) {
    const double y = bottom - fScale->Fraction(tick) * (bottom - top);
    Line(cairo, left + width, y, left + width + 5, y);
  }
  cairo_stroke(cairo);
  SetFont(cairo, kFONT);
  for (double tick : ticks)
    ShowText(cairo, left + width + 8, bottom - fScale->Fraction(tick) * (bottom - top),
             Number(tick), 0, 0.5);
  if (fScale->fLog) ShowText(cairo, left, bottom + 9, "log scale", 0, 0);
}

}  // namespace KzTool
