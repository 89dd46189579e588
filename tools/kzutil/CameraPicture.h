// Pictures of telescope cameras on the sky: every pixel a hexagon at its
// (azimuth, elevation), cameras outlined and labelled, azimuth and elevation axes
// with ticks and grid; optionally one camera filled with values and a colour bar.
// The file's extension (.png, .svg, .pdf) selects the format.
//   CameraPicture picture({{3, &KzGeometry::GetInstance(3u), "3: eye 1 mirror 3"}});
//   picture.Write("fov.png", 800, 0);  // the height follows from the picture's aspect
#ifndef KZUTIL_TOOLS_KZUTIL_CAMERAPICTURE_H
#define KZUTIL_TOOLS_KZUTIL_CAMERAPICTURE_H

#include <cairo.h>

#include <optional>
#include <string>
#include <vector>

#include "KzGeometry.h"

namespace KzTool {

enum class PictureFormat { kPng, kSvg, kPdf };

// The format named by path's extension; UsageError for any other extension.
PictureFormat FormatOfPath(const std::string& path);
const char* FormatName(PictureFormat format);  // "PNG", "SVG", "PDF"

struct Colour {
  double fRed, fGreen, fBlue;  // 0..1
};

const std::vector<std::string>& PaletteNames();  // the first one is the default
// The colour at fraction 0..1 (clamped) of the named palette; 1 gives its top colour.
Colour PaletteColour(const std::string& palette, double fraction);

// How values become colours: fLow gets the bottom colour, fHigh the top one.
struct ColourScale {
  std::string fPalette;  // one of PaletteNames()
  bool fLog;             // logarithmic between fLow > 0 and fHigh
  double fLow, fHigh;    // fLow < fHigh
  // The position of value along the palette, 0..1; values outside the range are clamped.
  double Fraction(double value) const;
};

// One telescope to draw.
struct CameraView {
  unsigned int fTelescopeId;            // absolute id 1..27; also selects the eye's colour
  const KzUtil::KzGeometry* fGeometry;  // axis and pixel directions
  std::string fLabel;                   // written above the camera
};

// Where one pixel went on the page.
struct PixelPlacement {
  unsigned int fTelescopeId;  // absolute id
  unsigned int fPixel;        // camera pixel 1..440
  unsigned int fColumn;       // 1..20
  unsigned int fRow;          // 1..22
  double fAzimuth;            // degrees as drawn, unwrapped across 0/360
  double fElevation;          // degrees
  double fX, fY;              // centre on the page, from the top left corner
};

class CameraPicture {
 public:
  explicit CameraPicture(const std::vector<CameraView>& cameras);

  void SetTitle(const std::string& title) { fTitle = title; }
  // Writes each pixel's number into its hexagon.
  void ShowPixelNumbers(bool show) { fShowPixelNumbers = show; }
  // Fills the pixels of the first camera: values[pixel - 1]; a pixel without value stays empty.
  void SetValues(const std::vector<std::optional<double>>& values, const ColourScale& scale);

  // Draws the picture into path, width x height pixels (PNG) or points (SVG, PDF).
  // A size of 0 follows from the other one and the picture's aspect.
  void Write(const std::string& path, unsigned int width, unsigned int height);

  unsigned int Width() const { return fWidth; }    // of the last Write
  unsigned int Height() const { return fHeight; }  // of the last Write
  const std::vector<PixelPlacement>& Placements() const { return fPlacements; }

 private:
  struct SkyPoint {
    double fAzimuth, fElevation;  // degrees, azimuth unwrapped
  };
  // One pixel's hexagon on the sky.
  struct Hexagon {
    unsigned int fCamera;        // index into fCameras
    unsigned int fColumn, fRow;  // camera position
    SkyPoint fCentre;            // the library's pixel direction
    SkyPoint fCorners[6];        // counter-clockwise in the camera frame, the top one first
  };
  // A camera as laid out: its pixels and its outline.
  struct Layout {
    CameraView fView;                     // what was asked for
    double fAzimuth;                      // of the axis, unwrapped
    std::vector<SkyPoint> fOutlineEdges;  // pairs of end points of the outer hexagon edges
    SkyPoint fTop;                        // highest point of the camera, for its label
  };
  class Page;

  void LayOut(unsigned int camera);
  void Draw(cairo_t* cairo, const Page& page) const;
  void DrawAxes(cairo_t* cairo, const Page& page) const;
  void DrawPixels(cairo_t* cairo, const Page& page) const;
  void DrawOutlines(cairo_t* cairo, const Page& page) const;
  void DrawLabels(cairo_t* cairo, const Page& page) const;
  void DrawPixelNumbers(cairo_t* cairo, const Page& page) const;
  void DrawColourBar(cairo_t* cairo, const Page& page) const;
  void DrawLegend(cairo_t* cairo, const Page& page) const;
  std::vector<unsigned int> LegendEyes() const;
  std::optional<Colour> FillOf(const Hexagon& hexagon) const;

  std::vector<Layout> fCameras;                // in drawing order
  std::vector<Hexagon> fHexagons;              // every pixel of every camera
  std::vector<std::optional<double>> fValues;  // of the first camera, empty = no values
  std::optional<ColourScale> fScale;           // set together with fValues
  std::string fTitle;                          // above the plot
  bool fShowPixelNumbers = false;              // numbers inside the hexagons
  unsigned int fWidth = 0, fHeight = 0;        // of the last Write
  std::vector<PixelPlacement> fPlacements;     // of the last Write
};

}  // namespace KzTool

#endif
