// Numbering helpers that other kzutil subcommands share with `kzutil number`.
//   Kz::PixelNumberRec p = PixelFromKzPixel(3361);  // eye 2, mirror 2, pixel 1
#ifndef KZUTIL_TOOLS_KZUTIL_NUMBERCOMMAND_H
#define KZUTIL_TOOLS_KZUTIL_NUMBERCOMMAND_H

#include "KzNumbering.h"

namespace KzTool {

// The eye-local address (eye, eye-local mirror, camera pixel) of a Kz pixel 1..12960;
// UsageError outside that range.
KzUtil::Kz::PixelNumberRec PixelFromKzPixel(unsigned int kzPixel);

}  // namespace KzTool

#endif
