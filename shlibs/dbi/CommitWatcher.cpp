#include "CommitWatcher.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <boost/chrono/system_clocks.hpp>

namespace dbi {

namespace {

// Writes that can end a commit: in place, on close, or by a file appearing.
const uint32_t kChangeMask = IN_MODIFY | IN_CLOSE_WRITE | IN_CREATE | IN_MOVED_TO;

std::string systemError(const std::string& call) {
    return call + ": " + std::strerror(errno);
}

void closeIfOpen(int descriptor) {
    if (descriptor >= 0) close(descriptor);
}

}  // namespace

CommitWatcher::CommitWatcher() {
    int ends[2];
    if (pipe2(ends, O_NONBLOCK | O_CLOEXEC) != 0) {
        fail(systemError("pipe2"));
        return;
    }
    wakeRead = ends[0];
    wakeWrite = ends[1];
}

CommitWatcher::~CommitWatcher() {
    closeIfOpen(changes);
    closeIfOpen(wakeRead);
    closeIfOpen(wakeWrite);
}

bool CommitWatcher::fail(const std::string& what) {
    if (whyNot.empty()) whyNot = what;
    return false;
}

bool CommitWatcher::watch(const std::string& databasePath) {
    if (wakeRead < 0) return false;  // the reason was kept at construction
    const char* setting = std::getenv("DBI_COMMIT_WATCH");
    if (setting && std::strcmp(setting, "off") == 0) return fail("turned off by DBI_COMMIT_WATCH=off");
    const std::string::size_type slash = databasePath.rfind('/');
    const std::string directory = slash == std::string::npos ? "." : slash == 0 ? "/" : databasePath.substr(0, slash);
    databaseName = slash == std::string::npos ? databasePath : databasePath.substr(slash + 1);
    walName = databaseName + "-wal";
    changes = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (changes < 0) return fail(systemError("inotify_init1"));
    if (inotify_add_watch(changes, directory.c_str(), kChangeMask | IN_ONLYDIR) < 0)
        return fail(systemError("inotify_add_watch " + directory));
    return true;
}

CommitWatcher::Outcome CommitWatcher::wait(boost::chrono::microseconds timeout) { return await(timeout, true); }

CommitWatcher::Outcome CommitWatcher::sleep(boost::chrono::microseconds timeout) { return await(timeout, false); }

CommitWatcher::Outcome CommitWatcher::await(boost::chrono::microseconds timeout, bool forChanges) {
    using Clock = boost::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + timeout;
    pollfd watched[2] = {{wakeRead, POLLIN, 0}, {changes, POLLIN, 0}};
    for (;;) {
        const long long left = std::max<long long>(
            0, boost::chrono::duration_cast<boost::chrono::microseconds>(deadline - Clock::now()).count());
        // Sub-millisecond waits need ppoll; poll counts whole milliseconds.
        const timespec limit = {static_cast<time_t>(left / 1000000), static_cast<long>(left % 1000000 * 1000)};
        const int ready = ppoll(watched, forChanges ? 2 : 1, &limit, nullptr);
        if (ready < 0 && errno == EINTR) continue;
        if (ready < 0) nanosleep(&limit, nullptr);  // never a busy loop, even if ppoll keeps failing
        if (ready <= 0) return TIMED_OUT;
        if (watched[0].revents) return WOKEN;
        if (takeChanges()) return CHANGED;
        // Other files of the directory changed: sleep on.
    }
}

void CommitWatcher::wake() {
    const char byte = 1;
    // The pipe stays readable: later waits end at once too.
    while (write(wakeWrite, &byte, 1) < 0 && errno == EINTR) {
    }
}

bool CommitWatcher::takeChanges() {
    alignas(inotify_event) char buffer[4096];
    bool relevant = false;
    for (;;) {
        const ssize_t length = read(changes, buffer, sizeof buffer);
        if (length < 0 && errno == EINTR) continue;
        if (length <= 0) return relevant;
        for (const char* at = buffer; at < buffer + length;) {
            const inotify_event* event = reinterpret_cast<const inotify_event*>(at);
            // An overflowed queue lost names: treat it as a change.
            if ((event->mask & IN_Q_OVERFLOW) ||
                (event->len && (databaseName == event->name || walName == event->name)))
                relevant = true;
            at += sizeof(inotify_event) + event->len;
        }
    }
}

}  // namespace dbi
