#ifndef DBI_SHLIBS_BASE64_H
#define DBI_SHLIBS_BASE64_H

#include <cstddef>
#include <string>

namespace dbi {

// The text base64_enc returns, built directly into a string.
std::string base64Text(const unsigned char* data, std::size_t length);

// The length of that text for `length` bytes, and the text written to `out`,
// which must hold that many characters.
std::size_t base64Length(std::size_t length);
void base64Into(const unsigned char* data, std::size_t length, char* out);

}  // namespace dbi

#endif
