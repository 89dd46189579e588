#include "Inifile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "ErrorLogger.h"
#include "KzNaming.h"

namespace KzUtil {

unsigned int Inifile::fgPrintLevel = 1;

namespace {

const char kDELIMITERS[] = "\n\t= ";
const char kNO_GROUP[] = "group has to be defined!!";
const std::size_t kNO_LINE = std::string::npos;
const std::size_t kSTREAM_BUFFER_SIZE = 16384;  // holds a whole group of a usual file
const std::size_t kLINE_CAPACITY = 256;

// The reader line strtok was last started on, and a replaced line buffer kept
// alive because strtok's process-wide state may still point into it.
char* gTokenizedLine = NULL;
char* gRetiredLine = NULL;

void SetError(int* error, int value) {
  if (error) *error = value;
}

// strtol's long is cut to int.
int ParseNumber(const char* text, char** end, int) {
  return static_cast<int>(strtol(text, end, 0));
}
double ParseNumber(const char* text, char** end, double) { return strtod(text, end); }

// The number at the start of text; error 0 only when at least one character converted.
template <typename T>
T ToNumber(const char* text, int* error) {
  SetError(error, -1);
  if (text == NULL) return 0;
  char* end = NULL;
  const T value = ParseNumber(text, &end, T());
  if (end != text) SetError(error, 0);
  return value;
}

// A defaulted getter built on its plain form: the plain answer unless it
// reported -1 (or the file is unusable), then def with -1.
template <typename T, typename Getter>
T WithDefault(int status, const Getter& get, T def, int* error) {
  int e = status == -1 ? -1 : 0;
  const T value = e == -1 ? T() : get(&e);
  SetError(error, e == -1 ? -1 : 0);
  return e == -1 ? def : value;
}

// The places searched after the host's configuration directory: a directory
// from the environment is tried with its suffix, an unset one is only reported.
struct _SearchDirRec {
  const char* fVariable;   // null for the fixed directory
  const char* fDirectory;  // suffix to the variable's value, or the fixed directory
  const char* fUnsetText;  // reported when the variable is unset
};

const _SearchDirRec kSEARCH_DIRS_AFTER_CONFIG[] = {
    {"HOME", "/", "$HOME/"},
    {NULL, "/opt/vesta/etc/", NULL},
    {"KZ_ROOT", "/etc/", "$KZ_ROOT/etc/"},
    {"KZDAS_CONFIG_DIR", "/config/", "$KZDAS_CONFIG_DIR/"},
    {"KZDAS_BASE_DIR", "/config/", "$KZDAS_BASE_DIR/"},
    {"INIFILE_PATH", "/", "$INIFILE_PATH/"},
};

std::string NotFound(const std::string& directory, const char* filename) {
  KZ_LOG(ErrorLogger::eWarning, "Inifile::Locate() - could not find " << directory << filename);
  return std::string();
}

const char* Printable(const char* text) { return text ? text : "(null)"; }

// strcmp(token, key) == 0 for the short keys compared on every line of a group,
// without the library call's set-up cost.
bool SameKey(const char* token, const char* key) {
  while (*token != 0 && *token == *key) {
    ++token;
    ++key;
  }
  return *token == *key;
}

}  // namespace

// ---------------------------------------------------------------------------
// Line storage

Inifile::LineBuffer::LineBuffer()
    : fData(new char[kLINE_CAPACITY + 1]()), fSize(0), fCapacity(kLINE_CAPACITY) {}

Inifile::LineBuffer::~LineBuffer() { Release(fData); }

void Inifile::LineBuffer::Release(char* data) {
  if (data != gTokenizedLine) {
    delete[] data;
    return;
  }
  delete[] gRetiredLine;
  gRetiredLine = data;
}

void Inifile::LineBuffer::Truncate(std::size_t size) {
  fSize = size;
  fData[fSize] = 0;
}

void Inifile::LineBuffer::Append(const char* text, std::size_t length) {
  if (fSize + length > fCapacity) {
    const std::size_t capacity = std::max(fSize + length, 2 * fCapacity);
    char* data = new char[capacity + 1]();
    memcpy(data, fData, fSize);
    Release(fData);
    fData = data;
    fCapacity = capacity;
  }
  memcpy(fData + fSize, text, length);
  Truncate(fSize + length);
}

char* Inifile::LineBuffer::Tokenize(const char* delimiters) {
  delete[] gRetiredLine;  // strtok forgets it with this call
  gRetiredLine = NULL;
  gTokenizedLine = fData;
  return strtok(fData, delimiters);
}

// ---------------------------------------------------------------------------
// File

Inifile::LineStream::LineStream()
    : fFd(-1),
      fState(std::ios::goodbit),
      fBuffer(new char[kSTREAM_BUFFER_SIZE]),
      fBufferStart(0),
      fBufferLength(0),
      fBufferPos(0) {}

Inifile::LineStream::~LineStream() {
  if (fFd >= 0) close(fFd);
}

bool Inifile::LineStream::Open(const char* path) {
  if (fFd >= 0) close(fFd);
  fFd = path ? open(path, O_RDONLY | O_CLOEXEC) : -1;
  fBufferStart = 0;
  fBufferLength = fBufferPos = 0;
  if (fFd < 0) {
    fState |= std::ios::failbit;
    return false;
  }
  fState = std::ios::goodbit;
  return true;
}

bool Inifile::LineStream::Close() {
  const bool closed = fFd >= 0 && close(fFd) == 0;
  fFd = -1;
  if (!closed) SetFailed();
  return closed;
}

void Inifile::LineStream::Seek(std::streampos position) {
  const off_t target = static_cast<off_t>(static_cast<std::streamoff>(position));
  if (fState != std::ios::goodbit || fFd < 0 || target < 0) {
    SetFailed();
    return;
  }
  if (target >= fBufferStart && target <= fBufferStart + static_cast<off_t>(fBufferLength)) {
    fBufferPos = static_cast<std::size_t>(target - fBufferStart);
    return;
  }
  fBufferStart = target;
  fBufferLength = fBufferPos = 0;
}

std::streampos Inifile::LineStream::Tell() const {
  if (Failed() || fFd < 0) return std::streampos(-1);
  return std::streampos(fBufferStart + static_cast<off_t>(fBufferPos));
}

// Appends to the buffer while it has room, so a file shorter than the buffer
// is read once; bytes read, 0 at the end of the file, -1 on error.
ssize_t Inifile::LineStream::Fill() {
  if (fFd < 0) return 0;
  if (fBufferLength == kSTREAM_BUFFER_SIZE) {
    fBufferStart += static_cast<off_t>(fBufferLength);
    fBufferLength = fBufferPos = 0;
  }
  ssize_t n;
  do {
    n = pread(fFd, fBuffer.get() + fBufferLength, kSTREAM_BUFFER_SIZE - fBufferLength,
              fBufferStart + static_cast<off_t>(fBufferLength));
  } while (n < 0 && errno == EINTR);
  if (n > 0) fBufferLength += static_cast<std::size_t>(n);
  return n;
}

bool Inifile::LineStream::ReadLine(LineBuffer& line) {
  line.Clear();
  if (fState != std::ios::goodbit) {
    SetFailed();
    return false;
  }
  bool extracted = false;
  for (;;) {
    if (fBufferPos == fBufferLength) {
      const ssize_t n = Fill();
      if (n < 0) fState |= std::ios::badbit;
      if (n == 0) fState |= extracted ? std::ios::eofbit : std::ios::eofbit | std::ios::failbit;
      if (n <= 0) return false;
    }
    const char* begin = fBuffer.get() + fBufferPos;
    const std::size_t available = fBufferLength - fBufferPos;
    const char* newline = static_cast<const char*>(memchr(begin, '\n', available));
    const std::size_t length = newline ? static_cast<std::size_t>(newline - begin) : available;
    line.Append(begin, length);
    fBufferPos += length;
    extracted = extracted || length > 0;
    if (newline) {
      ++fBufferPos;
      return true;
    }
  }
}

// ---------------------------------------------------------------------------
// Location, opening and closing

Inifile::Inifile(const char* filename) : fLineptr(kNO_LINE), fPtr(NULL), fGrPos(0), fStatus(-1) {
  KZ_ASSERT(filename != NULL && *filename != 0);
  if (fgPrintLevel > 1) KZ_LOG(ErrorLogger::eInfo, "Inifile::Inifile('" << filename << "') -");
  fFilename = Locate(filename);
  OpenFound("Inifile::Inifile() - found ");
  fStatus = StatusFromStream();
}

Inifile::Inifile(const char* filename, FILE* logfile, const char* secondDir, const char* thirdDir)
    : fLineptr(kNO_LINE), fPtr(NULL), fGrPos(0), fStatus(-1) {
  KZ_ASSERT(logfile != NULL);
  KZ_ASSERT(filename != NULL && *filename != 0);
  OstdioStream log(logfile);
  if (fgPrintLevel > 1)
    KZ_LOG(ErrorLogger::eInfo,
           "Inifile::Inifile('" << filename << "','" << static_cast<const void*>(logfile) << "','"
                                << Printable(secondDir) << "','" << Printable(thirdDir) << "'");
  std::string path = TestFile("", filename);
  if (path.empty()) log << "Inifile::Inifile() - could not open " << filename << '\n';
  if (path.empty()) {
    path = TestFile("./", filename);
    if (path.empty()) log << "Inifile::Inifile() - could not open ./" << filename << '\n';
  }
  for (const char* directory : {secondDir, thirdDir}) {
    if (!path.empty() || directory == NULL) continue;
    path = TestFile(directory, filename);
    if (path.empty())
      log << "Inifile::Inifile() - could not open " << directory << "/" << filename << '\n';
  }
  fFilename = path;
  if (!fFilename.empty() && Inifile::Open(fFilename.c_str()) == 0 && !fInifile.Failed())
    log << "Inifile::Inifile() - reading from " << fFilename << " ...\n";
  fStatus = StatusFromStream();
  if (fStatus != 0) log << "Inifile::Inifile() - could not open any " << filename << " !!!\n";
}

Inifile::Inifile(const Inifile& rhs) : fLineptr(kNO_LINE), fPtr(NULL), fGrPos(0), fStatus(-1) {
  if (fgPrintLevel > 1)
    KZ_LOG(ErrorLogger::eInfo, "Inifile::Inifile(const Inifile&) - file= " << rhs.GetFilename());
  fFilename = Locate(rhs.GetFilename());
  OpenFound("Inifile::Inifile(const Inifile&) - found ");
  fStatus = StatusFromStream();
}

Inifile::~Inifile() { Close(); }

void Inifile::OpenFound(const char* foundText) {
  if (fFilename.empty()) return;
  if (fgPrintLevel > 1) KZ_LOG(ErrorLogger::eInfo, foundText << fFilename);
  Inifile::Open(fFilename.c_str());
}

std::string Inifile::TestFile(std::string directory, std::string filename) {
  std::string candidate;
  if (directory.empty()) {
    // Without a directory only names that say where they are, like ../x.ini.
    if (filename.find("./") == std::string::npos) return std::string();
    candidate = filename;
  } else {
    candidate = directory;
    if (candidate.back() != '/') candidate += '/';
    candidate += filename;
  }
  FILE* file = fopen(candidate.c_str(), "r");
  if (file == NULL) return std::string();
  fclose(file);
  return candidate;
}

std::string Inifile::Locate(const char* filename) {
  KZ_ASSERT(filename != NULL && *filename != 0);
  const char* slash = strrchr(filename, '/');
  if (slash) {
    const std::string path =
        TestFile(std::string(filename, static_cast<std::size_t>(slash - filename)), slash + 1);
    if (!path.empty()) return path;
  }
  auto tryDirectory = [filename](const std::string& directory) {
    const std::string path = TestFile(directory, filename);
    return path.empty() ? NotFound(directory, filename) : path;
  };
  std::string path = tryDirectory("./");
  if (path.empty()) path = tryDirectory(Singleton<KzNaming>::GetInstance().GetConfigDirectory());
  for (const _SearchDirRec& dir : kSEARCH_DIRS_AFTER_CONFIG) {
    if (!path.empty()) return path;
    if (dir.fVariable == NULL) {
      path = tryDirectory(dir.fDirectory);
      continue;
    }
    const char* value = getenv(dir.fVariable);
    path = value ? tryDirectory(value + std::string(dir.fDirectory))
                 : NotFound(dir.fUnsetText, filename);
  }
  if (path.empty())
    KZ_LOG(ErrorLogger::eError,
           "Inifile::Locate() - could not find " << filename << " in any directory !!!");
  return path;
}

int Inifile::Open(const char* filename) {
  if (fgPrintLevel > 1)
    KZ_LOG(ErrorLogger::eInfo, "Inifile::Open('" << Printable(filename) << "') -");
  if (!fInifile.Open(filename)) {
    fInifile.Close();
    fStatus = -1;
    return -1;
  }
  if (fgPrintLevel > 1) {
    KZ_LOG(ErrorLogger::eInfo,
           "Inifile::Open() - fInifile= " << static_cast<const void*>(&fInifile));
    KZ_LOG(ErrorLogger::eInfo, "Inifile::Open() - reading from " << filename << " ...");
  }
  fStatus = 0;
  return 0;
}

int Inifile::Open() { return fFilename.empty() ? -1 : Open(fFilename.c_str()); }

// The second close always fails and leaves the stream failed until the next Open.
void Inifile::Close() {
  if (fgPrintLevel > 1)
    KZ_LOG(ErrorLogger::eInfo, "Inifile::Close() - fInifile= " << static_cast<const void*>(
                                   fInifile.Failed() ? NULL : &fInifile));
  if (fStatus == 0 && !fInifile.Failed()) fInifile.Close();
  fInifile.Close();
}

// ---------------------------------------------------------------------------
// Reading

// Tabs become blanks and the line ends at its first ';' or '#': cutting at the
// first ';' and then at the first '#' comes to the same.
std::size_t Inifile::GetLine() {
  if (!fInifile.ReadLine(fLinebuf)) return kNO_LINE;
  char* line = fLinebuf.Data();
  const std::size_t size = fLinebuf.Size();
  for (std::size_t i = 0; i < size; ++i) {
    if (line[i] == '\t') {
      line[i] = ' ';
    } else if (line[i] == ';' || line[i] == '#') {
      fLinebuf.Truncate(i);
      break;
    }
  }
  return 0;
}

void Inifile::Reset() {
  fInifile.Seek(0);
  fLineptr = 0;
}

int Inifile::SpecifyGroup(const char* group) {
  fGrPos = 0;
  if (fStatus == -1 || group == NULL) return -1;
  Reset();
  fGroup = std::string("[") + group + "]";
  for (;;) {
    fLineptr = GetLine();
    if (fLineptr == kNO_LINE) return -1;
    // The header may stand anywhere on the line.
    const char* line = fLinebuf.Tokenize("\n");
    if (line && strstr(line, fGroup.c_str())) break;
  }
  fGrPos = fInifile.Tell();
  fLineptr = GetLine();
  return fLineptr == 0 ? 0 : -1;
}

const char* Inifile::GetFirstString(const char* entry) {
  if (fStatus == -1) return NULL;
  if (fGroup.empty()) {
    perror(kNO_GROUP);
    return NULL;
  }
  fInifile.Seek(fGrPos);
  for (fLineptr = GetLine(); fLineptr != kNO_LINE; fLineptr = GetLine()) {
    // Only a '[' in column one ends the group.
    if (fLinebuf.Data()[0] == '[') return NULL;
    fPtr = fLinebuf.Tokenize(kDELIMITERS);
    if (fPtr && entry && SameKey(fPtr, entry)) return fPtr = strtok(NULL, kDELIMITERS);
  }
  return NULL;
}

const char* Inifile::GetNextString(int* error) {
  if (fStatus == -1) {
    SetError(error, -1);
    return NULL;
  }
  if (fGroup.empty()) perror(kNO_GROUP);
  if (fGroup.empty() || fPtr == NULL) {
    SetError(error, -1);
    return NULL;
  }
  return fPtr = strtok(NULL, kDELIMITERS);
}

const char* Inifile::GetFirstString(const char* entry, const char* def_str, int* error) {
  auto get = [this, entry](int* e) {
    const char* value = GetFirstString(entry);
    if (value == NULL) *e = -1;
    return value;
  };
  return WithDefault<const char*>(fStatus, get, def_str, error);
}

const char* Inifile::GetNextString(const char* def_string, int* error) {
  auto get = [this](int* e) { return GetNextString(e); };
  const char* value = WithDefault<const char*>(fStatus, get, def_string, error);
  return value ? value : def_string;
}

int Inifile::GetFirstValue(const char* entry, int* error) {
  return ToNumber<int>(fStatus == -1 ? NULL : GetFirstString(entry), error);
}

int Inifile::GetFirstValue(const char* entry, int def_value, int* error) {
  auto get = [this, entry](int* e) { return GetFirstValue(entry, e); };
  return WithDefault(fStatus, get, def_value, error);
}

int Inifile::GetNextValue(int* error) {
  return ToNumber<int>(fStatus == -1 ? NULL : GetNextString(static_cast<int*>(NULL)), error);
}

int Inifile::GetNextValue(int def_value, int* error) {
  auto get = [this](int* e) { return GetNextValue(e); };
  return WithDefault(fStatus, get, def_value, error);
}

double Inifile::GetFirstFloat(const char* entry, int* error) {
  return ToNumber<double>(fStatus == -1 ? NULL : GetFirstString(entry), error);
}

double Inifile::GetFirstFloat(const char* entry, double def_value, int* error) {
  auto get = [this, entry](int* e) { return GetFirstFloat(entry, e); };
  return WithDefault(fStatus, get, def_value, error);
}

double Inifile::GetNextFloat(int* error) {
  return ToNumber<double>(fStatus == -1 ? NULL : GetNextString(static_cast<int*>(NULL)), error);
}

double Inifile::GetNextFloat(double def_value, int* error) {
  auto get = [this](int* e) { return GetNextFloat(e); };
  return static_cast<float>(WithDefault(fStatus, get, def_value, error));
}

// ---------------------------------------------------------------------------
// Escape decoder

char Inifile::Digit2Value(char digit) {
  if (digit >= '0' && digit <= '9') return static_cast<char>(digit - '0');
  if (digit >= 'A' && digit <= 'F') return static_cast<char>(digit - 'A' + 10);
  if (digit >= 'a' && digit <= 'f') return static_cast<char>(digit - 'a' + 10);
  return 127;
}

// Leaves *src on the last character consumed.
char Inifile::Digits2Value(char** src, char* end, int base) {
  if ((base == 16 || base == 8) && *src < end) ++*src;  // past the 'x' or the '0'
  if (base == 8 && *src < end && **src == 'x') return Digits2Value(src, end, 16);
  const int maxDigits = base == 16 ? 2 : 3;
  unsigned int value = 0;
  for (int n = 0; n < maxDigits && *src < end; ++n, ++*src) {
    const int digit = Digit2Value(**src);
    if (digit >= base) break;
    value = value * static_cast<unsigned int>(base) + static_cast<unsigned int>(digit);
  }
  --*src;
  return static_cast<char>(static_cast<unsigned char>(value));
}

// Called with *src on a backslash.
char Inifile::GetNextCharacter(char** src, char* end) {
  ++*src;
  if (*src >= end) return 0;
  const char c = **src;
  if (c == '#' || c == '\\') return c;
  if (c == 'n') return '\n';
  if (c == '0') return Digits2Value(src, end, 8);
  if (c == 'x') return Digits2Value(src, end, 16);
  if (c >= '1' && c <= '9') return Digits2Value(src, end, 10);
  return 0;
}

// stdio_filebuf flushes the FILE* when it takes it over, so earlier output of
// the caller stays in front of ours.
OstdioStream::OstdioStream(FILE* file)
    : std::ostream(nullptr), fFilebuf(file, std::ios::out, kBUFFER_SIZE) {
  init(&fFilebuf);
  if (!fFilebuf.is_open()) setstate(std::ios::badbit);
}

OstdioStream::~OstdioStream() { flush(); }

}  // namespace KzUtil
