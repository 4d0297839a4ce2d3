// A streaming reader of one XML document, for the PMML loader: start tags
// with their attributes, end tags and character data, in document order,
// each with the line it starts on. It keeps one block of the input and the
// current event, so memory does not grow with the document.
//
// It checks well-formedness as far as a PMML document needs (tags nest and
// match, attributes are quoted and not repeated, references are known) and
// that the bytes are UTF-8; it skips the XML declaration, comments,
// processing instructions and a DOCTYPE without an internal subset. Names
// lose their namespace prefix. Every fault throws PmmlError naming the line.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace refhost::pmml {

class XmlReader {
 public:
  enum Event { kStart, kEnd, kText, kDone };

  // Reads the whole of `text`, which must outlive the reader.
  explicit XmlReader(std::string_view text);
  // Reads `file` in blocks; the caller keeps it open and closes it.
  explicit XmlReader(std::FILE* file);
  XmlReader(XmlReader const&) = delete;
  XmlReader& operator=(XmlReader const&) = delete;

  // The next event. An empty element gives kStart then kEnd. kText comes
  // only for character data that is not all blanks. After kDone, kDone.
  Event Next();

  // Of the current kStart or kEnd: the element's name without its prefix.
  std::string_view Name() const { return fnName; }
  // Of the current kStart: the value of the attribute called `name`
  // (without prefix), references replaced; null when there is none.
  std::string const* Attribute(std::string_view name) const;
  // Of the current kText: the text, references replaced.
  std::string const& Text() const { return fnText; }
  // The line where the current event starts (1 for the first line).
  long Line() const { return fnEventLine; }
  // How deep the current element is (1 for the document element).
  std::size_t Depth() const { return fnOpen.size(); }

 private:
  struct Attr {
    std::string name;
    std::string value;
  };

  // Input: the buffer holds [fnPos, fnEnd) of unread bytes.
  bool Fill();
  int Peek() {
    if (fnPos == fnEnd && !Fill()) return -1;
    return static_cast<unsigned char>(*fnPos);
  }
  int Get();
  void Expect(char c, char const* what);
  bool StartsWith(char const* text);
  void SkipBlanks();
  void SkipUntil(char const* terminator, char const* what);

  void SkipByteOrderMark();
  void ReadName(std::string& into);
  void ReadMarkup();
  void ReadStartTag();
  void ReadEndTag();
  void ReadText();
  void ReadReference(std::string& into);
  void CheckUtf8(unsigned char lead);
  void Append(std::string& into, int c);  // c as Get gave it
  [[noreturn]] void Fail(std::string const& what) const;
  static std::string_view Local(std::string const& name);

  std::FILE* fnFile = nullptr;
  std::string fnBlock;  // file input only
  char const* fnPos = nullptr;
  char const* fnEnd = nullptr;
  long fnLine = 1;
  char fnUtf8[3] = {};  // continuation bytes of the last sequence Get read
  int fnUtf8Length = 0;
  long fnEventLine = 1;

  Event fnEvent = kDone;
  bool fnStarted = false;
  bool fnPendingEnd = false;  // an empty element's end comes next
  bool fnSeenRoot = false;
  bool fnFinished = false;
  std::string fnRawName;
  std::string_view fnName;
  std::vector<Attr> fnAttrs;
  std::size_t fnNumAttrs = 0;
  std::string fnText;
  std::vector<std::string> fnOpen;  // raw names of the open elements
};

}  // namespace refhost::pmml
