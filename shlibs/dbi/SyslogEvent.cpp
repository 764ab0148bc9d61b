#include <syslog.h>

#include "PlatformEvent.h"

namespace dbi {

void postPlatformEvent(const std::string& file, int line, const std::string& function, const std::string& text) {
    syslog(LOG_USER | LOG_ERR, "%s:%d %s: %s", file.c_str(), line, function.c_str(), text.c_str());
}

}  // namespace dbi
