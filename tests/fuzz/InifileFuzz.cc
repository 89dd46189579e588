// libFuzzer target for the ini reader: the input is the file, written to a
// temporary file, and it also chooses the lookups. Every line of the input
// becomes one step: a bracketed name selects that group, any other line looks
// up its first word with a getter chosen by the line's length and walks the
// rest of the line. A line's first byte decides when readers are reset,
// reopened, copied or destroyed, its last byte which reader or chain it uses,
// so the shared tokenizer sees all of that.
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ErrorLogger.h"
#include "Inifile.h"
#include "InifileChain.h"

namespace {

const std::size_t kMAX_STEPS = 64;  // keeps one input's run short: each lookup rescans a group

std::string gPath;  // the file the readers read

// A reader that also decodes escapes in the values it finds.
class FuzzInifile : public KzUtil::Inifile {
 public:
  using Inifile::Close;
  using Inifile::Inifile;
  using Inifile::Open;

  static std::size_t Decode(const char* value) {
    if (value == nullptr) return 0;
    std::string text(value);
    std::string out;
    char* end = &text[0] + text.size();
    for (char* p = &text[0]; p < end; ++p) out += *p == '\\' ? GetNextCharacter(&p, end) : *p;
    return out.size();
  }
};

void WriteInput(const uint8_t* data, std::size_t size) {
  const int fd = open(gPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (fd < 0) abort();
  for (std::size_t done = 0; done < size;) {
    const ssize_t n = write(fd, data + done, size - done);
    if (n <= 0) abort();
    done += static_cast<std::size_t>(n);
  }
  close(fd);
}

std::vector<std::string> SplitLines(const uint8_t* data, std::size_t size) {
  std::vector<std::string> lines;
  const char* text = reinterpret_cast<const char*>(data);
  for (std::size_t start = 0; start < size && lines.size() < kMAX_STEPS;) {
    const void* newline = memchr(text + start, '\n', size - start);
    const std::size_t end = newline ? static_cast<const char*>(newline) - text : size;
    lines.emplace_back(text + start, end - start);
    start = end + 1;
  }
  return lines;
}

// The text between the first '[' and the following ']', if the line has both.
bool GroupName(const std::string& line, std::string* name) {
  const std::size_t open = line.find('[');
  const std::size_t close = open == std::string::npos ? open : line.find(']', open);
  if (close == std::string::npos) return false;
  *name = line.substr(open + 1, close - open - 1);
  return true;
}

std::string FirstWord(const std::string& line) {
  const std::size_t start = line.find_first_not_of(" \t=");
  if (start == std::string::npos) return line;
  return line.substr(start, line.find_first_of(" \t=", start) - start);
}

// A getter chosen by choice for key, then up to four more values of the line;
// every seventh choice walks on from wherever the tokenizer was left.
void LookUp(KzUtil::Inifile& ini, const std::string& key, std::size_t choice) {
  int error = 0;
  switch (choice % 7) {
    case 0:
      FuzzInifile::Decode(ini.GetFirstString(key.c_str()));
      break;
    case 1:
      ini.GetFirstString(key.c_str(), "default", &error);
      break;
    case 2:
      ini.GetFirstValue(key.c_str(), &error);
      break;
    case 3:
      ini.GetFirstValue(key.c_str(), 5, &error);
      break;
    case 4:
      ini.GetFirstFloat(key.c_str(), &error);
      break;
    case 5:
      ini.GetFirstFloat(key.c_str(), 2.5, nullptr);
      break;
    default:
      break;
  }
  for (std::size_t i = 0; i < choice % 5; ++i) {
    switch ((choice + i) % 6) {
      case 0:
        FuzzInifile::Decode(ini.GetNextString(&error));
        break;
      case 1:
        ini.GetNextString("default", &error);
        break;
      case 2:
        ini.GetNextValue(&error);
        break;
      case 3:
        ini.GetNextValue(5, nullptr);
        break;
      case 4:
        ini.GetNextFloat(&error);
        break;
      default:
        ini.GetNextFloat(2.5, &error);
        break;
    }
  }
}

// A reader with a group selected: lookups before any group would only complain
// on standard error.
std::unique_ptr<FuzzInifile> Selected(std::unique_ptr<FuzzInifile> reader) {
  reader->SpecifyGroup("");
  return reader;
}

// Changes which readers exist and where they stand.
void Shuffle(std::unique_ptr<FuzzInifile>& reader, std::unique_ptr<FuzzInifile>& other,
             unsigned char control) {
  switch (control % 16) {
    case 0:
      reader->Reset();
      break;
    case 1:
      reader->Close();
      break;
    case 2:
      reader->Open();
      break;
    case 3:
      other = Selected(std::make_unique<FuzzInifile>(*reader));
      break;
    case 4:
      other.reset();
      break;
    case 5:
      std::swap(reader, other);
      break;
    default:
      break;
  }
  if (!reader) reader = Selected(std::make_unique<FuzzInifile>(gPath.c_str()));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  KzUtil::Singleton<KzUtil::ErrorLogger>::GetInstance().SetLoggingLevel(KzUtil::ErrorLogger::eFatal,
                                                                        true);
  const char* tmp = getenv("TMPDIR");
  std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/inifile-fuzz-XXXXXX";
  if (mkdtemp(&pattern[0]) == nullptr) abort();
  gPath = pattern + "/input.ini";
  static const std::string directory = pattern;
  atexit([] {
    unlink(gPath.c_str());
    rmdir(directory.c_str());
  });
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  WriteInput(data, size);
  std::unique_ptr<FuzzInifile> reader = Selected(std::make_unique<FuzzInifile>(gPath.c_str()));
  std::unique_ptr<FuzzInifile> other;
  KzUtil::InifileChain chain(gPath.c_str());
  chain.AddInifile(gPath.c_str());
  chain.SpecifyGroup("");
  for (const std::string& line : SplitLines(data, size)) {
    const unsigned char first = line.empty() ? 0 : static_cast<unsigned char>(line.front());
    const unsigned char last = line.empty() ? 0 : static_cast<unsigned char>(line.back());
    Shuffle(reader, other, first);
    KzUtil::Inifile& target = last & 0x20 ? static_cast<KzUtil::Inifile&>(chain) : *reader;
    std::string name;
    if (GroupName(line, &name))
      target.SpecifyGroup(name.c_str());
    else
      LookUp(target, FirstWord(line), line.size());
    if (other && last & 0x40) LookUp(*other, FirstWord(line), line.size() / 2);
  }
  return 0;
}
