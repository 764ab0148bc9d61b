#ifndef DBI_NOTIFY_H
#define DBI_NOTIFY_H

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/function.hpp>
#include <boost/noncopyable.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/signals2/signal.hpp>
#include <boost/thread/future.hpp>
#include <boost/thread/once.hpp>

#include "dbi/Export.h"
#include "dbi/library/Event.h"

namespace dbi {

class CommitWatcher;

/// Turns rows of the change journal (library_event) into listener calls.
/// The owner registers listeners, starts one thread on the object
/// (boost::thread(boost::ref(notify))), and ends it with stop() and a join.
/// The journal is polled every 5 seconds, or soon after another connection
/// commits if wake on commit or a wake interval is set; every listener runs
/// on that thread, one at a time. Only journal rows written after the first listener
/// registered (or the thread started) are delivered. Register listeners for
/// new keys before the thread starts; a stopped object cannot run again.
class DBI_EXPORT Notify : private boost::noncopyable {
public:
    /// The kinds of change a listener can ask for.
    enum Condition { INSERT = 0, UPDATE = 1, DELETE = 2 };

    /// Called with the changed row's id, the old and the new value.
    using Listener = boost::function<void(int, const std::string&, const std::string&)>;
    /// The listeners of one table and action.
    using Signal = boost::signals2::signal<void(int, const std::string&, const std::string&)>;

    /// Takes the default wake interval and wake on commit in force at
    /// construction.
    Notify();
    ~Notify();

    /// Wake on commit: sleeps until the database file or its write-ahead log
    /// is written to, and reads the journal as soon as another connection (of
    /// any process) has committed; no timer runs but the 5-second poll. Takes
    /// precedence over a wake interval. Where the files cannot be watched,
    /// run() reports why, once, and checks every 5 ms instead. Call before
    /// run(). Off by default.
    void setWakeOnCommit(bool on);
    /// Whether wake on commit is on.
    bool getWakeOnCommit() const { return commitWatcher != nullptr; }
    /// Wake on commit for every Notify constructed afterwards, including the
    /// one the free sendCommand creates. Off unless set. Thread-safe.
    static void setDefaultWakeOnCommit(bool on);

    /// Fast wake: while waiting, checks every `interval` whether another
    /// connection (of any process) committed, and reads the journal at once
    /// when one did; the journal is still read at least every 5 seconds.
    /// Zero turns it off. Call before run(). Throws std::invalid_argument for
    /// a negative or special (infinite, not-a-time) duration.
    void setWakeInterval(boost::posix_time::time_duration interval);
    /// The wake interval in force; zero when off.
    boost::posix_time::time_duration getWakeInterval() const { return wakeInterval; }
    /// The wake interval of every Notify constructed afterwards, including the
    /// one the free sendCommand creates. Zero (off) unless set. Thread-safe.
    static void setDefaultWakeInterval(boost::posix_time::time_duration interval);

    /// Listens to journal rows of `table` whose action column is `suffix`.
    boost::signals2::connection addListener(std::string table, Listener listener, std::string suffix);
    /// Listens to inserts, deletes or updates of `table`; an update listener
    /// with a column hears only changes of that column.
    boost::signals2::connection addListener(std::string table, Listener listener, Condition condition,
                                            std::string column);

    /// Calls the listeners of each event in order.
    void notifyListeners(std::vector<dbi::library::Event> events);
    /// Moves the cursor past the newest journal row.
    void prime();

    /// The thread body; returns after stop(). A listener's exception is
    /// reported, and the whole batch is delivered again 5 seconds later.
    /// With either kind of wake, a delivered batch is followed by another
    /// read at once: rows that listeners wrote on this thread's connection
    /// wake nothing.
    void run();
    /// run(), so that boost::thread can start the object by reference.
    void operator()() { run(); }
    /// Ends run() at once if it waits, else at the end of its cycle. Once.
    void stop();

    /// The id of the next journal row to deliver. For the dispatcher thread, or
    /// after it ended.
    long long nextEventId() const { return nextId; }

private:
    void primeOnce();
    /// True when it delivered a batch.
    bool pollJournal();
    /// Whether run() can sleep on the commit watcher; reports why not.
    bool commitWatchReady();

    std::map<std::string, boost::shared_ptr<Signal>> listeners;
    /// 64-bit: journal ids outgrow int on a long-lived appliance.
    long long nextId;
    boost::posix_time::time_duration wakeInterval;
    /// Set while wake on commit is on; stop() wakes it.
    std::unique_ptr<CommitWatcher> commitWatcher;
    boost::promise<void> stopPromise;
    boost::once_flag primed = BOOST_ONCE_INIT;
};

/// Action-column texts of the three conditions, indexed by Notify::Condition.
DBI_EXPORT extern const char* const ConditionString[3];

}  // namespace dbi

#endif
