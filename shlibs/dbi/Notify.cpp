#include "dbi/Notify.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <stdexcept>

#include <boost/bind/bind.hpp>
#include <boost/thread/thread.hpp>

#include "CommitWatcher.h"
#include "DataVersion.h"
#include "dbi/Configure.h"
#include "dbi/EventReporter.h"
#include "dbi/Query.h"

namespace dbi {

const char* const ConditionString[3] = {"INSERT", "UPDATE", "DELETE"};

namespace {

const boost::chrono::seconds kPollInterval(5);
// The wake interval used where commits cannot be watched.
const boost::posix_time::time_duration kFallbackWake = boost::posix_time::milliseconds(5);
// When a change was seen but the data version has not moved yet, it is read
// again at these times after the change (in microseconds): the kernel reports
// a commit's last write before the commit is visible to readers, by as long
// as the log's sync takes. Closely at first, then doubling up to a second.
const long kRechecks[] = {0, 100, 300, 1000, 2000, 4000, 8000, 16000, 32000, 64000, 128000, 256000, 512000, 1024000};
// How long after a change its commit is waited for by re-checks alone.
const boost::chrono::microseconds kSettleTime(2000);

// The wake interval new Notify objects take, in microseconds.
std::atomic<long long> defaultWakeMicroseconds(0);
std::atomic<bool> defaultWakeOnCommit(false);

using Clock = boost::chrono::steady_clock;

long long parseId(const std::string& text) { return std::strtoll(text.c_str(), nullptr, 10); }

// SQLite keeps an integer text beyond 64 bits in an integer column as a real
// ("1.0e+20"), which read as a decimal prefix would be row 1. No row of int
// range is meant by a real, so it saturates by its sign; decimal and
// non-numeric texts read as IntegerField reads them.
int journalRowId(const IntegerField& rowId) {
    const std::string& text = rowId.getValue();
    char* end = nullptr;
    std::strtoll(text.c_str(), &end, 10);
    const bool decimal = *end == '\0';
    if (decimal || text.find_first_not_of("0123456789+-.eE") != std::string::npos) return rowId.getIntValue();
    const double real = std::strtod(text.c_str(), &end);
    if (end == text.c_str() || *end != '\0') return rowId.getIntValue();
    return std::signbit(real) ? INT_MIN : INT_MAX;
}

boost::posix_time::time_duration checkedWakeInterval(boost::posix_time::time_duration interval) {
    if (interval.is_special() || interval.is_negative())
        throw std::invalid_argument("wake interval must be a finite duration of zero or more");
    return interval;
}

// Waits until stop(), the poll interval, or, every `wake` (not zero), a
// commit of another connection since `version` was marked.
void waitForNextPoll(boost::unique_future<void>& stopped, boost::posix_time::time_duration wake,
                     DataVersion& version) {
    if (wake.total_microseconds() == 0) {
        // Waiting on the stop future (not sleeping) lets stop() end the
        // wait at once.
        stopped.wait_for(kPollInterval);
        return;
    }
    const Clock::time_point deadline = Clock::now() + kPollInterval;
    const boost::chrono::microseconds step(wake.total_microseconds());
    for (Clock::time_point now = Clock::now(); now < deadline; now = Clock::now()) {
        const auto left = boost::chrono::duration_cast<boost::chrono::microseconds>(deadline - now);
        if (stopped.wait_for(std::min(step, left)) == boost::future_status::ready) return;
        if (version.changed()) return;
    }
}

// The files' latest change, and whether a commit was seen since.
struct LastChange {
    Clock::time_point at = Clock::now();  // the files may have changed before the watch began
    bool seen = false;
};

// The next re-check after `change`, or `deadline`. Once the change's commit
// was seen, only a commit whose writes came with it is looked for, and not
// before the settle time: under steady writes the early re-checks would cost
// a wake-up per commit.
Clock::time_point nextRecheck(const LastChange& change, Clock::time_point now, Clock::time_point deadline) {
    for (const long after : kRechecks) {
        if (change.seen && after < kSettleTime.count()) continue;
        const Clock::time_point recheck = change.at + boost::chrono::microseconds(after);
        if (recheck > now) return std::min(deadline, recheck);
    }
    return deadline;
}

// Waits until stop(), the poll interval, or a commit of another connection
// since `version` was marked. The re-checks run from the files' latest change,
// which this updates: they go on across a read, since the events of a commit
// still on its way may have been taken before it. While a seen change waits
// for its commit to show, further writes only wait for the next re-check: a
// commit writes several times before it shows.
void waitForCommit(CommitWatcher& watcher, DataVersion& version, LastChange& change) {
    const Clock::time_point deadline = Clock::now() + kPollInterval;
    bool settling = false;
    for (;;) {
        const Clock::time_point now = Clock::now();
        if (now >= deadline) return;
        const Clock::time_point until = nextRecheck(change, now, deadline);
        const boost::chrono::microseconds left =
            boost::chrono::duration_cast<boost::chrono::microseconds>(until - now);
        const CommitWatcher::Outcome outcome = settling ? watcher.sleep(left) : watcher.wait(left);
        if (outcome == CommitWatcher::WOKEN) return;
        if (outcome == CommitWatcher::CHANGED)
            change = LastChange();
        else if (until == deadline)
            return;
        if (version.changed()) {
            // The writes that came while settling were the commit's own; a
            // later commit among them is still found by the re-checks.
            if (settling) watcher.forget();
            change.seen = true;
            return;
        }
        settling = outcome == CommitWatcher::CHANGED || (settling && until - change.at < kSettleTime);
    }
}

}  // namespace

Notify::Notify() : nextId(-1), wakeInterval(boost::posix_time::microseconds(defaultWakeMicroseconds.load())) {
    setWakeOnCommit(defaultWakeOnCommit);
}

Notify::~Notify() = default;

void Notify::setWakeOnCommit(bool on) {
    if (on == getWakeOnCommit()) return;
    commitWatcher = on ? std::make_unique<CommitWatcher>() : nullptr;
}

void Notify::setDefaultWakeOnCommit(bool on) { defaultWakeOnCommit = on; }

void Notify::setWakeInterval(boost::posix_time::time_duration interval) {
    wakeInterval = checkedWakeInterval(interval);
}

void Notify::setDefaultWakeInterval(boost::posix_time::time_duration interval) {
    defaultWakeMicroseconds = checkedWakeInterval(interval).total_microseconds();
}

boost::signals2::connection Notify::addListener(std::string table, Listener listener, std::string suffix) {
    primeOnce();
    boost::shared_ptr<Signal>& signal = listeners[table + suffix];
    if (!signal) signal = boost::make_shared<Signal>();
    return signal->connect(listener);
}

boost::signals2::connection Notify::addListener(std::string table, Listener listener, Condition condition,
                                                std::string column) {
    const std::string suffix = (condition == UPDATE && !column.empty()) ? column : ConditionString[condition];
    return addListener(table, listener, suffix);
}

void Notify::notifyListeners(std::vector<dbi::library::Event> events) {
    for (const dbi::library::Event& event : events) {
        auto found = listeners.find(event.m_whichTable.getValue() + event.m_actionColumn.getValue());
        if (found == listeners.end()) continue;
        (*found->second)(journalRowId(event.m_rowId), event.m_oldValue.getValue(), event.m_newValue.getValue());
    }
}

void Notify::prime() {
    Query<dbi::library::Event> newest;
    newest.orderBy(dbi::library::Event::id).setDescending(true).setLimit(1);
    try {
        nextId = parseId(newest.get(Transaction::getDefaultTransaction()).m_id.getValue()) + 1;
    } catch (const DBIException<dbiresult::DBI_NOT_FOUND>&) {
        nextId = 0;  // empty journal: the first row ever written is new
    }
}

// A failed prime leaves the flag unset, so the next call primes again.
void Notify::primeOnce() { boost::call_once(primed, boost::bind(&Notify::prime, this)); }

bool Notify::pollJournal() {
    primeOnce();
    if (nextId < 0) return false;
    std::vector<dbi::library::Event> events;
    try {
        Query<dbi::library::Event> query;
        query.orderBy(dbi::library::Event::id)
            .compare(dbi::library::Event::id, ">=", nextId, dbi::library::Event::m_tableName);
        query.execute(events, Transaction::getDefaultTransaction());
    } catch (const DBIBaseException&) {
        // Database trouble: read the same rows again next cycle.
    }
    if (events.empty()) return false;
    notifyListeners(events);
    nextId = parseId(events.back().m_id.getValue()) + 1;  // only once every listener returned
    return true;
}

bool Notify::commitWatchReady() {
    if (!commitWatcher) return false;
    if (commitWatcher->watch(Configure::getDatabaseName())) return true;
    reportEvent("shlibs/dbi/Notify.cpp", __LINE__, "run",
                "Cannot watch the database for commits (" + commitWatcher->failure() +
                    "); checking for them every 5 ms instead");
    return false;
}

void Notify::run() {
    boost::unique_future<void> stopped = stopPromise.get_future();
    const bool watching = commitWatchReady();
    const boost::posix_time::time_duration interval = getWakeOnCommit() && !watching ? kFallbackWake : wakeInterval;
    const bool waking = watching || interval.total_microseconds() != 0;
    DataVersion version;
    // Marked before the first read, so a commit during it still wakes the
    // wait; later marks are the versions the waits saw change.
    if (waking) version.mark();
    LastChange lastChange;
    while (!stopped.is_ready()) {
        bool delivered = false;
        try {
            delivered = pollJournal();
        } catch (const std::exception& e) {
            reportEvent("shlibs/dbi/Notify.cpp", __LINE__, "run",
                        std::string("Caught an exception in a DBNotify thread: ") + e.what());
            stopped.wait_for(kPollInterval);  // the batch comes again after a pause, never in a tight loop
            continue;
        }
        // Listeners' writes on this connection leave its data version alone.
        if (waking && delivered) continue;
        if (watching)
            waitForCommit(*commitWatcher, version, lastChange);
        else
            waitForNextPoll(stopped, interval, version);
    }
}

void Notify::stop() {
    stopPromise.set_value();
    if (commitWatcher) commitWatcher->wake();
}

}  // namespace dbi
