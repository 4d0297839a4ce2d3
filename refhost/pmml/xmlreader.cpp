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

// Byte classes as a table. Name characters: ASCII letters, digits, '_',
// ':', '-', '.', and every byte of a multi-byte UTF-8 character. Value
// stops: the bytes an attribute value's scan must look at (either quote,
// and what makes a value need decoding or fail: '&', '<' and blanks other
// than the space). Special: the bytes Consume must see (a line feed, a NUL,
// and those above 0x7F); a token without them needs no Consume. Plain name
// characters: those that are neither ':' nor special. Value bytes: neither
// value stops nor special.
enum : unsigned char {
  kNameChar = 1,
  kValueStop = 2,
  kColon = 4,
  kSpecial = 8,
  kPlainName = 16,
  kValueByte = 32
};
struct ByteTable {
  unsigned char is[256] = {};
  ByteTable() {
    for (int c = 0; c < 256; ++c) {
      bool const name = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                        (c >= '0' && c <= '9') || c == '_' || c == ':' || c == '-' || c == '.' ||
                        c >= 0x80;
      bool const stop =
          c == '"' || c == '\'' || c == '&' || c == '<' || c == '\t' || c == '\n' || c == '\r';
      bool const special = c == '\n' || c == 0 || c >= 0x80;
      bool const plainName = name && c != ':' && !special;
      is[c] = static_cast<unsigned char>((name ? kNameChar : 0) | (stop ? kValueStop : 0) |
                                         (c == ':' ? kColon : 0) | (special ? kSpecial : 0) |
                                         (plainName ? kPlainName : 0) |
                                         (!stop && !special ? kValueByte : 0));
    }
  }
};
ByteTable const kBytes;

inline bool IsNameChar(char c) { return kBytes.is[static_cast<unsigned char>(c)] & kNameChar; }
inline bool IsSpecial(char c) { return kBytes.is[static_cast<unsigned char>(c)] & kSpecial; }

// The first byte from `q` on that is not of `cls` (a table bit), or `end`;
// four bytes a step while there are four.
inline char const* SkipClass(char const* q, char const* end, unsigned char cls) {
  unsigned char const* const is = kBytes.is;
  auto const at = [&q](int i) { return static_cast<unsigned char>(q[i]); };
  while (end - q >= 4 && (is[at(0)] & is[at(1)] & is[at(2)] & is[at(3)] & cls)) q += 4;
  while (q < end && (is[static_cast<unsigned char>(*q)] & cls)) ++q;
  return q;
}

// Skips blanks from `q`, noting a line feed among them.
inline char const* SkipBlanks(char const* q, char const* end, bool& special) {
  for (; q < end && IsBlank(*q); ++q) special = special || *q == '\n';
  return q;
}

bool IsNameStart(char c) {
  return IsNameChar(c) && !(c >= '0' && c <= '9') && c != '-' && c != '.';
}

// The end of the name that starts at `q`; `local` is where it starts
// without its prefix (up to its first ':'). Notes a special byte in it.
inline char const* ScanName(char const* q, char const* end, char const*& local, bool& special) {
  local = q;
  bool prefixed = false;
  for (;;) {
    q = SkipClass(q, end, kPlainName);
    if (q == end || !IsNameChar(*q)) return q;
    if (*q == ':') {
      if (!prefixed) local = q + 1;
      prefixed = true;
    } else {
      special = true;
    }
    ++q;
  }
}

// Names are short: a plain loop beats a library search here.
std::string_view Local(std::string_view name) {
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (name[i] == ':') return name.substr(i + 1);
  }
  return name;
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

std::optional<std::string_view> XmlReader::Value(std::string_view name) const {
  for (std::size_t i = 0; i < fnNumAttrs; ++i) {
    if (fnAttrs[i].name == name) return fnAttrs[i].View();
  }
  return std::nullopt;
}

std::string const* XmlReader::Attribute(std::string_view name) const {
  for (std::size_t i = 0; i < fnNumAttrs; ++i) {
    Attr const& a = fnAttrs[i];
    if (a.name != name) continue;
    if (!a.plain) return &a.decoded;
    if (!a.copied) {
      a.copy.assign(a.raw.data(), a.raw.size());
      a.copied = true;
    }
    return &a.copy;
  }
  return nullptr;
}

std::string_view XmlReader::OpenName() const {
  std::size_t const n = fnOpenEnds.size();
  std::size_t const from = n > 1 ? fnOpenEnds[n - 2] : 0;
  return std::string_view(fnOpenNames).substr(from, fnOpenEnds[n - 1] - from);
}

// The innermost open element ends. Its name stays in fnOpenNames, as the
// kEnd's name, until the next event.
void XmlReader::CloseElement() {
  fnName = Local(OpenName());
  fnOpenEnds.pop_back();
  fnTrim = true;
  if (fnOpenEnds.empty()) fnFinished = true;
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
  if (fnTrim) {
    fnOpenNames.resize(fnOpenEnds.empty() ? 0 : fnOpenEnds.back());
    fnTrim = false;
  }
  if (fnPendingEnd) {
    fnPendingEnd = false;
    CloseElement();
    return kEnd;
  }
  for (;;) {
    if (fnPos == fnEnd && !More(fnPos)) {
      if (!fnOpenEnds.empty()) {
        Fail("the end of the file inside element '" + std::string(OpenName()) + "'");
      }
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
  char const* local = nullptr;
  bool special = false;  // whether Consume must see the tag's bytes
  q = ScanName(q, end, local, special);
  if (q == end) return false;
  std::string_view const name(start + 1, static_cast<std::size_t>(q - start - 1));
  std::string_view const localName(local, static_cast<std::size_t>(q - local));
  if (fnFinished) Fail("a second document element");
  std::size_t count = 0;
  bool empty = false;
  for (;;) {
    bool const blank = IsBlank(*q);
    q = SkipBlanks(q, end, special);
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
    char const* attrLocal = nullptr;
    q = ScanName(q, end, attrLocal, special);
    if (q == end) return false;
    std::string_view const attr(n, static_cast<std::size_t>(q - n));
    std::string_view const attrName(attrLocal, static_cast<std::size_t>(q - attrLocal));
    q = SkipBlanks(q, end, special);
    if (q == end) return false;
    if (*q != '=') Fail("attribute '" + std::string(attr) + "' without '='");
    ++q;
    q = SkipBlanks(q, end, special);
    if (q == end) return false;
    char const quote = *q;
    if (quote != '"' && quote != '\'') Fail("an attribute value without quotes");
    char const* const v = ++q;
    bool plain = true;  // no reference, blank to normalise or '<'
    for (;;) {
      q = SkipClass(q, end, kValueByte);
      if (q == end) return false;
      if (*q == quote) break;
      special = special || IsSpecial(*q);
      plain = plain && (*q == '"' || *q == '\'' || (IsSpecial(*q) && *q != '\n'));
      ++q;
    }
    std::string_view const raw(v, static_cast<std::size_t>(q - v));
    ++q;
    if (!plain && raw.find('<') != std::string_view::npos) Fail("'<' inside an attribute value");
    for (std::size_t i = 0; i < count; ++i) {
      if (fnAttrs[i].rawName == attr) Fail("attribute '" + std::string(attr) + "' given twice");
    }
    if (count == fnAttrs.size()) fnAttrs.emplace_back();
    Attr& a = fnAttrs[count];
    a.rawName = attr;
    a.name = attrName;
    a.raw = raw;
    a.plain = plain;
    a.copied = false;
    if (!plain) Decode(raw, a.decoded, true);
    ++count;
  }
  if (special) Consume(start, q);
  fnPos = q;
  fnNumAttrs = count;
  fnSeenRoot = true;
  fnOpenNames.append(name.data(), name.size());
  fnOpenEnds.push_back(fnOpenNames.size());
  fnName = localName;
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
  if (fnOpenEnds.empty() || OpenName() != name) {
    Fail("end tag '" + std::string(name) + "' where " +
         (fnOpenEnds.empty() ? std::string("no element is open")
                             : "'" + std::string(OpenName()) + "' is open"));
  }
  Consume(start, q);
  fnPos = q;
  CloseElement();
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
    if (fnOpenEnds.empty()) Fail("a CDATA section outside the document element");
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
  long feeds = 0;
  for (;;) {
    char const* q = fnPos + blanks;
    while (q < fnEnd) {
      if (*q == ' ') {
        // Indentation: eight spaces at a time.
        std::uint64_t const spaces = 0x2020202020202020ull;
        std::uint64_t w = 0;
        while (fnEnd - q >= 8 && (std::memcpy(&w, q, 8), w == spaces)) q += 8;
        while (q < fnEnd && *q == ' ') ++q;
      } else if (IsBlank(*q)) {
        feeds += *q == '\n';
        ++q;
      } else {
        break;
      }
    }
    blanks = static_cast<std::size_t>(q - fnPos);
    if (q < fnEnd || !More(fnPos)) break;
  }
  char const* const p = fnPos + blanks;
  if (p == fnEnd || *p == '<') {
    fnLine += feeds;  // blanks are all Consume would look at
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
  if (fnOpenEnds.empty()) {
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
