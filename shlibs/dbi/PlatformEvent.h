#ifndef DBI_SHLIBS_PLATFORMEVENT_H
#define DBI_SHLIBS_PLATFORMEVENT_H

#include <string>

namespace dbi {

// The default destination of reports: the appliance's event service when
// built with DBI_WITH_QUILL, the system log otherwise.
void postPlatformEvent(const std::string& file, int line, const std::string& function, const std::string& text);

}  // namespace dbi

#endif
