// Stored texts read back: one input is taken as base64, as a number array and
// as a date-time. Decoding arbitrary base64 stays inside its buffer and
// reports no more bytes than the text could hold, and any bytes survive
// encoding and decoding. A number array parses into at most one number per
// character, for every element type, and survives being written out and read
// again. A date-time either converts or throws one of the parser's own
// exceptions (all std::exception), and a converted time re-reads as itself.
// Anything else escaping, a crash or a sanitizer report is a fault.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include <boost/date_time/posix_time/posix_time.hpp>

#include <dbi/Encoding.h>
#include <dbi/Field.h>

namespace {

void check(bool condition) {
    if (!condition) std::abort();
}

void base64(const std::string& text) {
    unsigned int length = 0;
    boost::shared_array<unsigned char> bytes = dbi::base64_dec(text.c_str(), length);  // up to a NUL
    check(bytes && length <= std::strlen(text.c_str()) && bytes[length] == '\0');

    const boost::shared_array<char> encoded =
        dbi::base64_enc(reinterpret_cast<const unsigned char*>(text.data()), static_cast<unsigned int>(text.size()));
    check(static_cast<bool>(encoded));
    bytes = dbi::base64_dec(encoded.get(), length);
    check(length == text.size() && (text.empty() || std::memcmp(bytes.get(), text.data(), text.size()) == 0));
}

template <class T>
void numberArray(const std::string& text) {
    unsigned int count = 0;
    const boost::shared_array<T> numbers = dbi::convertStringToNumberArray<T>(text, count);
    check(count <= text.size() && (count == 0 || numbers));
    const std::vector<T> parsed(numbers.get(), numbers.get() + count);
    unsigned int again = 0;
    const boost::shared_array<T> reread =
        dbi::convertStringToNumberArray<T>(dbi::convertNumberArrayToString<T>(parsed), again);
    check(std::vector<T>(reread.get(), reread.get() + again) == parsed);
}

void dateTime(const std::string& text) {
    static const boost::posix_time::ptime first(boost::gregorian::date(1400, 1, 1));
    static const boost::posix_time::ptime last(boost::gregorian::date(9999, 12, 31), boost::posix_time::hours(23));
    dbi::DateTimeField field("event_time");
    field = text;
    boost::posix_time::ptime time;
    try {
        time = field;
        // A huge time of day can carry the time past the years Boost reads.
        if (time.is_special() || time < first || time > last) return;
    } catch (const std::exception&) {
        return;  // the documented result of text the parser refuses
    }
    dbi::DateTimeField written("event_time");
    written = boost::posix_time::to_iso_extended_string(time);
    check(static_cast<boost::posix_time::ptime>(written) == time);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    base64(text);
    numberArray<short>(text);
    numberArray<int>(text);
    numberArray<long long>(text);
    dateTime(text);
    return 0;
}
