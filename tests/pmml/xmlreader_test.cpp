// The loader's XML reader: the events of small documents, written compactly
// ("<name a=v>" for a start with its attributes, "</name>", "'text'", each
// with its line after '@'). Its faults are in the loader's table of errors.
#include <cstdio>
#include <fstream>

#include <gtest/gtest.h>

#include "pmmlcheck.h"
#include "refhost/pmml/xmlreader.h"

namespace {

using refhost::pmml::XmlReader;

std::string Events(XmlReader& xml, std::vector<std::string> const& attributes) {
  std::string out;
  for (XmlReader::Event e = xml.Next(); e != XmlReader::kDone; e = xml.Next()) {
    if (!out.empty()) out += ' ';
    if (e == XmlReader::kStart) {
      out += "<" + std::string(xml.Name());
      for (std::string const& a : attributes) {
        if (std::string const* v = xml.Attribute(a)) out += " " + a + "=" + *v;
      }
      out += ">";
    } else if (e == XmlReader::kEnd) {
      out += "</" + std::string(xml.Name()) + ">";
    } else {
      out += "'" + xml.Text() + "'";
    }
    out += "@" + std::to_string(xml.Line());
  }
  return out;
}

TEST(XmlReader, GivesTheDocumentsEvents) {
  struct EventCase {
    char const* what;
    std::string text, events;
  } const cases[] = {
      {"declaration, comment, instruction, empty element",
       "<?xml version=\"1.0\"?>\n<!-- a -- comment -->\n<a><?pi x?><b/></a>",
       "<a>@3 <b>@3 </b>@3 </a>@3"},
      {"a byte order mark and a DOCTYPE", "\xEF\xBB\xBF<!DOCTYPE a>\n<a/>", "<a>@2 </a>@2"},
      {"prefixes dropped, attributes in either quote", "<p:a xmlns:p=\"u\" v='1' w=\"x'y\"></p:a>",
       "<a v=1 w=x'y>@1 </a>@1"},
      {"references, and blanks in values as spaces",
       "<a v=\"&lt;&gt;&amp;&quot;&apos;&#65;&#x42;\" w=\"1\t2\n3\"/>",
       "<a v=<>&\"'AB w=1 2 3>@1 </a>@1"},
      {"text, blank text left out, CR LF as one line",
       "<a>\r\n  <b> x &amp; y </b>\r\n<b>\n</b></a>",
       "<a>@1 <b>@2 ' x & y '@2 </b>@2 <b>@3 </b>@4 </a>@4"},
      {"CDATA as text", "<a><![CDATA[1 <2> 3]]></a>", "<a>@1 '1 <2> 3'@1 </a>@1"},
      {"a tag over several lines", "<a\n v=\"1\"\n/>\n<!---->", "<a v=1>@1 </a>@1"},
      {"UTF-8 in names and values", "<a v=\"\xC3\xA9\xE2\x82\xAC\"><\xC3\xA9/></a>",
       "<a v=\xC3\xA9\xE2\x82\xAC>@1 <\xC3\xA9>@1 </\xC3\xA9>@1 </a>@1"},
  };
  for (EventCase const& c : cases) {
    XmlReader xml(c.text);
    EXPECT_EQ(Events(xml, {"v", "w"}), c.events) << c.what;
  }
}

// A file is read in blocks of 64 KiB: a token that starts two bytes before a
// block's end reads as one that does not.
TEST(XmlReader, TokensAcrossBlockEnds) {
  struct BlockCase {
    std::string token, events;
  } const cases[] = {
      {"<!-- x -->", "<a>@1 </a>@1"},
      {"<![CDATA[y]]>", "<a>@1 'y'@1 </a>@1"},
      {"<?pi x?>", "<a>@1 </a>@1"},
      {"<b v=\"12\"/>", "<a>@1 <b v=12>@1 </b>@1 </a>@1"},
      {"x &amp; y", "<a>@1 'x & y'@1 </a>@1"},
  };
  std::string const path = pmmltest::TempPath("blocks.xml");
  for (BlockCase const& c : cases) {
    // The padding is an attribute's value, so no text comes before the token.
    std::string const text = "<a p=\"" + std::string(65534 - 8, '.') + "\">" + c.token + "</a>";
    std::ofstream(path, std::ios::binary) << text;
    std::FILE* file = std::fopen(path.c_str(), "rb");
    ASSERT_NE(file, nullptr);
    XmlReader xml(file);
    std::string const events = Events(xml, {"v"});
    std::fclose(file);
    EXPECT_EQ(events, c.events) << c.token;
  }
  std::remove(path.c_str());
}

}  // namespace
