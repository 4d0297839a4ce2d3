// The reader scans a window of the input with plain pointer loops. A file is
// read in 64 KiB blocks; a tag or a text that runs past the window's end
// moves, unread, to the front of the block and more is read behind it (the
// block grows when one token is longer), then its scan starts again. So a
// token is always whole in the window, and names and values are views into
// it until the next event. Bytes are counted for lines and checked as UTF-8
// once, when their token is taken (xmldecode.cpp, with the references).
#include "refhost/pmml/xmlreader.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "refhost/pmml/pmmlmodel.h"

namespace refhost::pmml {
namespace {

std::size_t const kBlock = 64 * 1024;

inline bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// Name characters as a table: ASCII letters, digits, '_', ':', '-', '.',
// and every byte of a multi-byte UTF-8 character.
struct NameTable {
  bool is[256] = {};
  NameTable() {
    for (int c = 0; c < 256; ++c) {
      is[c] = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
              c == '_' || c == ':' || c == '-' || c == '.' || c >= 0x80;
    }
  }
};
NameTable const kNames;

inline bool IsNameChar(char c) { return kNames.is[static_cast<unsigned char>(c)]; }

bool IsNameStart(char c) {
  return IsNameChar(c) && !(c >= '0' && c <= '9') && c != '-' && c != '.';
}

std::string_view Local(std::string_view name) {
  std::size_t const colon = name.find(':');
  return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

// The first place of `what` in [p, end), or null.
char const* Find(char const* p, char const* end, char const* what) {
  std::string_view const hay(p, static_cast<std::size_t>(end - p));
  std::size_t const at = hay.find(what);
  return at == std::string_view::npos ? nullptr : p + at;
}

}  // namespace

XmlReader::XmlReader(std::string_view text)
    : fnPos(text.data()), fnEnd(text.data() + text.size()), fnEof(true) {}

XmlReader::XmlReader(std::FILE* file) : fnFile(file) {
  fnBlock.resize(kBlock);
  fnPos = fnEnd = fnBlock.data();
}

bool XmlReader::More(char const* keep) {
  if (fnEof) return false;
  std::size_t const kept = static_cast<std::size_t>(fnEnd - keep);
  if (kept > 0 && keep != fnBlock.data()) std::memmove(&fnBlock[0], keep, kept);
  if (kept * 2 > fnBlock.size()) fnBlock.resize(fnBlock.size() * 2);
  std::size_t const n = std::fread(&fnBlock[kept], 1, fnBlock.size() - kept, fnFile);
  if (n == 0) {
    if (std::ferror(fnFile)) {
      throw PmmlError(std::string("cannot read the file: ") + std::strerror(errno), 0);
    }
    fnEof = true;
  }
  fnPos = fnBlock.data();
  fnEnd = fnPos + kept + n;
  return n > 0;
}

void XmlReader::Fail(std::string const& what) const {
  throw PmmlError("not an XML document: " + what + " at line " + std::to_string(fnLine), fnLine);
}

std::string const* XmlReader::Attribute(std::string_view name) const {
  for (std::size_t i = 0; i < fnNumAttrs; ++i) {
    if (Local(fnAttrs[i].name) == name) return &fnAttrs[i].value;
  }
  return nullptr;
}

// A UTF-8 byte order mark is skipped; one of UTF-16 says what the file is.
void XmlReader::SkipByteOrderMark() {
  while (fnEnd - fnPos < 3 && More(fnPos)) {
  }
  if (fnPos == fnEnd) return;
  unsigned char const c = static_cast<unsigned char>(*fnPos);
  if (c == 0xFE || c == 0xFF) {
    throw PmmlError("the file is not UTF-8 text: it starts with a UTF-16 byte order mark", 0);
  }
  if (fnEnd - fnPos >= 3 && std::memcmp(fnPos, "\xEF\xBB\xBF", 3) == 0) fnPos += 3;
}

XmlReader::Event XmlReader::Next() {
  if (!fnStarted) {
    fnStarted = true;
    SkipByteOrderMark();
  }
  fnNumAttrs = 0;
  if (fnPendingEnd) {
    fnPendingEnd = false;
    fnEndName = std::move(fnOpen.back());
    fnOpen.pop_back();
    fnName = Local(fnEndName);
    if (fnOpen.empty()) fnFinished = true;
    return kEnd;
  }
  for (;;) {
    if (fnPos == fnEnd && !More(fnPos)) {
      if (!fnOpen.empty()) Fail("the end of the file inside element '" + fnOpen.back() + "'");
      if (!fnSeenRoot) throw PmmlError("not an XML document: it holds no element", 0);
      return kDone;
    }
    fnEventLine = fnLine;
    if (*fnPos != '<') {
      ReadText();
      if (!fnText.empty()) return kText;
      continue;
    }
    for (char const* p = fnPos;; p = Kept()) {
      bool done = false;
      Event event = kStart;
      if (fnEnd - p >= 2) {
        if (p[1] == '/') {
          done = TryEndTag(p);
          event = kEnd;
        } else if (p[1] == '?' || p[1] == '!') {
          done = TryMarkup(p);
          event = kDone;  // nothing to report
        } else {
          done = TryStartTag(p);
        }
      }
      if (done) {
        if (event != kDone) return event;
        if (!fnText.empty()) return kText;  // a CDATA section
        break;
      }
      if (!More(p)) Fail("the end of the file inside a tag");
    }
  }
}

bool XmlReader::TryStartTag(char const*& start) {
  char const* const end = fnEnd;
  char const* q = start + 1;
  if (!IsNameStart(*q)) {
    if (*q == 0) FailByte(0);
    Fail("a name was expected after '<'");
  }
  while (q < end && IsNameChar(*q)) ++q;
  if (q == end) return false;
  std::string_view const name(start + 1, static_cast<std::size_t>(q - start - 1));
  if (fnFinished) Fail("a second document element");
  std::size_t count = 0;
  bool empty = false;
  for (;;) {
    bool const blank = IsBlank(*q);
    while (q < end && IsBlank(*q)) ++q;
    if (q == end) return false;
    if (*q == '/') {
      if (q + 1 == end) return false;
      if (q[1] != '>') Fail("'/' not followed by '>' in tag '" + std::string(name) + "'");
      q += 2;
      empty = true;
      break;
    }
    if (*q == '>') {
      ++q;
      break;
    }
    if (!blank) Fail("no blank before an attribute in tag '" + std::string(name) + "'");
    char const* n = q;
    if (!IsNameStart(*n)) Fail("an attribute name was expected in tag '" + std::string(name) + "'");
    while (q < end && IsNameChar(*q)) ++q;
    if (q == end) return false;
    std::string_view const attr(n, static_cast<std::size_t>(q - n));
    while (q < end && IsBlank(*q)) ++q;
    if (q == end) return false;
    if (*q != '=') Fail("attribute '" + std::string(attr) + "' without '='");
    ++q;
    while (q < end && IsBlank(*q)) ++q;
    if (q == end) return false;
    char const quote = *q;
    if (quote != '"' && quote != '\'') Fail("an attribute value without quotes");
    char const* const v = ++q;
    bool plain = true;  // no reference, blank to normalise or '<'
    for (; q < end && *q != quote; ++q) {
      char const c = *q;
      plain = plain && c != '&' && c != '<' && c != '\t' && c != '\n' && c != '\r';
    }
    if (q == end) return false;
    std::string_view const raw(v, static_cast<std::size_t>(q - v));
    ++q;
    if (!plain && raw.find('<') != std::string_view::npos) Fail("'<' inside an attribute value");
    for (std::size_t i = 0; i < count; ++i) {
      if (fnAttrs[i].name == attr) Fail("attribute '" + std::string(attr) + "' given twice");
    }
    if (count == fnAttrs.size()) fnAttrs.emplace_back();
    fnAttrs[count].name = attr;
    if (plain) {
      fnAttrs[count].value.assign(raw.data(), raw.size());
    } else {
      Decode(raw, fnAttrs[count].value, true);
    }
    ++count;
  }
  Consume(start, q);
  fnPos = q;
  fnNumAttrs = count;
  fnSeenRoot = true;
  fnOpen.emplace_back(name);
  fnName = Local(name);
  fnPendingEnd = empty;
  return true;
}

bool XmlReader::TryEndTag(char const*& start) {
  char const* const end = fnEnd;
  char const* q = start + 2;
  while (q < end && IsNameChar(*q)) ++q;
  std::string_view const name(start + 2, static_cast<std::size_t>(q - start - 2));
  while (q < end && IsBlank(*q)) ++q;
  if (q == end) return false;
  if (*q != '>' || name.empty()) Fail("an end tag without its name and '>'");
  ++q;
  if (fnOpen.empty() || fnOpen.back() != name) {
    Fail("end tag '" + std::string(name) + "' where " +
         (fnOpen.empty() ? std::string("no element is open") : "'" + fnOpen.back() + "' is open"));
  }
  Consume(start, q);
  fnPos = q;
  fnEndName = std::move(fnOpen.back());
  fnOpen.pop_back();
  fnName = Local(fnEndName);
  if (fnOpen.empty()) fnFinished = true;
  return true;
}

// A declaration, processing instruction, comment, CDATA section (kept as
// the next text) or DOCTYPE; false when its end is not in the window yet.
bool XmlReader::TryMarkup(char const*& start) {
  char const* const end = fnEnd;
  fnText.clear();
  char const* close = nullptr;
  std::size_t const have = static_cast<std::size_t>(end - start);
  auto const is = [&](char const* prefix) {
    std::size_t const n = std::strlen(prefix);
    return have >= n && std::memcmp(start, prefix, n) == 0;
  };
  if (start[1] == '?') {
    close = Find(start + 2, end, "?>");
    if (close == nullptr) return false;
    close += 2;
  } else if (have < 4 || (have < 9 && !is("<!--"))) {
    if (fnEof) Fail("'<!' that starts no comment, CDATA section or DOCTYPE");
    return false;
  } else if (is("<!--")) {
    close = Find(start + 4, end, "-->");
    if (close == nullptr) return false;
    close += 3;
  } else if (is("<![CDATA[")) {
    if (fnOpen.empty()) Fail("a CDATA section outside the document element");
    close = Find(start + 9, end, "]]>");
    if (close == nullptr) return false;
    fnText.assign(start + 9, close);
    close += 3;
  } else if (is("<!DOCTYPE")) {
    if (fnSeenRoot) Fail("a DOCTYPE after the document element");
    char const* q = start + 9;
    while (q < end && *q != '>') {
      if (*q == '[') Fail("a DOCTYPE with an internal subset (entity declarations are not read)");
      ++q;
    }
    if (q == end) return false;
    close = q + 1;
  } else {
    Fail("'<!' that starts no comment, CDATA section or DOCTYPE");
  }
  Consume(start, close);
  fnPos = close;
  return true;
}

// Character data up to the next '<'; fnText stays empty when it is all
// blanks.
void XmlReader::ReadText() {
  fnText.clear();
  // Blanks up to the next tag, the usual case, cost one pass.
  std::size_t blanks = 0;  // from fnPos, which More may move
  for (;;) {
    char const* q = fnPos + blanks;
    while (q < fnEnd && (*q == ' ' || *q == '\n' || *q == '\t' || *q == '\r')) ++q;
    blanks = static_cast<std::size_t>(q - fnPos);
    if (q < fnEnd || !More(fnPos)) break;
  }
  char const* const p = fnPos + blanks;
  if (p == fnEnd || *p == '<') {
    Consume(fnPos, p);
    fnPos = p;
    return;
  }
  char const* lt = nullptr;
  for (;;) {
    lt = static_cast<char const*>(std::memchr(fnPos, '<', static_cast<std::size_t>(fnEnd - fnPos)));
    if (lt != nullptr || !More(fnPos)) break;
  }
  char const* const end = lt != nullptr ? lt : fnEnd;
  std::string_view const raw(fnPos, static_cast<std::size_t>(end - fnPos));
  Consume(fnPos, end);
  fnPos = end;
  if (fnOpen.empty()) {
    if (!fnSeenRoot) throw PmmlError("not an XML document: it holds no element", 0);
    Fail("text after the document element");
  }
  if (raw.find_first_of("&\r") == std::string_view::npos) {
    fnText.assign(raw.data(), raw.size());
  } else {
    Decode(raw, fnText, false);
  }
}

}  // namespace refhost::pmml
