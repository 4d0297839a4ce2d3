// CSV records as RFC 4180 writes them, read in blocks: fields, the line each
// record starts on, and the faults that name their line.
#include <sstream>

#include <gtest/gtest.h>

#include "cli/csvreader.h"

namespace {

using Records = std::vector<std::vector<std::string>>;

// All records of `text` with the line each began on ("fault: ..." on error).
std::pair<Records, std::vector<std::uint64_t>> Read(std::string const& text, char delimiter) {
  std::istringstream in(text);
  treeout_cli::CsvReader csv(in, delimiter);
  Records records;
  std::vector<std::uint64_t> lines;
  try {
    for (std::vector<std::string> fields; csv.Next(&fields);) {
      records.push_back(fields);
      lines.push_back(csv.Line());
    }
  } catch (treeout_cli::CsvError const& e) {
    records.push_back({std::string("fault: ") + e.what()});
  }
  return {records, lines};
}

TEST(CsvReader, RecordsAndTheirLines) {
  std::string const wide(200000, 'w');  // longer than a block
  struct Case {
    char const* what;
    std::string text;
    char delimiter;
    Records records;
    std::vector<std::uint64_t> lines;
  };
  Case const cases[] = {
      {"LF, CRLF and a last line without break",
       "a,b\r\n1,2\n3,4",
       ',',
       {{"a", "b"}, {"1", "2"}, {"3", "4"}},
       {1, 2, 3}},
      {"byte order mark skipped",
       "\xEF\xBB\xBF"
       "a,b\n",
       ',',
       {{"a", "b"}},
       {1}},
      {"quotes hold delimiters, breaks and doubled quotes",
       "\"x,y\",\"l1\nl2\",\"say \"\"hi\"\"\"\nz,,\n",
       ',',
       {{"x,y", "l1\nl2", "say \"hi\""}, {"z", "", ""}},
       {1, 3}},
      {"tab delimiter, commas are text", "a\tb,c\n", '\t', {{"a", "b,c"}}, {1}},
      {"blank line in the middle is one empty field",
       "a\n\nb\n",
       ',',
       {{"a"}, {""}, {"b"}},
       {1, 2, 3}},
      {"field longer than a block", "x," + wide + ",y\n", ',', {{"x", wide, "y"}}, {1}},
      {"empty input", "", ',', {}, {}},
      {"quote left open names the record's line",
       "a\n\"b\n\n",
       ',',
       {{"a"}, {"fault: line 2: a quoted field is not closed"}},
       {1}},
      {"text after a closing quote",
       "\"a\"b\n",
       ',',
       {{"fault: line 1: text after a closing quote"}},
       {}},
      {"UTF-16 byte order mark",
       "\xFF\xFE"
       "a",
       ',',
       {{"fault: line 1: the file is UTF-16 text, not UTF-8"}},
       {}},
      {"NUL byte",
       std::string("a\nb\0", 4),
       ',',
       {{"a"}, {"fault: line 2: a NUL byte: the file is not UTF-8 text (UTF-16?)"}},
       {1}},
  };
  for (Case const& c : cases) {
    auto const [records, lines] = Read(c.text, c.delimiter);
    EXPECT_EQ(records, c.records) << c.what;
    EXPECT_EQ(lines, c.lines) << c.what;
  }
}

}  // namespace
