#pragma once

#include "ulk/txt/utf8/Err.h"

#include <cstddef>
#include <string>

// Operations on whole texts in UTF-8 that never cut a sequence. Texts end with a terminator; src,
// text and sub must not lie in dst. Errors are codes of utf8/Err.h. Callable from any thread; what
// writes to a std::string may allocate, and a failure may log a line.
namespace ulk::txt::utf8 {

// Copies whole sequences, so that dst and its terminator stay within max_size bytes; with max_size
// 0 it does nothing. A refused lead byte and a sequence that the terminator cuts end the copy.
// Gives 1.
int strncpy_0(char* dst, char const* src, unsigned long max_size); // real-time

// The same, appending to the text in dst. A dst with no terminator within max_size is left alone.
int strncat_0(char* dst, char const* src, unsigned long max_size); // real-time

// Cuts text at the last boundary of a sequence, so that it and its terminator stay within max_size
// bytes. Gives 1 if it was cut, 0 if it fits or max_size is 0.
int truncate_0(char* text, unsigned long max_size); // real-time
int truncate(std::string& text, unsigned long max_size);

// Encodes each wide character as one code point, up to the terminator. Gives 0 or the code of the
// first failure, at which it stops with the text so far.
int encode_wstring(std::string& dst, wchar_t const* src);
int encode_wstring(std::string& dst, std::wstring const& src);

// Appends each code point as one wide character to the emptied dst; failures as above.
int decode_wstring(std::wstring& dst, char const* src);
int decode_wstring(std::wstring& dst, std::string const& src);

// Finds the first occurrence of sub in text, comparing characters by their simple upper case.
// 0: found, pos is its offset in bytes; an empty sub is found with pos unchanged. Otherwise pos is
// -1 and the result Err_NOT_FOUND or the code of the first faulty sequence that the search met.
int strstr_ci(char const* text, char const* sub, long& pos); // real-time but for its log line

// Maps every character that starts before max_len bytes of src by its simple mapping. Gives 0 or
// the code of the first failure, at which it stops with the text so far in dst. The number of
// bytes can change.
int conv_to_upper_case(std::string& dst, char const* src, std::size_t max_len);
int conv_to_lower_case(std::string& dst, char const* src, std::size_t max_len);

} // namespace ulk::txt::utf8
