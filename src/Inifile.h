// Reader of one ini file of "[Group]" headers and "key = value value ..." lines,
// found along the configuration search path. Lookups re-read the group each time.
// OstdioStream, beside it, writes through a caller's FILE* for the reporting constructor.
//   Inifile ini("camera.ini");
//   if (ini.SpecifyGroup("Geometry") == 0) az = ini.GetFirstFloat("axis1", 0.0, &error);
//   elevation = ini.GetNextFloat(&error);  // the next value on the same line
#ifndef KZUTIL_INIFILE_H
#define KZUTIL_INIFILE_H

#include <sys/types.h>

#include <cstddef>
#include <cstdio>
#include <ext/stdio_filebuf.h>
#include <ios>
#include <memory>
#include <ostream>
#include <string>

namespace KzUtil {

// An output stream through a C stdio file the caller already holds; the file is
// flushed, never closed, when the stream goes.
//   OstdioStream log(stderr);  log << "reading from " << path << '\n';
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

class Inifile {
 public:
  // Locates filename along the search path (see Locate) and opens it.
  explicit Inifile(const char* filename);
  // Tries filename as given (when it holds "./"), in ./, secondDir and thirdDir,
  // and reports to logfile instead of the error logger; both dirs may be null.
  Inifile(const char* filename, FILE* logfile, const char* secondDir, const char* thirdDir);
  // A fresh reader of rhs's file, located again; no group or position is copied.
  Inifile(const Inifile& rhs);
  virtual ~Inifile();

  virtual const char* GetFilename() const { return fFilename.c_str(); }
  virtual double GetFirstFloat(const char* entry, int* error = NULL);
  virtual double GetFirstFloat(const char* entry, double def_value, int* error = NULL);
  // The first value of entry in the current group; null when there is none.
  virtual const char* GetFirstString(const char* entry);
  virtual const char* GetFirstString(const char* entry, const char* def_str, int* error = NULL);
  virtual int GetFirstValue(const char* entry, int* error = NULL);
  virtual int GetFirstValue(const char* entry, int def_value, int* error = NULL);
  virtual double GetNextFloat(int* error = NULL);
  // Rounds its result, read or default, to single precision.
  virtual double GetNextFloat(double def_value, int* error = NULL);
  // The next value on the line of the last key found; never reports success itself.
  virtual const char* GetNextString(int* error = NULL);
  // Running out of values gives def_string with success.
  virtual const char* GetNextString(const char* def_string, int* error = NULL);
  virtual int GetNextValue(int* error = NULL);
  virtual int GetNextValue(int def_value, int* error = NULL);
  // 0 when "[group]" was found and a line follows it, else -1. Once any read ran
  // into the end of the file, selections and lookups fail until the file is reopened.
  virtual int SpecifyGroup(const char* group);

  // Rewinds to the start of the file; a stream stuck at its end stays stuck.
  void Reset();
  int GetStatus() const { return fStatus; }
  static unsigned int GetPrintLevel() { return fgPrintLevel; }
  static void SetPrintLevel(unsigned int level) { fgPrintLevel = level; }

  // Full path of the first readable filename along the search path, or "".
  static std::string Locate(const char* filename);

 protected:
  virtual void Close();
  virtual int Open(const char* filename);
  // Reopens GetFilename(); -1 when no file was found.
  virtual int Open();

  void SetStatus(int status) { fStatus = status; }
  // Reads and cleans the next line; 0, or npos when there is none.
  std::size_t GetLine();
  // The candidate path when it can be opened for reading, else "".
  static std::string TestFile(std::string directory, std::string filename);

  // Escape decoder for subclasses; the lookups return values undecoded.
  static char Digit2Value(char digit);
  static char Digits2Value(char** src, char* end, int base);
  static char GetNextCharacter(char** src, char* end);

 private:
  Inifile() = delete;
  Inifile& operator=(const Inifile&) = delete;

  // Line storage handed to strtok. The tokenizer state is process-wide and may
  // still point here when the storage is replaced; that storage is kept alive
  // until strtok is given another reader line, and always ends in a NUL.
  class LineBuffer {
   public:
    LineBuffer();
    ~LineBuffer();
    LineBuffer(const LineBuffer&) = delete;
    LineBuffer& operator=(const LineBuffer&) = delete;
    char* Data() { return fData; }
    std::size_t Size() const { return fSize; }
    void Clear() { Truncate(0); }
    void Truncate(std::size_t size);
    void Append(const char* text, std::size_t length);
    // strtok's first call on this line.
    char* Tokenize(const char* delimiters);

   private:
    static void Release(char* data);

    char* fData;            // fCapacity + 1 bytes, the last one always NUL
    std::size_t fSize;      // bytes in the line, NUL bytes included
    std::size_t fCapacity;  // longest line that fits
  };

  // A read-only file with the state bits of an input stream. Its buffer is kept
  // across seeks that land inside it, so rereading a group costs no system call.
  class LineStream {
   public:
    LineStream();
    ~LineStream();
    LineStream(const LineStream&) = delete;
    LineStream& operator=(const LineStream&) = delete;
    bool Open(const char* path);  // clears the state on success, sets failbit otherwise
    bool Close();                 // sets failbit when nothing was open
    // Fails while any of eof, fail or bad is set: one read into the end sticks.
    void Seek(std::streampos position);
    std::streampos Tell() const;
    // The line up to '\n' (consumed, not stored); false on eof, failure or error.
    bool ReadLine(LineBuffer& line);
    bool Failed() const { return (fState & (std::ios::failbit | std::ios::badbit)) != 0; }
    void SetFailed() { fState |= std::ios::failbit; }

   private:
    ssize_t Fill();

    int fFd;                          // -1 while closed
    std::ios::iostate fState;         // as an istream's
    std::unique_ptr<char[]> fBuffer;  // a window of the file starting at fBufferStart
    off_t fBufferStart;               // file offset of fBuffer[0]
    std::size_t fBufferLength;        // valid bytes in fBuffer
    std::size_t fBufferPos;           // read position inside fBuffer
  };

  int StatusFromStream() const { return fInifile.Failed() ? -1 : 0; }
  void OpenFound(const char* what);

  LineStream fInifile;               // the open configuration file
  LineBuffer fLinebuf;               // last line read, cleaned; tokens are cut into it in place
  std::string fFilename;             // path found by Locate, "" when none
  std::string fGroup;                // "[name]" of the current group, "" before SpecifyGroup
  std::size_t fLineptr;              // 0 = a line is in fLinebuf, npos = none
  char* fPtr;                        // token returned last; null when a line's values ran out
  std::streampos fGrPos;             // start of the line after the current group's header
  int fStatus;                       // 0 = usable, -1 = not
  static unsigned int fgPrintLevel;  // > 1 shows opening and closing
};

}  // namespace KzUtil

#endif
