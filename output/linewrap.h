// The line wrapper of VELD text, internal to the library (not exported; the
// adapter's driver calls it, tests reach it through the object library).
#pragma once

#include <string>

namespace TreeOut_800 {

// Cuts `text` (up to its first NUL) into lines that each take at most
// `width` - 3 of its characters, every line ended by "\n". Breaks fall in
// front of (or after) blanks, tabs and the operators / + * - , ( ), never
// leaving a period at a line's end when the search finds the break, never
// inside a number (digits, point, exponent letter and sign) and never between
// the two quotes of a doubled quote. A string
// cut at a line's end is closed with its quote and "+" and reopened after the
// next line's prefix blank. Trailing blanks, tabs and line feeds of the text
// and of each line are dropped. "" for an empty text or when no working
// memory is available. REQUIRES: `width` >= 4.
__attribute__((visibility("hidden"))) std::string WrapString(std::string const& text,
                                                             unsigned long width);

// The quote state after the first `length` characters of `text`, starting
// from `quote` (0 outside a string, else the open quote). A doubled quote
// inside a string stands for one quote character and keeps the string open.
__attribute__((visibility("hidden"))) char IsInsideQuotes(unsigned int length, char* text,
                                                          char quote);

// Cuts trailing blanks, tabs and line feeds of a NUL-terminated text in place;
// never removes the first character.
__attribute__((visibility("hidden"))) void VELDstrtrim(char* text);

}  // namespace TreeOut_800
