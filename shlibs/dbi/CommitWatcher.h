#ifndef DBI_COMMITWATCHER_H
#define DBI_COMMITWATCHER_H

#include <boost/chrono/duration.hpp>
#include <boost/noncopyable.hpp>
#include <string>

namespace dbi {

// Lets a dispatcher thread sleep until the database file or its write-ahead
// log is written to, or until another thread wakes it, with no timer of its
// own. It watches the file's directory through the kernel's file-change
// notification, because the -wal file is deleted and created again when the
// last connection closes. A change seen here may come before the commit is
// visible to readers: callers confirm it with the data version.
// wait() belongs to one thread; wake() may be called from any thread.
class CommitWatcher : private boost::noncopyable {
public:
    enum Outcome { CHANGED, WOKEN, TIMED_OUT };

    // Makes the wake-up channel; the watch itself starts with watch().
    CommitWatcher();
    ~CommitWatcher();

    // Starts watching the database file `databasePath` and its -wal file.
    // False, with the reason in failure(), when that is not possible. The
    // environment variable DBI_COMMIT_WATCH=off makes it fail on purpose.
    bool watch(const std::string& databasePath);
    const std::string& failure() const { return whyNot; }

    // Sleeps until a watched file changes, wake() or `timeout`. Every change
    // already queued is taken by one call, so a burst wakes it once.
    Outcome wait(boost::chrono::microseconds timeout);
    // Sleeps until wake() or `timeout`; changes stay queued for the next wait.
    Outcome sleep(boost::chrono::microseconds timeout);
    // Drops the changes queued so far.
    void forget() { takeChanges(); }
    // Ends the current wait, and every later one, at once.
    void wake();

private:
    Outcome await(boost::chrono::microseconds timeout, bool forChanges);
    // Consumes the queued change records; true if one names a watched file.
    bool takeChanges();
    bool fail(const std::string& what);

    int changes = -1;
    int wakeRead = -1;
    int wakeWrite = -1;
    std::string databaseName;
    std::string walName;
    std::string whyNot;
};

}  // namespace dbi

#endif
