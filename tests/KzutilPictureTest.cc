// kzutil fov and display: the pictures are read back as PNG images, SVG documents
// and PDF files and checked for their size, their hexagons and their colours.
#include <cairo.h>
#include <expat.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <regex>
#include <tuple>

#include "KzutilTestSupport.h"

using KzTest::KzutilRun;
using KzTest::ReadFile;
using KzTest::TempDir;

namespace {

// A PNG file read back through cairo.
class Png {
 public:
  explicit Png(const std::string& path)
      : fSurface(cairo_image_surface_create_from_png(path.c_str()), cairo_surface_destroy) {}
  int Width() const { return cairo_image_surface_get_width(fSurface.get()); }
  int Height() const { return cairo_image_surface_get_height(fSurface.get()); }
  // The colour at page position (x, y) as 0xRRGGBB, or 0x1000000 outside the picture.
  unsigned int At(double x, double y) const {
    cairo_surface_flush(fSurface.get());
    const unsigned char* data = cairo_image_surface_get_data(fSurface.get());
    if (!data || x < 0 || y < 0 || x >= Width() || y >= Height()) return 0x1000000;
    const unsigned char* row =
        data + static_cast<int>(y) * cairo_image_surface_get_stride(fSurface.get());
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
    svg.fInDefs += element == "defs";
    if (svg.fInDefs) return;
    svg.fGlyphs += element == "use";
    for (const XML_Char** a = attributes; element == "path" && *a; a += 2)
      if (std::string(a[0]) == "d") svg.AddIfHexagon(a[1]);
  }
  static void End(void* data, const XML_Char* name) {
    static_cast<Svg*>(data)->fInDefs -= std::string(name) == "defs";
  }
  void AddIfHexagon(const std::string& d) {
    static const std::regex hexagon("M [-0-9.]+ [-0-9.]+(?: L [-0-9.]+ [-0-9.]+){5} Z M [-0-9. ]+");
    if (!std::regex_match(d, hexagon)) return;
    std::istringstream words(d);
    std::vector<Point> corners(6);
    std::string command;
    for (Point& corner : corners) words >> command >> corner.fX >> corner.fY;
    fHexagons.push_back(corners);
  }

  int fInDefs = 0;  // depth of <defs> elements around the current one
};

// What of pixel n (1..440) of the telescope a --json report gives: "x", "y", "azimuth".
double Placement(const nlohmann::json& report, unsigned int telescope, unsigned int pixel,
                 const char* what) {
  for (const nlohmann::json& p : report["pixels"])
    if (p["telescope"] == telescope && p["pixel"] == pixel) return p[what].get<double>();
  ADD_FAILURE() << "no pixel " << pixel << " of telescope " << telescope;
  return -1;
}

size_t Matches(const std::string& text, const std::string& pattern) {
  const std::regex regex(pattern);
  return std::distance(std::sregex_iterator(text.begin(), text.end(), regex),
                       std::sregex_iterator());
}

// Pictures drawn in a directory of their own; relative file names are the directory's.
class Pictures : public ::testing::Test {
 protected:
  KzutilRun Run(const std::string& command) const { return KzutilRun(command, fDir.Path()); }
  nlohmann::json Json(const std::string& command) const { return Run(command).Json(); }
  std::string Path(const std::string& file) const { return fDir.Path() + "/" + file; }
  // The colour of pixel n of telescope 1 in the picture a --json report describes.
  unsigned int Colour(const nlohmann::json& report, unsigned int pixel) const {
    return Png(Path(report["file"]))
        .At(Placement(report, 1, pixel, "x"), Placement(report, 1, pixel, "y"));
  }

  TempDir fDir;  // where the pictures go
};
using KzutilPicture = Pictures;
using KzutilFov = Pictures;
using KzutilDisplay = Pictures;

}  // namespace

// Each picture is read back as the kind its summary names: a PNG of its size, an SVG with one
// hexagon per pixel, a PDF of one page of its size in points. --ids writes the digits of the
// numbers 1..440. CSV lines may end in CR LF.
TEST_F(KzutilPicture, EveryFormatIsReadBackWithItsSizeAndHexagons) {
  fDir.Write("v.csv", "# two pixels only\r\n\r\n5,7,1.5\r\n20,22,3\r\n");
  const std::vector<std::pair<std::string, std::string>> pictures = {
      {"fov --eye 1 --width 640 --height 480 -o eye1.png",
       "eye1.png: PNG 640 x 480, 6 cameras, 2640 pixels"},
      {"fov --eye 3 --mirror 2 --width 800 --height 700 -o cam.svg",
       "cam.svg: SVG 800 x 700, 1 camera, 440 pixels"},
      {"fov --eye 3 --mirror 2 --width 800 --height 700 --ids -o ids.svg",
       "ids.svg: SVG 800 x 700, 1 camera, 440 pixels"},
      {"fov --width 2400 --height 500 -o all.svg",
       "all.svg: SVG 2400 x 500, 27 cameras, 11880 pixels"},
      {"fov --eye 4 --width 842 --height 595 -o eye4.pdf",
       "eye4.pdf: PDF 842 x 595, 6 cameras, 2640 pixels"},
      {"display 4 6 v.csv --width 500 --height 400 -o d.pdf",
       "d.pdf: PDF 500 x 400, 1 camera, 440 pixels"}};
  for (const auto& [command, summary] : pictures) {
    KzTest::ExpectCases({{command, 0, summary + "\n"}}, fDir.Path());
    char file[16] = "", kind[4] = "";
    int width = 0, height = 0, pixels = 0;
    ASSERT_EQ(std::sscanf(summary.c_str(), "%15[^:]: %3s %d x %d, %*[^,], %d", file, kind, &width,
                          &height, &pixels),
              5);
    SCOPED_TRACE(file);
    if (kind == std::string("PNG")) {
      const Png png(Path(file));
      EXPECT_EQ(std::make_pair(png.Width(), png.Height()), std::make_pair(width, height));
    } else if (kind == std::string("SVG")) {
      const Svg svg(Path(file));
      EXPECT_TRUE(svg.fParsed);
      EXPECT_EQ(svg.fHexagons.size(), static_cast<size_t>(pixels));
    } else {
      const std::string pdf = ReadFile(Path(file));
      EXPECT_EQ(pdf.rfind("%PDF-", 0), 0u);
      EXPECT_EQ(Matches(pdf, "/Type /Page\\b(?!s)"), 1u);
      EXPECT_EQ(Matches(pdf, "/MediaBox \\[ ?0 0 " + std::to_string(width) + " " +
                                 std::to_string(height) + " ?\\]"),
                1u);
    }
  }
  size_t digits = 0;
  for (unsigned int n = 1; n <= 440; ++n) digits += std::to_string(n).size();
  EXPECT_EQ(Svg(Path("ids.svg")).fGlyphs - Svg(Path("cam.svg")).fGlyphs, digits);
}

// Hexagons of one pitch touch: each corner of an inner pixel (18 x 20 of them) is a corner of
// two more hexagons, at the same place, and no corner is shared by more. Smaller hexagons
// would share none, larger ones overlap.
TEST_F(KzutilFov, NeighbouringHexagonsShareTheirCorners) {
  ASSERT_EQ(Run("fov --eye 1 --mirror 3 -o cam.svg").fExitCode, 0);
  const Svg svg(Path("cam.svg"));
  ASSERT_EQ(svg.fHexagons.size(), 440u);
  size_t inner = 0;
  for (const std::vector<Point>& hexagon : svg.fHexagons) {
    size_t shared = 0;
    for (const Point& corner : hexagon) {
      size_t sharing = 0;
      for (const std::vector<Point>& other : svg.fHexagons)
        for (const Point& p : other)
          sharing += std::hypot(p.fX - corner.fX, p.fY - corner.fY) < 0.01;
      EXPECT_LE(sharing, 3u);
      shared += sharing == 3;
    }
    inner += shared == 6;
  }
  EXPECT_EQ(inner, 18u * 20u);
}

// Telescope 1 looks at -14.865 degrees; configured as 345.135 it must stay where it was,
// next to telescope 2, and the picture as wide.
TEST_F(KzutilFov, CamerasFollowTheirAzimuthsLeftwardAcrossNorth) {
  fDir.Write("north.ini", "[Geometry]\naxis1 = 345.135 16.04\n");
  const nlohmann::json built = Json("fov --eye 1 -o a.png --json");
  const nlohmann::json turned = Json("fov --eye 1 --config ./north.ini -o b.png --json");
  EXPECT_GT(Placement(built, 1, 230, "x"), Placement(built, 2, 230, "x"));
  EXPECT_EQ(turned["cameras"][0]["azimuth"], 345.135);
  EXPECT_EQ(turned["width"], built["width"]);
  for (unsigned int telescope : {1u, 2u, 6u})
    for (unsigned int pixel : {1u, 440u})
      EXPECT_NEAR(Placement(turned, telescope, pixel, "x"), Placement(built, telescope, pixel, "x"),
                  0.05);
}

TEST_F(KzutilFov, LoftTiltChoosesTheConfiguredAxis) {
  fDir.Write("loft.ini", "[Geometry]\nloft2 = 3.24 10 3.24 40 3.24 30\n");
  for (const auto& [tilt, elevation] :
       std::map<std::string, double>{{"", 30}, {"--tilt up", 40}, {"--tilt down", 10}}) {
    const nlohmann::json report = Json("fov --eye 5 --config ./loft.ini --json -o l.png " + tilt);
    EXPECT_EQ(report["cameras"][1]["telescope"], 26);
    EXPECT_EQ(report["cameras"][1]["elevation"], elevation);
  }
}

// Nothing is written for a failed picture.
TEST_F(KzutilFov, BadOutputNamesAndConfigurationsFail) {
  fDir.Write("other.ini", "[Timing]\nleap1 = 1 2\n");
  KzTest::ExpectUsageErrors({{"fov --eye 1 -o fov.gif", "must end in .png, .svg or .pdf"}},
                            fDir.Path());
  KzTest::ExpectCases(
      {{"fov --config ./other.ini -o fov.png", 1, "",
        "kzutil: error: no group [Geometry] in ./other.ini\n"},
       {"fov --eye 1 -o missing/fov.png", 1, "",
        "kzutil: error: cannot write missing/fov.png: No such file or directory\n"}},
      fDir.Path());
  EXPECT_EQ(ReadFile(Path("fov.png")), "");
}

// Pixels 1..4 (column 1, rows 1..4) hold 1, 10, 100 and -5; pixel 5 has no value. The
// maximum gets the top colour of the palette, the minimum the bottom one; --range clamps;
// --log spreads decades and gives values without a logarithm the bottom colour.
TEST_F(KzutilDisplay, ValuesGetThePaletteColours) {
  fDir.Write("v.csv", "column,row,value\n1,1,1\n1,2,10\n1,3,100\n1,4,-5\n");
  const std::vector<std::tuple<std::string, unsigned int, unsigned int>> colours = {
      {"", 3, 0xFDE725},
      {"", 4, 0x440154},
      {"", 5, 0xFFFFFF},
      {"--palette grey", 3, 0xFFFFFF},
      {"--range 2 50", 3, 0xFDE725},
      {"--range 2 50", 1, 0x440154},
      {"--log", 4, 0x440154}};
  for (const auto& [options, pixel, colour] : colours) {
    SCOPED_TRACE(options + ", pixel " + std::to_string(pixel));
    EXPECT_EQ(Colour(Json("display 1 1 v.csv -o c.png --json " + options), pixel), colour);
  }
  EXPECT_EQ(Json("display 1 1 v.csv -o c.png --json")["range"], nlohmann::json({-5, 100}));
  const nlohmann::json log = Json("display 1 1 v.csv --log -o l.png --json");
  EXPECT_EQ(log["range"], nlohmann::json({1, 100}));
  // 10 lies half-way: between the fifth and sixth viridis stops, 0x26828E and 0x1F9E89.
  const unsigned int middle = Colour(log, 2);
  for (unsigned int shift : {16u, 8u, 0u})
    EXPECT_NEAR((middle >> shift) & 0xFF,
                (((0x26828E >> shift) & 0xFF) + ((0x1F9E89 >> shift) & 0xFF)) / 2.0, 1);
}

// No picture is written for a bad file.
TEST_F(KzutilDisplay, MalformedLineIsNamedWithItsNumber) {
  const std::map<std::string, std::string> cases = {
      {"1,5\n2,x\n", "line 2: 'x' is not a finite number"},
      {"pixel,value\n441,1\n", "line 2: pixel 441 is outside 1..440"},
      {"1,1,1\n\n21,1,5\n", "line 3: column 21 is outside 1..20"},
      {"1,2,3,4\n", "line 1: expected column,row,value or pixel,value, not 4 fields"},
      {"7,1\n# again\n1,7,2\n", "line 3: pixel 7 (column 1, row 7) was given already on line 1"},
      {"-3,1\n", "line 1: '-3' is not a pixel number"}};
  for (const auto& [content, message] : cases) {
    fDir.Write("bad.csv", content);
    KzTest::ExpectCases(
        {{"display 1 1 bad.csv -o bad.png", 1, "", "kzutil: error: bad.csv, " + message + "\n"}},
        fDir.Path());
    EXPECT_EQ(ReadFile(Path("bad.png")), "");
  }
}

TEST_F(KzutilDisplay, CameraRangeAndPaletteAreCheckedAsUsage) {
  fDir.Write("v.csv", "1,1\n");
  KzTest::ExpectUsageErrors(
      {{"display 5 4 v.csv -o x.png", "eye 5 (Loft) has mirrors 1..3, not 4"},
       {"display 1 1 v.csv --range 3 3 -o x.png", "--range needs LO below HI"},
       {"display 1 1 v.csv --log --range 0 3 -o x.png", "--log needs a --range above 0"},
       {"display 1 1 v.csv --palette rainbow -o x.png",
        "--palette: rainbow not in {viridis,grey,heat,bluered}"}},
      fDir.Path());
}
