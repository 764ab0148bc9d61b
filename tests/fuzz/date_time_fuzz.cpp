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

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    dbi::DateTimeField field("event_time");
    field = std::string(reinterpret_cast<const char*>(data), size);
    boost::posix_time::ptime time;
    try {
        time = field;
    } catch (const std::exception&) {
        return 0;  // the documented result of text the parser refuses
    }
    if (time.is_special()) return 0;
    dbi::DateTimeField written("event_time");
    written = boost::posix_time::to_iso_extended_string(time);
    if (static_cast<boost::posix_time::ptime>(written) != time) std::abort();
    return 0;
}
