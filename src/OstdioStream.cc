#include "OstdioStream.h"

namespace KzUtil {

// stdio_filebuf flushes the FILE* when it takes it over, so earlier output of
// the caller stays in front of ours.
OstdioStream::OstdioStream(FILE* file)
    : std::ostream(nullptr), fFilebuf(file, std::ios::out, kBUFFER_SIZE) {
  init(&fFilebuf);
  if (!fFilebuf.is_open()) setstate(std::ios::badbit);
}

OstdioStream::~OstdioStream() { flush(); }

}  // namespace KzUtil
