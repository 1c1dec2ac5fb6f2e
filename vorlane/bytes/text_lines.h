// Private: the lines of text that headers are made of.
#pragma once

#include <cstddef>
#include <cstdio>

namespace vorlane {

// A line as the text headers of all formats have it: at most size - 1 bytes, up to and with the
// newline, and a zero byte behind. False, with an empty line, at the end of the file.
bool read_line(std::FILE* stream, char* line, std::size_t size);

// The decimal integers at the start of `text`, as scanf takes them with "%d %d ...": blanks before
// each, a sign, digits; the first that doesn't parse or doesn't fit an int ends the row. Returns
// how many were stored; the others stay as they were.
int scan_ints(const char* text, int* values, int count);

} // namespace vorlane
