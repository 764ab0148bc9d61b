#ifndef DBI_EVENTREPORTER_H
#define DBI_EVENTREPORTER_H

#include <string>

#include <boost/function.hpp>

#include "dbi/Export.h"

namespace dbi {

/// Receives failures that happen where no caller can catch them (the
/// dispatcher thread): source file, line, function and text.
using EventReporter =
    boost::function<void(const std::string& file, int line, const std::string& function, const std::string& text)>;

/// Replaces the reporter for the whole process; an empty function restores
/// the default, which writes to the system log (facility user, priority
/// error) or, in appliance builds, posts a platform event. Thread-safe.
DBI_EXPORT void setEventReporter(EventReporter reporter);

/// Hands one report to the current reporter. Never throws.
DBI_EXPORT void reportEvent(const std::string& file, int line, const std::string& function, const std::string& text);

}  // namespace dbi

#endif
