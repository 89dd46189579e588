// kzutil fov and display: the pictures are read back as PNG images, SVG documents
// and PDF files and checked for their size, their hexagons and their colours.
#include <cairo.h>
#include <expat.h>

#include <cmath>
#include <cstdint>
#include <map>
#include <memory>
#include <regex>
#include <sstream>

#include "KzutilTestSupport.h"

using KzTest::KzutilCall;
using KzTest::KzutilRun;
using KzTest::ReadFile;
using KzTest::TempDir;

namespace {

// A PNG file read back through cairo.
class Png {
 public:
  explicit Png(const std::string& path)
      : fSurface(cairo_image_surface_create_from_png(path.c_str()), cairo_surface_destroy) {}
  bool Opened() const { return cairo_surface_status(fSurface.get()) == CAIRO_STATUS_SUCCESS; }
  int Width() const { return cairo_image_surface_get_width(fSurface.get()); }
  int Height() const { return cairo_image_surface_get_height(fSurface.get()); }
  // The colour at page position (x, y) as 0xRRGGBB.
  unsigned int At(double x, double y) const {
    cairo_surface_flush(fSurface.get());
    const unsigned char* row = cairo_image_surface_get_data(fSurface.get()) +
                               static_cast<int>(y) * cairo_image_surface_get_stride(fSurface.get());
    return reinterpret_cast<const uint32_t*>(row)[static_cast<int>(x)] & 0xFFFFFF;
  }

 private:
  std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> fSurface;
};

struct Point {
  double fX, fY;
};

// An SVG file parsed as XML: its hexagons (closed paths of six corners outside <defs>)
// and its glyph uses (one per character written).
class Svg {
 public:
  bool fParsed = false;                       // a well-formed XML document
  std::vector<std::vector<Point>> fHexagons;  // corners of each, in page units
  size_t fGlyphs = 0;                         // <use> elements

  explicit Svg(const std::string& path) {
    const std::string text = ReadFile(path);
    std::unique_ptr<XML_ParserStruct, void (*)(XML_Parser)> parser(XML_ParserCreate(nullptr),
                                                                   XML_ParserFree);
    XML_SetUserData(parser.get(), this);
    XML_SetElementHandler(parser.get(), Start, End);
    fParsed = !text.empty() && XML_Parse(parser.get(), text.data(), static_cast<int>(text.size()),
                                         1) == XML_STATUS_OK;
  }

 private:
  static void Start(void* data, const XML_Char* name, const XML_Char** attributes) {
    Svg& svg = *static_cast<Svg*>(data);
    const std::string element = name;
    if (element == "defs") ++svg.fInDefs;
    if (svg.fInDefs) return;
    if (element == "use") ++svg.fGlyphs;
    if (element != "path") return;
    for (const XML_Char** a = attributes; *a; a += 2)
      if (std::string(a[0]) == "d") svg.AddIfHexagon(a[1]);
  }
  static void End(void* data, const XML_Char* name) {
    if (std::string(name) == "defs") --static_cast<Svg*>(data)->fInDefs;
  }
  void AddIfHexagon(const std::string& d) {
    static const std::regex hexagon(
        "M ([-0-9.]+) ([-0-9.]+)(?: L ([-0-9.]+) ([-0-9.]+)){5} Z M [-0-9. ]+");
    if (!std::regex_match(d, hexagon)) return;
    std::istringstream words(d);
    std::vector<Point> corners;
    std::string command;
    for (int i = 0; i < 6 && words >> command; ++i) {
      Point corner{};
      words >> corner.fX >> corner.fY;
      corners.push_back(corner);
    }
    fHexagons.push_back(corners);
  }

  int fInDefs = 0;  // depth of <defs> elements around the current one
};

// Runs kzutil with the given arguments in dir (relative paths are dir's).
KzutilRun Kzutil(const TempDir& dir, const std::vector<std::string>& args) {
  return KzutilRun(KzutilCall{args, {}, dir.Path()});
}

// The placement of pixel n (1..440) of the telescope in a --json report.
nlohmann::json Placement(const nlohmann::json& report, unsigned int telescope, unsigned int pixel) {
  for (const nlohmann::json& p : report["pixels"])
    if (p["telescope"] == telescope && p["pixel"] == pixel) return p;
  ADD_FAILURE() << "no pixel " << pixel << " of telescope " << telescope;
  return {{"x", 0}, {"y", 0}};
}

unsigned int ColourAt(const Png& png, const nlohmann::json& placement) {
  return png.At(placement["x"].get<double>(), placement["y"].get<double>());
}

// A CSV file of pixel values: one "pixel,value" line per entry.
std::string Csv(const std::map<unsigned int, double>& values) {
  std::ostringstream text;
  text << "pixel,value\n";
  for (const auto& [pixel, value] : values) text << pixel << "," << value << "\n";
  return text.str();
}

size_t Digits(unsigned int first, unsigned int last) {
  size_t digits = 0;
  for (unsigned int n = first; n <= last; ++n) digits += std::to_string(n).size();
  return digits;
}

}  // namespace

TEST(KzutilFov, PngHasTheRequestedSize) {
  TempDir dir;
  KzutilRun run =
      Kzutil(dir, {"fov", "--eye", "1", "--width", "640", "--height", "480", "-o", "eye1.png"});
  ASSERT_EQ(run.fExitCode, 0) << run.fStderr;
  EXPECT_EQ(run.fStdout, "eye1.png: PNG 640 x 480, 6 cameras, 2640 pixels\n");
  Png png(dir.Path() + "/eye1.png");
  ASSERT_TRUE(png.Opened());
  EXPECT_EQ(png.Width(), 640);
  EXPECT_EQ(png.Height(), 480);
}

TEST(KzutilFov, WidthAloneGivesTheHeightOfTheSkyAspect) {
  TempDir dir;
  const nlohmann::json wide =
      Kzutil(dir, {"fov", "--eye", "2", "--width", "1200", "-o", "e.png", "--json"}).Json();
  const nlohmann::json one = Kzutil(dir, {"fov", "--eye", "2", "--mirror", "1", "--width", "1200",
                                          "-o", "m.png", "--json"})
                                 .Json();
  Png png(dir.Path() + "/e.png");
  ASSERT_TRUE(png.Opened());
  EXPECT_EQ(png.Width(), 1200);
  EXPECT_EQ(png.Height(), wide["height"]);
  // Six cameras side by side make a flat picture, one camera an almost square one.
  EXPECT_LT(wide["height"].get<int>(), 500);
  EXPECT_GT(one["height"].get<int>(), 900);
}

TEST(KzutilFov, SvgHoldsOneHexagonPerPixel) {
  TempDir dir;
  const std::vector<std::pair<std::vector<std::string>, size_t>> cases = {
      {{"--eye", "3", "--mirror", "2"}, 440}, {{"--eye", "5"}, 3 * 440}, {{}, 27 * 440}};
  for (const auto& [selection, hexagons] : cases) {
    std::vector<std::string> args = {"fov", "-o", "fov.svg"};
    args.insert(args.end(), selection.begin(), selection.end());
    ASSERT_EQ(Kzutil(dir, args).fExitCode, 0);
    Svg svg(dir.Path() + "/fov.svg");
    ASSERT_TRUE(svg.fParsed);
    EXPECT_EQ(svg.fHexagons.size(), hexagons);
  }
}

TEST(KzutilFov, PdfHasOnePageOfTheRequestedSize) {
  TempDir dir;
  ASSERT_EQ(
      Kzutil(dir, {"fov", "--eye", "4", "--width", "842", "--height", "595", "-o", "eye4.pdf"})
          .fExitCode,
      0);
  const std::string pdf = ReadFile(dir.Path() + "/eye4.pdf");
  EXPECT_EQ(pdf.rfind("%PDF-", 0), 0u);
  EXPECT_NE(pdf.find("%%EOF", pdf.size() - 8), std::string::npos);
  const std::regex page("/Type /Page\\b(?!s)");
  EXPECT_EQ(
      std::distance(std::sregex_iterator(pdf.begin(), pdf.end(), page), std::sregex_iterator()), 1);
  EXPECT_TRUE(std::regex_search(pdf, std::regex("/MediaBox \\[ ?0 0 842 595 ?\\]"))) << pdf;
}

// Hexagons of one pitch touch: every corner of an inner pixel is a corner of two more
// hexagons, at the same place. Smaller ones would share none, larger ones overlap.
TEST(KzutilFov, NeighbouringHexagonsShareTheirCorners) {
  TempDir dir;
  const nlohmann::json report =
      Kzutil(dir, {"fov", "--eye", "1", "--mirror", "3", "-o", "cam.svg", "--json"}).Json();
  Svg svg(dir.Path() + "/cam.svg");
  ASSERT_EQ(svg.fHexagons.size(), 440u);
  const auto same = [](const Point& a, const Point& b) {
    return std::hypot(a.fX - b.fX, a.fY - b.fY) < 0.01;
  };
  size_t innerPixels = 0;
  for (const nlohmann::json& pixel : report["pixels"]) {
    const unsigned int column = pixel["column"], row = pixel["row"];
    if (column == 1 || column == 20 || row == 1 || row == 22) continue;
    const Point centre{pixel["x"], pixel["y"]};
    const std::vector<Point>* own = nullptr;
    for (const std::vector<Point>& hexagon : svg.fHexagons) {
      Point mean{0, 0};
      for (const Point& corner : hexagon) mean = {mean.fX + corner.fX / 6, mean.fY + corner.fY / 6};
      if (std::hypot(mean.fX - centre.fX, mean.fY - centre.fY) < 1) own = &hexagon;
    }
    ASSERT_NE(own, nullptr) << "no hexagon around column " << column << " row " << row;
    for (const Point& corner : *own) {
      size_t sharing = 0;
      for (const std::vector<Point>& hexagon : svg.fHexagons)
        for (const Point& other : hexagon) sharing += same(corner, other);
      EXPECT_EQ(sharing, 3u) << "column " << column << " row " << row;
    }
    ++innerPixels;
  }
  EXPECT_EQ(innerPixels, 18u * 20u);
}

TEST(KzutilFov, CamerasFollowTheirAzimuthsLeftward) {
  TempDir dir;
  const nlohmann::json report = Kzutil(dir, {"fov", "--eye", "1", "-o", "e.png", "--json"}).Json();
  std::vector<double> x;
  for (unsigned int telescope = 1; telescope <= 6; ++telescope)
    x.push_back(Placement(report, telescope, 230)["x"].get<double>());
  // Axes 30 degrees apart, at one scale: equal steps to the left.
  for (size_t i = 1; i < x.size(); ++i) {
    EXPECT_LT(x[i], x[i - 1]);
    EXPECT_NEAR(x[i - 1] - x[i], x[0] - x[1], 0.02 * (x[0] - x[1]));
  }
}

// Telescope 1 looks at -14.865 degrees; configured as 345.135 it must stay next to telescope 2.
TEST(KzutilFov, AzimuthsAcrossNorthAreDrawnContinuously) {
  TempDir dir;
  dir.Write("north.ini", "[Geometry]\naxis1 = 345.135 16.04\n");
  const nlohmann::json built = Kzutil(dir, {"fov", "--eye", "1", "-o", "a.png", "--json"}).Json();
  const nlohmann::json turned =
      Kzutil(dir, {"fov", "--eye", "1", "--config", "./north.ini", "-o", "b.png", "--json"}).Json();
  EXPECT_EQ(turned["cameras"][0]["azimuth"], 345.135);
  EXPECT_EQ(turned["width"], built["width"]);
  for (unsigned int telescope : {1u, 2u, 6u}) {
    for (unsigned int pixel : {1u, 230u, 440u}) {
      EXPECT_NEAR(Placement(turned, telescope, pixel)["x"].get<double>(),
                  Placement(built, telescope, pixel)["x"].get<double>(), 0.05);
      EXPECT_NEAR(Placement(turned, telescope, pixel)["azimuth"].get<double>(),
                  Placement(built, telescope, pixel)["azimuth"].get<double>(), 0.001);
    }
  }
}

TEST(KzutilFov, IdsWriteEveryPixelNumber) {
  TempDir dir;
  ASSERT_EQ(Kzutil(dir, {"fov", "--eye", "2", "--mirror", "4", "-o", "plain.svg"}).fExitCode, 0);
  ASSERT_EQ(Kzutil(dir, {"fov", "--eye", "2", "--mirror", "4", "--ids", "-o", "ids.svg"}).fExitCode,
            0);
  Svg plain(dir.Path() + "/plain.svg"), ids(dir.Path() + "/ids.svg");
  ASSERT_TRUE(plain.fParsed && ids.fParsed);
  EXPECT_EQ(ids.fGlyphs - plain.fGlyphs, Digits(1, 440));
}

TEST(KzutilFov, LoftTiltChoosesTheConfiguredAxis) {
  TempDir dir;
  dir.Write("loft.ini", "[Geometry]\nloft2 = 3.24 10 3.24 40 3.24 30\n");
  const std::vector<std::string> loft = {"fov", "--eye", "5", "--config", "./loft.ini", "--json"};
  std::map<std::string, double> elevations;
  for (const std::string tilt : {"", "up", "down"}) {
    std::vector<std::string> args = loft;
    args.insert(args.end(), {"-o", "loft" + tilt + ".png"});
    if (!tilt.empty()) args.insert(args.end(), {"--tilt", tilt});
    const nlohmann::json report = Kzutil(dir, args).Json();
    ASSERT_EQ(report["cameras"].size(), 3u);
    elevations[tilt] = report["cameras"][1]["elevation"];
    EXPECT_EQ(report["cameras"][1]["telescope"], 26);
  }
  EXPECT_EQ(elevations[""], 30);
  EXPECT_EQ(elevations["up"], 40);
  EXPECT_EQ(elevations["down"], 10);
}

TEST(KzutilFov, BadOutputNamesAndConfigurationsFail) {
  TempDir dir;
  dir.Write("other.ini", "[Timing]\nleap1 = 1 2\n");
  KzutilRun gif = Kzutil(dir, {"fov", "--eye", "1", "-o", "fov.gif"});
  EXPECT_USAGE_ERROR(gif, "must end in .png, .svg or .pdf");
  KzutilRun noGroup = Kzutil(dir, {"fov", "--config", "./other.ini", "-o", "fov.png"});
  EXPECT_EQ(noGroup.fExitCode, 1);
  EXPECT_NE(noGroup.fStderr.find("no group [Geometry]"), std::string::npos) << noGroup.fStderr;
  KzutilRun noDir = Kzutil(dir, {"fov", "--eye", "1", "-o", "missing/fov.png"});
  EXPECT_EQ(noDir.fExitCode, 1);
  EXPECT_NE(noDir.fStderr.find("cannot write missing/fov.png"), std::string::npos);
  EXPECT_EQ(ReadFile(dir.Path() + "/fov.png"), "");
}

TEST(KzutilDisplay, MaximumGetsTheTopColourOfEachPalette) {
  const std::map<std::string, std::pair<unsigned int, unsigned int>> palettes = {
      {"viridis", {0x440154, 0xFDE725}},
      {"grey", {0x000000, 0xFFFFFF}},
      {"heat", {0x000000, 0xFFFFBF}},
      {"bluered", {0x2166AC, 0xB2182B}}};
  TempDir dir;
  dir.Write("v.csv", Csv({{17, 2.0}, {200, 9.5}, {201, 5.0}, {440, -1.5}}));
  for (const auto& [palette, ends] : palettes) {
    const nlohmann::json report = Kzutil(dir, {"display", "3", "2", "v.csv", "--palette", palette,
                                               "-o", palette + ".png", "--json"})
                                      .Json();
    Png png(dir.Path() + "/" + palette + ".png");
    ASSERT_TRUE(png.Opened()) << palette;
    EXPECT_EQ(ColourAt(png, Placement(report, 14, 200)), ends.second) << palette;
    EXPECT_EQ(ColourAt(png, Placement(report, 14, 440)), ends.first) << palette;
    EXPECT_EQ(ColourAt(png, Placement(report, 14, 1)), 0xFFFFFFu) << palette << ": empty pixel";
    EXPECT_EQ(report["range"], nlohmann::json({-1.5, 9.5}));
  }
}

TEST(KzutilDisplay, RangeClampsAndLogSpreadsDecades) {
  TempDir dir;
  dir.Write("v.csv", "column,row,value\n1,1,1\n1,2,10\n1,3,100\n1,4,-5\n");
  const nlohmann::json clamped =
      Kzutil(dir, {"display", "1", "1", "v.csv", "--range", "2", "50", "-o", "r.png", "--json"})
          .Json();
  Png range(dir.Path() + "/r.png");
  EXPECT_EQ(ColourAt(range, Placement(clamped, 1, 3)), 0xFDE725u);  // 100 above 50
  EXPECT_EQ(ColourAt(range, Placement(clamped, 1, 1)), 0x440154u);  // 1 below 2
  EXPECT_EQ(ColourAt(range, Placement(clamped, 1, 4)), 0x440154u);

  const nlohmann::json log =
      Kzutil(dir, {"display", "1", "1", "v.csv", "--log", "-o", "l.png", "--json"}).Json();
  EXPECT_EQ(log["range"], nlohmann::json({1, 100}));
  Png png(dir.Path() + "/l.png");
  // 10 lies half-way: between the fifth and sixth viridis stops, 0x26828E and 0x1F9E89.
  const unsigned int middle = ColourAt(png, Placement(log, 1, 2));
  EXPECT_NEAR(middle >> 16, (0x26 + 0x1F) / 2.0, 1);
  EXPECT_NEAR((middle >> 8) & 0xFF, (0x82 + 0x9E) / 2.0, 1);
  EXPECT_NEAR(middle & 0xFF, (0x8E + 0x89) / 2.0, 1);
  EXPECT_EQ(ColourAt(png, Placement(log, 1, 4)), 0x440154u);  // -5 has no logarithm
}

TEST(KzutilDisplay, EveryFormatHoldsTheWholeCamera) {
  TempDir dir;
  dir.Write("v.csv", "# two pixels only\r\n\r\n5,7,1.5\r\n20,22,3\r\n");
  for (const std::string file : {"d.png", "d.svg", "d.pdf"}) {
    KzutilRun run = Kzutil(dir, {"display", "4", "6", "v.csv", "-o", file, "--width", "500"});
    ASSERT_EQ(run.fExitCode, 0) << run.fStderr;
    EXPECT_NE(run.fStdout.find(", 1 camera, 440 pixels"), std::string::npos) << run.fStdout;
  }
  Png png(dir.Path() + "/d.png");
  ASSERT_TRUE(png.Opened());
  EXPECT_EQ(png.Width(), 500);
  Svg svg(dir.Path() + "/d.svg");
  ASSERT_TRUE(svg.fParsed);
  EXPECT_EQ(svg.fHexagons.size(), 440u);
  EXPECT_NE(ReadFile(dir.Path() + "/d.pdf").find("/Type /Page"), std::string::npos);
}

TEST(KzutilDisplay, MalformedLineIsNamedWithItsNumber) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"1,5\n2,x\n", "line 2: 'x' is not a finite number"},
      {"pixel,value\n441,1\n", "line 2: pixel 441 is outside 1..440"},
      {"1,1,1\n\n21,1,5\n", "line 3: column 21 is outside 1..20"},
      {"3,23,1\n", "line 1: row 23 is outside 1..22"},
      {"1,2,3,4\n", "line 1: expected column,row,value or pixel,value, not 4 fields"},
      {"7,1\n# again\n1,7,2\n", "line 3: pixel 7 (column 1, row 7) was given already on line 1"},
      {"1,nan\n", "line 1: 'nan' is not a finite number"},
      {"-3,1\n", "line 1: '-3' is not a pixel number"}};
  for (const auto& [content, message] : cases) {
    TempDir dir;
    dir.Write("bad.csv", content);
    KzutilRun run = Kzutil(dir, {"display", "1", "1", "bad.csv", "-o", "bad.png"});
    EXPECT_EQ(run.fExitCode, 1) << content;
    EXPECT_EQ(run.fStdout, "");
    EXPECT_EQ(run.fStderr, "kzutil: error: bad.csv, " + message + "\n");
    EXPECT_EQ(ReadFile(dir.Path() + "/bad.png"), "") << "no picture of a bad file";
  }
}

TEST(KzutilDisplay, CameraAndRangeAreCheckedAsUsage) {
  TempDir dir;
  dir.Write("v.csv", "1,1\n");
  KzutilRun loft = Kzutil(dir, {"display", "5", "4", "v.csv", "-o", "x.png"});
  EXPECT_USAGE_ERROR(loft, "eye 5 (Loft) has mirrors 1..3, not 4");
  KzutilRun range = Kzutil(dir, {"display", "1", "1", "v.csv", "--range", "3", "3", "-o", "x.png"});
  EXPECT_USAGE_ERROR(range, "--range needs LO below HI");
  KzutilRun log =
      Kzutil(dir, {"display", "1", "1", "v.csv", "--log", "--range", "0", "3", "-o", "x.png"});
  EXPECT_USAGE_ERROR(log, "--log needs a --range above 0");
  KzutilRun palette =
      Kzutil(dir, {"display", "1", "1", "v.csv", "--palette", "rainbow", "-o", "x.png"});
  EXPECT_EQ(palette.fExitCode, 2);
}
