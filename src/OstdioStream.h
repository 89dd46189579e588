// An output stream that writes through a C stdio file the caller already holds;
// the file is flushed, never closed, when the stream goes.
//   OstdioStream log(stderr);
//   log << "reading from " << path << '\n';
#ifndef KZUTIL_OSTDIOSTREAM_H
#define KZUTIL_OSTDIOSTREAM_H

#include <cstdio>
#include <ext/stdio_filebuf.h>
#include <ostream>

namespace KzUtil {

class OstdioStream : public std::ostream {
 public:
  explicit OstdioStream(FILE* file);
  ~OstdioStream() override;

 private:
  OstdioStream() = delete;
  OstdioStream(const OstdioStream&) = delete;
  OstdioStream& operator=(const OstdioStream&) = delete;

  static constexpr std::size_t kBUFFER_SIZE = 8192;

  __gnu_cxx::stdio_filebuf<char> fFilebuf;  // writes to the caller's FILE*, which it does not own
};

}  // namespace KzUtil

#endif
