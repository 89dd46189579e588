// kzutil number: one detector address in all of its numbering forms.
#include <iomanip>
#include <optional>

#include "Commands.h"
#include "KzConfig.h"
#include "KzNumbering.h"
#include "NumberCommand.h"
#include "Tool.h"

namespace KzTool {

using KzUtil::Kz;

namespace {

// The command line as given; unset options stay empty.
struct NumberArgs {
  std::optional<unsigned int> fEye, fMirror, fKzMirror, fKzPixel;
  std::optional<unsigned int> fPixel, fColumn, fRow, fModule, fChannel;
};

void CheckRange(unsigned int value, int first, int last, const std::string& what) {
  if (value < static_cast<unsigned int>(first) || value > static_cast<unsigned int>(last))
    throw UsageError(what + " " + std::to_string(value) + " is outside " + std::to_string(first) +
                     ".." + std::to_string(last));
}

// Eye and eye-local mirror from --eye/--mirror or --kz-mirror; the library checks the ranges.
std::pair<unsigned int, unsigned int> ResolveMirror(const NumberArgs& args) {
  Kz::MirrorNumberRec mirror{};
  if (args.fKzMirror) {
    CheckedByLibrary([&] { Kz::SetKzMirrorNo(&mirror, *args.fKzMirror); });
    return {Kz::GetEyeNoFromKzMirrorNo(*args.fKzMirror),
            Kz::GetMirrorNoFromKzMirrorNo(*args.fKzMirror)};
  }
  unsigned int nMirrors = 0;
  CheckedByLibrary([&] { nMirrors = Kz::GetEyeNMirrors(*args.fEye); });
  if (!args.fMirror) return {*args.fEye, 0};
  CheckedByLibrary([&] { Kz::SetMirrorNo(&mirror, *args.fMirror); });
  if (*args.fMirror > nMirrors)
    throw UsageError("eye " + std::to_string(*args.fEye) + " (" + KzUtil::GetEyeName(*args.fEye) +
                     ") has mirrors 1.." + std::to_string(nMirrors) + ", not " +
                     std::to_string(*args.fMirror));
  return {*args.fEye, *args.fMirror};
}

// The camera pixel 1..480 from --pixel, --column/--row or --module/--channel; 0 when none.
void SetCameraPixel(const NumberArgs& args, Kz::PixelNumberRec& pixel) {
  if (args.fPixel) {
    CheckRange(*args.fPixel, Kz::kMI_FIRST_PIXEL, Kz::kMI_LAST_EXTPIXEL, "pixel");
    Kz::SetPixelNo(&pixel, *args.fPixel);
  } else if (args.fColumn) {
    CheckRange(*args.fColumn, Kz::kMI_FIRST_COL, Kz::kMI_LAST_COL, "column");
    CheckRange(*args.fRow, Kz::kMI_FIRST_ROW, Kz::kMI_LAST_VCROW, "row");
    Kz::SetPixelNoFromColumnRow(&pixel, *args.fColumn, *args.fRow);
  } else if (args.fModule) {
    CheckRange(*args.fModule, Kz::kMI_FIRST_MODULE, Kz::kMI_LAST_MODULE, "module");
    CheckRange(*args.fChannel, Kz::kMI_FIRST_CHANNEL, Kz::kMI_LAST_VCROW - 1, "channel");
    Kz::SetPixelNoFromModuleChannel(&pixel, *args.fModule, *args.fChannel);
  }
}

void Field(Result& result, const char* label, const char* key, unsigned int value,
           const std::string& note = "") {
  result.fText << std::left << std::setw(11) << label << value << note << "\n";
  result.fJson[key] = value;
}

void Describe(const Kz::PixelNumberRec& pixel, bool withMirror, bool withPixel, Result& result) {
  const unsigned int eye = Kz::GetEyeNo(&pixel);
  const std::string name = KzUtil::GetEyeName(eye);
  Field(result, "eye", "eye", eye, " (" + name + ")");
  result.fJson["eye_name"] = name;
  if (!withMirror) {
    Field(result, "mirrors", "mirrors", Kz::GetEyeNMirrors(eye));
    Field(result, "Kz mirrors", "first_kz_mirror", Kz::GetKzMirrorNo(eye, 1),
          ".." + std::to_string(Kz::GetKzLastMirrorNo(eye)));
    result.fJson["last_kz_mirror"] = Kz::GetKzLastMirrorNo(eye);
    return;
  }
  Field(result, "mirror", "mirror", Kz::GetMirrorNo(&pixel));
  Field(result, "Kz mirror", "kz_mirror", Kz::GetKzMirrorNo(&pixel));
  if (!withPixel) return;
  const bool virtualChannel = Kz::GetRowNo(&pixel) > static_cast<unsigned int>(Kz::kMI_LAST_ROW);
  Field(result, "pixel", "pixel", Kz::GetPixelNo(&pixel),
        virtualChannel ? " (virtual channel)" : "");
  Field(result, "column", "column", Kz::GetColumnNo(&pixel));
  Field(result, "row", "row", Kz::GetRowNo(&pixel));
  Field(result, "module", "module", Kz::GetModuleNo(&pixel));
  Field(result, "channel", "channel", Kz::GetChannelNo(&pixel));
  Field(result, "eye pixel", "eye_pixel", Kz::GetEyePixelNo(&pixel));
  Field(result, "Kz pixel", "kz_pixel", Kz::GetKzPixelNo(&pixel));
  result.fJson["virtual_channel"] = virtualChannel;
}

void Convert(const NumberArgs& args, Result& result) {
  if (args.fKzPixel) return Describe(PixelFromKzPixel(*args.fKzPixel), true, true, result);
  const bool withPixel = args.fPixel || args.fColumn || args.fModule;
  if (!args.fEye && !args.fKzMirror)
    throw UsageError(withPixel ? "a pixel needs its mirror: --eye and --mirror, or --kz-mirror"
                               : "give --eye, --kz-mirror or --kz-pixel");
  if (withPixel && !args.fMirror && !args.fKzMirror)
    throw UsageError("a pixel needs its mirror: add --mirror");
  const auto [eye, mirror] = ResolveMirror(args);
  Kz::PixelNumberRec pixel{};
  Kz::SetEyeNo(&pixel, eye);
  Kz::SetMirrorNo(&pixel, mirror);
  SetCameraPixel(args, pixel);
  Describe(pixel, mirror != 0, withPixel, result);
}

CLI::Option* AddNumber(CLI::App* sub, const std::string& name, std::optional<unsigned int>& value,
                       const std::string& help) {
  return sub->add_option_function<std::string>(
      name, [&value, name](const std::string& text) { value = ParseUnsigned(text, name); }, help);
}

}  // namespace

Kz::PixelNumberRec PixelFromKzPixel(unsigned int kzPixel) {
  CheckRange(kzPixel, Kz::kKZ_FIRST_PIXEL, Kz::kKZ_NMIRRORS * Kz::kMI_NEXTPIXELS, "Kz pixel");
  Kz::KzPixelNumberRec kz{};
  Kz::SetPixelNo(&kz, kzPixel);
  Kz::PixelNumberRec pixel{};
  Kz::SetEyeNo(&pixel, Kz::GetEyeNo(&kz));
  Kz::SetMirrorNo(&pixel, Kz::GetEyeMirrorNo(&kz));
  Kz::SetPixelNo(&pixel, Kz::GetMirrorPixelNo(&kz));
  return pixel;
}

void AddNumberCommand(CLI::App& app) {
  auto args = std::make_shared<NumberArgs>();
  CLI::App* sub = app.add_subcommand(
      "number",
      "Convert between eye/mirror/pixel, column/row, module/channel, Kz mirror and Kz "
      "pixel numbers");
  CLI::Option* eye = AddNumber(sub, "--eye", args->fEye, "Eye 1..5 (5 = Loft)");
  CLI::Option* mirror = AddNumber(sub, "--mirror", args->fMirror, "Mirror within the eye, 1..6");
  CLI::Option* kzMirror = AddNumber(sub, "--kz-mirror", args->fKzMirror, "Kz mirror 1..27");
  CLI::Option* kzPixel = AddNumber(sub, "--kz-pixel", args->fKzPixel, "Kz pixel 1..12960");
  CLI::Option* pixel = AddNumber(sub, "--pixel", args->fPixel, "Camera pixel 1..480");
  CLI::Option* column = AddNumber(sub, "--column", args->fColumn, "Column 1..20");
  CLI::Option* row = AddNumber(sub, "--row", args->fRow, "Row 1..24 (23, 24: virtual channels)");
  CLI::Option* module = AddNumber(sub, "--module", args->fModule, "Module 0..19");
  CLI::Option* channel = AddNumber(sub, "--channel", args->fChannel, "Channel 0..23");
  mirror->needs(eye);
  kzMirror->excludes(eye)->excludes(mirror);
  kzPixel->excludes(eye)->excludes(mirror)->excludes(kzMirror)->excludes(pixel);
  kzPixel->excludes(column)->excludes(row)->excludes(module)->excludes(channel);
  column->needs(row);
  row->needs(column);
  module->needs(channel);
  channel->needs(module);
  pixel->excludes(column)->excludes(row)->excludes(module)->excludes(channel);
  column->excludes(module)->excludes(channel);
  row->excludes(module)->excludes(channel);
  sub->footer(
      "Examples:\n"
      "  kzutil number --eye 2 --mirror 3 --column 10 --row 11\n"
      "  kzutil number --kz-mirror 26 --pixel 441     # Loft mirror 2, a virtual channel\n"
      "  kzutil number --kz-pixel 3361 --json\n"
      "  kzutil number --eye 5                        # the mirrors of an eye\n"
      "Numbers outside the library's ranges are usage errors (exit status 2).");
  SetAction(sub, [args](Result& result) { Convert(*args, result); });
}

}  // namespace KzTool
