// The reader is a hand-written scanner over a window of the input: a file is
// read in 64 KiB blocks, and a token that runs past a block's end carries on
// into the next (the bytes already read are copied into the event's strings
// as they go, so nothing needs the previous block). Lines are counted as the
// bytes pass; "\r\n" and a lone "\r" count as one line end, as XML reads them.
#include "refhost/pmml/xmlreader.h"

#include <cstring>

#include "refhost/pmml/pmmlmodel.h"

namespace refhost::pmml {
namespace {

std::size_t const kBlock = 64 * 1024;

bool IsBlank(int c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

bool IsNameChar(int c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         c == ':' || c == '-' || c == '.' || c >= 0x80;
}

bool IsNameStart(int c) { return IsNameChar(c) && !(c >= '0' && c <= '9') && c != '-' && c != '.'; }

void AppendUtf8(std::string& into, unsigned long code) {
  if (code < 0x80) {
    into += static_cast<char>(code);
  } else if (code < 0x800) {
    into += static_cast<char>(0xC0 | (code >> 6));
    into += static_cast<char>(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    into += static_cast<char>(0xE0 | (code >> 12));
    into += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    into += static_cast<char>(0x80 | (code & 0x3F));
  } else {
    into += static_cast<char>(0xF0 | (code >> 18));
    into += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
    into += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    into += static_cast<char>(0x80 | (code & 0x3F));
  }
}

}  // namespace

XmlReader::XmlReader(std::string_view text)
    : fnPos(text.data()), fnEnd(text.data() + text.size()) {}

XmlReader::XmlReader(std::FILE* file) : fnFile(file) { fnBlock.resize(kBlock); }

bool XmlReader::Fill() {
  if (fnFile == nullptr) return false;
  std::size_t const n = std::fread(&fnBlock[0], 1, fnBlock.size(), fnFile);
  if (n == 0) {
    if (std::ferror(fnFile)) {
      throw PmmlError(std::string("cannot read the file: ") + std::strerror(errno), 0);
    }
    return false;
  }
  fnPos = fnBlock.data();
  fnEnd = fnPos + n;
  return true;
}

int XmlReader::Get() {
  int const c = Peek();
  if (c < 0) return c;
  ++fnPos;
  if (c == '\n') {
    ++fnLine;
  } else if (c == '\r') {
    if (Peek() != '\n') ++fnLine;  // a lone CR ends a line; CR LF once
  } else if (c == 0) {
    Fail("the file holds a NUL byte: it is not UTF-8 text (UTF-16 or binary?)");
  } else if (c >= 0x80) {
    CheckUtf8(static_cast<unsigned char>(c));
  }
  return c;
}

// Checks a multi-byte sequence and keeps its continuation bytes, consumed
// here, for Append.
void XmlReader::CheckUtf8(unsigned char lead) {
  int more = 0;
  if ((lead & 0xE0) == 0xC0 && lead >= 0xC2) {
    more = 1;
  } else if ((lead & 0xF0) == 0xE0) {
    more = 2;
  } else if ((lead & 0xF8) == 0xF0 && lead <= 0xF4) {
    more = 3;
  } else {
    Fail("a byte that is not UTF-8: the file is not UTF-8 text");
  }
  fnUtf8Length = 0;
  for (int i = 0; i < more; ++i) {
    int const c = Peek();
    if (c < 0 || (c & 0xC0) != 0x80) Fail("a byte that is not UTF-8: the file is not UTF-8 text");
    fnUtf8[fnUtf8Length++] = static_cast<char>(c);
    ++fnPos;
  }
}

void XmlReader::Append(std::string& into, int c) {
  into += static_cast<char>(c);
  if (c >= 0x80) into.append(fnUtf8, fnUtf8Length);
}

void XmlReader::Fail(std::string const& what) const {
  throw PmmlError("not an XML document: " + what + " at line " + std::to_string(fnLine), fnLine);
}

void XmlReader::Expect(char c, char const* what) {
  if (Get() != static_cast<unsigned char>(c)) Fail(what);
}

// Consumes `text` when the input starts with it. Only called with texts that
// a mismatch cannot leave half-consumed in a harmful way: each caller fails
// or tries a text with a different first byte.
bool XmlReader::StartsWith(char const* text) {
  for (; *text != '\0'; ++text) {
    if (Peek() != static_cast<unsigned char>(*text)) return false;
    Get();
  }
  return true;
}

void XmlReader::SkipBlanks() {
  while (IsBlank(Peek())) Get();
}

void XmlReader::SkipUntil(char const* terminator, char const* what) {
  std::size_t const n = std::strlen(terminator);
  std::size_t matched = 0;
  while (matched < n) {
    int const c = Get();
    if (c < 0) Fail(what);
    if (c == static_cast<unsigned char>(terminator[matched])) {
      ++matched;
    } else {
      matched = c == static_cast<unsigned char>(terminator[0]) ? 1 : 0;
    }
  }
}

void XmlReader::ReadName(std::string& into) {
  into.clear();
  if (!IsNameStart(Peek())) {
    if (Peek() == 0) Get();  // says what a NUL byte means
    Fail("a name was expected");
  }
  while (IsNameChar(Peek())) Append(into, Get());
}

std::string_view XmlReader::Local(std::string const& name) {
  std::size_t const colon = name.find(':');
  std::string_view view(name);
  return colon == std::string::npos ? view : view.substr(colon + 1);
}

std::string const* XmlReader::Attribute(std::string_view name) const {
  for (std::size_t i = 0; i < fnNumAttrs; ++i) {
    if (Local(fnAttrs[i].name) == name) return &fnAttrs[i].value;
  }
  return nullptr;
}

void XmlReader::ReadReference(std::string& into) {
  // After '&'.
  std::string name;
  for (int c = Get(); c != ';'; c = Get()) {
    if (c < 0 || IsBlank(c) || c == '<' || c == '&' || name.size() > 12) {
      Fail("a reference '&" + name + "' without its ';'");
    }
    name += static_cast<char>(c);
  }
  if (name == "lt") {
    into += '<';
  } else if (name == "gt") {
    into += '>';
  } else if (name == "amp") {
    into += '&';
  } else if (name == "quot") {
    into += '"';
  } else if (name == "apos") {
    into += '\'';
  } else if (name.size() > 1 && name[0] == '#') {
    bool const hex = name[1] == 'x';
    unsigned long code = 0;
    std::size_t const from = hex ? 2 : 1;
    if (from == name.size()) Fail("a character reference '&" + name + ";' without digits");
    for (std::size_t i = from; i < name.size(); ++i) {
      char const d = name[i];
      int value = -1;
      if (d >= '0' && d <= '9') value = d - '0';
      if (hex && d >= 'a' && d <= 'f') value = d - 'a' + 10;
      if (hex && d >= 'A' && d <= 'F') value = d - 'A' + 10;
      if (value < 0) Fail("a character reference '&" + name + ";' that is not a number");
      code = code * (hex ? 16 : 10) + static_cast<unsigned long>(value);
      if (code > 0x10FFFF) break;
    }
    if (code == 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
      Fail("a character reference '&" + name + ";' to no character");
    }
    AppendUtf8(into, code);
  } else {
    Fail("an unknown entity '&" + name + ";'");
  }
}

// A UTF-8 byte order mark is skipped; one of UTF-16 or UTF-32 says what the
// file is.
void XmlReader::SkipByteOrderMark() {
  int const c = Peek();
  if (c == 0xFE || c == 0xFF) {
    throw PmmlError("the file is not UTF-8 text: it starts with a UTF-16 byte order mark", 0);
  }
  if (c == 0xEF) {
    ++fnPos;
    if (Peek() != 0xBB) Fail("a byte that is not UTF-8: the file is not UTF-8 text");
    ++fnPos;
    if (Peek() != 0xBF) Fail("a byte that is not UTF-8: the file is not UTF-8 text");
    ++fnPos;
  }
}

XmlReader::Event XmlReader::Next() {
  if (!fnStarted) {
    fnStarted = true;
    SkipByteOrderMark();
  }
  if (fnPendingEnd) {
    fnPendingEnd = false;
    fnRawName = std::move(fnOpen.back());
    fnOpen.pop_back();
    fnName = Local(fnRawName);
    fnNumAttrs = 0;
    if (fnOpen.empty()) fnFinished = true;
    return fnEvent = kEnd;
  }
  for (;;) {
    fnEventLine = fnLine;
    int const c = Peek();
    if (c < 0) {
      if (!fnOpen.empty()) Fail("the end of the file inside element '" + fnOpen.back() + "'");
      if (!fnSeenRoot) {
        throw PmmlError("not an XML document: it holds no element", 0);
      }
      return fnEvent = kDone;
    }
    if (c == '<') {
      Get();
      int const next = Peek();
      if (next == '/') {
        Get();
        ReadEndTag();
        return fnEvent = kEnd;
      }
      if (next == '?' || next == '!') {
        ReadMarkup();
        continue;
      }
      ReadStartTag();
      return fnEvent = kStart;
    }
    ReadText();
    if (fnOpen.empty()) {
      for (char t : fnText) {
        if (!IsBlank(static_cast<unsigned char>(t))) {
          if (!fnSeenRoot) throw PmmlError("not an XML document: it holds no element", 0);
          Fail("text after the document element");
        }
      }
      continue;
    }
    bool blank = true;
    for (char t : fnText) blank = blank && IsBlank(static_cast<unsigned char>(t));
    if (!blank) return fnEvent = kText;
  }
}

// After '<': a declaration, processing instruction, comment, CDATA section
// (delivered as text is not needed by the loader, so its content is kept as
// the next text) or DOCTYPE.
void XmlReader::ReadMarkup() {
  if (Peek() == '?') {
    Get();
    SkipUntil("?>", "a processing instruction without its '?>'");
    return;
  }
  Get();  // '!'
  if (StartsWith("--")) {
    SkipUntil("-->", "a comment without its '-->'");
    return;
  }
  if (StartsWith("[CDATA[")) {
    if (fnOpen.empty()) Fail("a CDATA section outside the document element");
    SkipUntil("]]>", "a CDATA section without its ']]>'");
    return;
  }
  if (StartsWith("DOCTYPE")) {
    if (fnSeenRoot) Fail("a DOCTYPE after the document element");
    for (int c = Get(); c != '>'; c = Get()) {
      if (c < 0) Fail("a DOCTYPE without its '>'");
      if (c == '[') Fail("a DOCTYPE with an internal subset (entity declarations are not read)");
    }
    return;
  }
  Fail("'<!' that starts no comment, CDATA section or DOCTYPE");
}

void XmlReader::ReadStartTag() {
  if (fnFinished) Fail("a second document element");
  fnSeenRoot = true;
  ReadName(fnRawName);
  fnNumAttrs = 0;
  for (;;) {
    bool const blank = IsBlank(Peek());
    SkipBlanks();
    int const c = Peek();
    if (c == '/') {
      Get();
      Expect('>', "'/' not followed by '>' in a tag");
      fnPendingEnd = true;
      break;
    }
    if (c == '>') {
      Get();
      break;
    }
    if (c < 0) Fail("the end of the file inside tag '" + fnRawName + "'");
    if (!blank) Fail("no blank before an attribute in tag '" + fnRawName + "'");
    if (fnNumAttrs == fnAttrs.size()) fnAttrs.emplace_back();
    Attr& attr = fnAttrs[fnNumAttrs];
    ReadName(attr.name);
    for (std::size_t i = 0; i < fnNumAttrs; ++i) {
      if (fnAttrs[i].name == attr.name) Fail("attribute '" + attr.name + "' given twice");
    }
    SkipBlanks();
    Expect('=', "an attribute without '='");
    SkipBlanks();
    int const quote = Get();
    if (quote != '"' && quote != '\'') Fail("an attribute value without quotes");
    attr.value.clear();
    for (int v = Get(); v != quote; v = Get()) {
      if (v < 0) Fail("the end of the file inside an attribute value");
      if (v == '<') Fail("'<' inside an attribute value");
      if (v == '&') {
        ReadReference(attr.value);
      } else if (IsBlank(v)) {
        if (v == '\r' && Peek() == '\n') Get();
        attr.value += ' ';  // XML normalises blanks in attribute values
      } else {
        Append(attr.value, v);
      }
    }
    ++fnNumAttrs;
  }
  fnOpen.push_back(fnRawName);
  fnName = Local(fnRawName);
}

void XmlReader::ReadEndTag() {
  ReadName(fnRawName);
  SkipBlanks();
  Expect('>', "an end tag without '>'");
  if (fnOpen.empty() || fnOpen.back() != fnRawName) {
    Fail("end tag '" + fnRawName + "' where " +
         (fnOpen.empty() ? std::string("no element is open") : "'" + fnOpen.back() + "' is open"));
  }
  fnOpen.pop_back();
  fnName = Local(fnRawName);
  fnNumAttrs = 0;
  if (fnOpen.empty()) fnFinished = true;
}

void XmlReader::ReadText() {
  fnText.clear();
  for (int c = Peek(); c >= 0 && c != '<'; c = Peek()) {
    c = Get();
    if (c == '&') {
      ReadReference(fnText);
    } else if (c == '\r') {
      if (Peek() == '\n') Get();
      fnText += '\n';
    } else {
      Append(fnText, c);
    }
  }
}

}  // namespace refhost::pmml
