// A streaming reader of one XML document, for the PMML loader: start tags
// with their attributes, end tags and character data, in document order,
// each with the line it starts on. It keeps one window of the input and the
// current event, so memory does not grow with the document.
//
// It checks well-formedness as far as a PMML document needs (tags nest and
// match, attributes are quoted and not repeated, references are known) and
// that the bytes are UTF-8; it skips the XML declaration, comments,
// processing instructions and a DOCTYPE without an internal subset. Names
// lose their namespace prefix. Every fault throws PmmlError naming the line.
#pragma once

#include <cstdio>
#include <optional>
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
  // Valid until the next call of Next.
  std::string_view Name() const { return fnName; }
  // Of the current kStart: the value of the attribute called `name`
  // (without prefix), references replaced; nothing when there is none.
  // Valid until the next call of Next.
  std::optional<std::string_view> Value(std::string_view name) const;
  // The same value as a string; null when there is none.
  std::string const* Attribute(std::string_view name) const;
  // Of the current kText: the text, references replaced.
  std::string const& Text() const { return fnText; }
  // The line where the current event starts (1 for the first line).
  long Line() const { return fnEventLine; }
  // How deep the current element is (1 for the document element).
  std::size_t Depth() const { return fnOpenEnds.size(); }

 private:
  // An attribute of the current start tag. A value without references or
  // blanks to normalise stays a view into the window; others are decoded.
  struct Attr {
    std::string_view rawName;
    std::string_view name;  // without its prefix
    std::string_view raw;
    bool plain = true;
    std::string decoded;       // when not plain
    mutable std::string copy;  // for Attribute, made when asked
    mutable bool copied = false;
    std::string_view View() const { return plain ? raw : std::string_view(decoded); }
  };

  // The window [fnPos, fnEnd) of unread input. More moves the unread bytes
  // from `keep` on to the front of the block and reads on; it returns
  // whether anything was added (pointers into the window are then stale,
  // callers re-read from `keep`'s new place, Kept()).
  bool More(char const* keep);
  char const* Kept() const { return fnPos; }

  // Counts lines over bytes taken from the window, and checks they are
  // UTF-8 text.
  void Consume(char const* from, char const* to);
  [[noreturn]] void Fail(std::string const& what) const;
  void FailByte(unsigned char c) const;

  // The raw name of the innermost open element.
  std::string_view OpenName() const;
  void CloseElement();

  bool TryStartTag(char const*& p);
  bool TryEndTag(char const*& p);
  bool TryMarkup(char const*& p);
  void ReadText();
  void Decode(std::string_view raw, std::string& into, bool attribute) const;
  void SkipByteOrderMark();

  std::FILE* fnFile = nullptr;
  std::string fnBlock;  // file input only
  char const* fnPos = nullptr;
  char const* fnEnd = nullptr;
  bool fnEof = false;
  long fnLine = 1;
  long fnEventLine = 1;

  bool fnStarted = false;
  bool fnPendingEnd = false;
  bool fnSeenRoot = false;
  bool fnFinished = false;
  std::string_view fnName;
  std::vector<Attr> fnAttrs;
  std::size_t fnNumAttrs = 0;
  std::string fnText;
  // Raw names of the open elements, one after another, and where each ends.
  std::string fnOpenNames;
  std::vector<std::size_t> fnOpenEnds;
  bool fnTrim = false;  // the last closed element's name is still in fnOpenNames
};

}  // namespace refhost::pmml
