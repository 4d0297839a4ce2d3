#include "cli/csvreader.h"

namespace treeout_cli {

CsvReader::CsvReader(std::istream& in, char delimiter)
    : fnIn(in.rdbuf()), fnDelimiter(delimiter), fnBuffer(64 * 1024) {}

bool CsvReader::Fill() {
  if (fnIn == nullptr) return false;
  std::streamsize const got =
      fnIn->sgetn(fnBuffer.data(), static_cast<std::streamsize>(fnBuffer.size()));
  fnPos = 0;
  fnEnd = got > 0 ? static_cast<std::size_t>(got) : 0;
  if (fnEnd == 0) fnIn = nullptr;  // the end: never ask again (a terminal would wait)
  return fnEnd > 0;
}

void CsvReader::Fail(std::uint64_t line, std::string const& what) const {
  throw CsvError("line " + std::to_string(line) + ": " + what);
}

// Skips a UTF-8 byte order mark; a UTF-16 one (or its NUL bytes) says that
// the file is not UTF-8 at all.
void CsvReader::Start() {
  fnStarted = true;
  if (!Fill()) return;
  auto const at = [&](std::size_t i) {
    return i < fnEnd ? static_cast<unsigned char>(fnBuffer[i]) : 0x100u;
  };
  if (at(0) == 0xEF && at(1) == 0xBB && at(2) == 0xBF) {
    fnPos = 3;
  } else if ((at(0) == 0xFF && at(1) == 0xFE) || (at(0) == 0xFE && at(1) == 0xFF)) {
    Fail(1, "the file is UTF-16 text, not UTF-8");
  }
}

bool CsvReader::Next(std::vector<std::string>* fields) {
  if (!fnStarted) Start();
  int c = Get();
  if (c < 0) return false;
  fnRecordLine = fnLine;
  std::size_t count = 0;
  auto field = [&]() -> std::string& {
    if (count == fields->size()) fields->emplace_back();
    return (*fields)[count];
  };
  field().clear();
  bool quoted = false;  // the current field began with a quote
  bool inQuotes = false;
  for (;; c = Get()) {
    if (c == 0) Fail(fnLine, "a NUL byte: the file is not UTF-8 text (UTF-16?)");
    if (inQuotes) {
      if (c < 0) Fail(fnRecordLine, "a quoted field is not closed");
      if (c == '"') {
        if (Peek() == '"') {
          Get();
          field() += '"';
        } else {
          inQuotes = false;
        }
      } else {
        if (c == '\n') ++fnLine;
        field() += static_cast<char>(c);
      }
      continue;
    }
    if (c == fnDelimiter || c == '\n' || c == '\r' || c < 0) {
      ++count;
      quoted = false;
      if (c == fnDelimiter) {
        field().clear();
        continue;
      }
      if (c == '\r' && Peek() == '\n') Get();
      if (c >= 0) ++fnLine;
      break;
    }
    if (c == '"' && field().empty() && !quoted) {
      quoted = inQuotes = true;
      continue;
    }
    if (quoted) Fail(fnLine, "text after a closing quote");
    // Plain bytes up to the next special one go in as a run.
    std::string& text = field();
    text += static_cast<char>(c);
    std::size_t end = fnPos;
    while (end < fnEnd) {
      char const b = fnBuffer[end];
      if (b == fnDelimiter || b == '\n' || b == '\r' || b == '"' || b == '\0') break;
      ++end;
    }
    text.append(fnBuffer.data() + fnPos, end - fnPos);
    fnPos = end;
  }
  fields->resize(count);
  return true;
}

bool IsUtf8(std::string const& text) {
  std::size_t i = 0;
  while (i < text.size()) {
    unsigned char const lead = static_cast<unsigned char>(text[i]);
    std::size_t length = 0;
    unsigned min = 0;
    if (lead < 0x80) {
      ++i;
      continue;
    } else if ((lead & 0xE0) == 0xC0) {
      length = 2, min = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
      length = 3, min = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
      length = 4, min = 0x10000;
    } else {
      return false;
    }
    if (i + length > text.size()) return false;
    unsigned code = lead & (0x7F >> length);
    for (std::size_t k = 1; k < length; ++k) {
      unsigned char const next = static_cast<unsigned char>(text[i + k]);
      if ((next & 0xC0) != 0x80) return false;
      code = (code << 6) | (next & 0x3F);
    }
    if (code < min || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return false;
    i += length;
  }
  return true;
}

}  // namespace treeout_cli
