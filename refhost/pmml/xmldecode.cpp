// The reader's byte work: taking bytes from the window (counting lines and
// checking that they are UTF-8, eight bytes at a time while none is special)
// and decoding character data and attribute values (references replaced,
// blanks normalised as XML says).
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "refhost/pmml/xmlreader.h"

namespace refhost::pmml {
namespace {

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

void XmlReader::FailByte(unsigned char c) const {
  if (c == 0) Fail("the file holds a NUL byte: it is not UTF-8 text (UTF-16 or binary?)");
  Fail("a byte that is not UTF-8: the file is not UTF-8 text");
}

void XmlReader::Consume(char const* from, char const* to) {
  // Eight bytes at a time while none is a NUL or above 0x7F, counting the
  // line feeds among them; byte by byte from such a byte to the end of its
  // character, and for a tail shorter than a word. In a word of bytes below
  // 0x80, adding 0x7F to each byte carries into its top bit unless the byte
  // is zero, and never into the next byte, so the top bits left clear mark
  // the zero bytes exactly.
  std::uint64_t const ones = 0x0101010101010101ull;
  std::uint64_t const highs = 0x8080808080808080ull;
  std::uint64_t const lows = 0x7F7F7F7F7F7F7F7Full;
  auto const zeros = [&](std::uint64_t x) { return ~((x + lows) | x | lows); };
  char const* p = from;
  while (p < to) {
    while (to - p >= 8) {
      std::uint64_t w = 0;
      std::memcpy(&w, p, 8);
      if ((w & highs) != 0 || zeros(w) != 0) break;
      // One top bit per line feed, gathered into the top byte by a multiply.
      fnLine += static_cast<long>(((zeros(w ^ (ones * '\n')) >> 7) * ones) >> 56);
      p += 8;
    }
    char const* const stop = std::min(to, p + 8);
    for (; p < stop; ++p) {
      unsigned char const c = static_cast<unsigned char>(*p);
      if (c == '\n') {
        ++fnLine;
      } else if (c == 0 || c >= 0x80) {
        int more = 0;
        if ((c & 0xE0) == 0xC0 && c >= 0xC2) {
          more = 1;
        } else if ((c & 0xF0) == 0xE0) {
          more = 2;
        } else if ((c & 0xF8) == 0xF0 && c <= 0xF4) {
          more = 3;
        } else {
          FailByte(c);
        }
        for (int i = 0; i < more; ++i) {
          if (++p >= to || (static_cast<unsigned char>(*p) & 0xC0) != 0x80) FailByte(c);
        }
      }
    }
  }
}

// References replaced; in an attribute, blanks become spaces (XML's
// normalisation), in text a CR LF becomes LF.
void XmlReader::Decode(std::string_view raw, std::string& into, bool attribute) const {
  into.clear();
  for (std::size_t i = 0; i < raw.size(); ++i) {
    char const c = raw[i];
    if (c == '\r') {
      if (i + 1 < raw.size() && raw[i + 1] == '\n') ++i;
      into += attribute ? ' ' : '\n';
    } else if (attribute && (c == '\t' || c == '\n')) {
      into += ' ';
    } else if (c != '&') {
      into += c;
    } else {
      std::size_t const semi = raw.find(';', i);
      std::string const name(raw.substr(i + 1, semi == std::string_view::npos ? 12 : semi - i - 1));
      if (semi == std::string_view::npos || name.size() > 12) {
        Fail("a reference '&" + name + "' without its ';'");
      }
      i = semi;
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
        for (std::size_t k = from; k < name.size() && code <= 0x10FFFF; ++k) {
          char const d = name[k];
          int value = -1;
          if (d >= '0' && d <= '9') value = d - '0';
          if (hex && d >= 'a' && d <= 'f') value = d - 'a' + 10;
          if (hex && d >= 'A' && d <= 'F') value = d - 'A' + 10;
          if (value < 0) Fail("a character reference '&" + name + ";' that is not a number");
          code = code * (hex ? 16 : 10) + static_cast<unsigned long>(value);
        }
        if (code == 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
          Fail("a character reference '&" + name + ";' to no character");
        }
        AppendUtf8(into, code);
      } else {
        Fail("an unknown entity '&" + name + ";'");
      }
    }
  }
}

}  // namespace refhost::pmml
