#ifndef DBI_SHLIBS_BASE64_H
#define DBI_SHLIBS_BASE64_H

#include <cstddef>
#include <string>

namespace dbi {

// The text base64_enc returns, built directly into a string.
std::string base64Text(const unsigned char* data, std::size_t length);

}  // namespace dbi

#endif
