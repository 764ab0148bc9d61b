// Date-times: any stored text either converts or throws one of the parser's
// own exceptions (all std::exception); anything else escaping, a crash or a
// sanitizer report is a fault. A converted time prints and re-reads as
// itself.
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <string>

#include <boost/date_time/posix_time/posix_time.hpp>

#include <dbi/Field.h>

namespace {
const boost::posix_time::ptime kFirst(boost::gregorian::date(1400, 1, 1));
const boost::posix_time::ptime kLast(boost::gregorian::date(9999, 12, 31), boost::posix_time::hours(23));
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    dbi::DateTimeField field("event_time");
    field = std::string(reinterpret_cast<const char*>(data), size);
    boost::posix_time::ptime time;
    std::string text;
    try {
        time = field;
        // A huge time of day can carry the time past the years Boost reads.
        if (time.is_special() || time < kFirst || time > kLast) return 0;
        text = boost::posix_time::to_iso_extended_string(time);
    } catch (const std::exception&) {
        return 0;  // the documented result of text the parser refuses
    }
    dbi::DateTimeField written("event_time");
    written = text;
    if (static_cast<boost::posix_time::ptime>(written) != time) std::abort();
    return 0;
}
