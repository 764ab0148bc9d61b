#include "dbi/EventReporter.h"

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "PlatformEvent.h"

namespace dbi {

namespace {

boost::mutex reporterMutex;
EventReporter customReporter;

}  // namespace

void setEventReporter(EventReporter reporter) {
    boost::lock_guard<boost::mutex> lock(reporterMutex);
    customReporter = reporter;
}

void reportEvent(const std::string& file, int line, const std::string& function, const std::string& text) {
    try {
        EventReporter reporter;
        {
            boost::lock_guard<boost::mutex> lock(reporterMutex);
            reporter = customReporter;
        }
        if (reporter)
            reporter(file, line, function, text);
        else
            postPlatformEvent(file, line, function, text);
    } catch (...) {
        // A failing reporter must not take the reporting thread down.
    }
}

}  // namespace dbi
