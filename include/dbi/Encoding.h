#ifndef DBI_ENCODING_H
#define DBI_ENCODING_H

#include <ostream>
#include <string>
#include <vector>

#include <boost/shared_array.hpp>

#include "dbi/Export.h"

namespace dbi {

// Text forms of the non-text column kinds. None of these keeps state; none
// reports bad input: decoders return what they could read.

/// Base64 with a line feed after every 64 characters and after the last
/// line; the result is NUL-terminated. Throws std::bad_alloc when memory
/// runs out.
DBI_EXPORT boost::shared_array<char> base64_enc(const unsigned char* data, unsigned int length);

/// Decodes the form base64_enc writes. `length` receives the number of bytes;
/// one extra, uncounted NUL follows them.
DBI_EXPORT boost::shared_array<unsigned char> base64_dec(const char* text, unsigned int& length);

/// "1,2,3" for {1, 2, 3}; "" for an empty list.
template <class T>
std::string convertNumberArrayToString(const std::vector<T>& values);

/// Reads decimal numbers separated by any of "{}," ("{1,2}" and "1,2" alike),
/// narrowing each to T silently; a token without digits reads as 0.
template <class T>
boost::shared_array<T> convertStringToNumberArray(const std::string& text, unsigned int& count);

#define DBI_DECLARE_NUMBER_ARRAY_CONVERSIONS(T)                                                       \
    extern template DBI_EXPORT std::string convertNumberArrayToString<T>(const std::vector<T>&);     \
    extern template DBI_EXPORT boost::shared_array<T> convertStringToNumberArray<T>(const std::string&, \
                                                                                    unsigned int&);
DBI_DECLARE_NUMBER_ARRAY_CONVERSIONS(short)
DBI_DECLARE_NUMBER_ARRAY_CONVERSIONS(int)
DBI_DECLARE_NUMBER_ARRAY_CONVERSIONS(long long)
#undef DBI_DECLARE_NUMBER_ARRAY_CONVERSIONS

/// A bool that streams into SQL text as "t" or "f".
class DBI_EXPORT sqlite_bool {
public:
    /// Wraps `value`.
    explicit sqlite_bool(bool value) : value(value) {}
    /// The wrapped value.
    bool get() const { return value; }

private:
    bool value;
};

/// Writes "t" or "f".
DBI_EXPORT std::ostream& operator<<(std::ostream& out, const sqlite_bool& value);

}  // namespace dbi

#endif
