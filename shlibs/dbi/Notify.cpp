#include "dbi/Notify.h"

#include <cstdlib>

#include <boost/bind/bind.hpp>
#include <boost/thread/thread.hpp>

#include "dbi/EventReporter.h"
#include "dbi/Query.h"

namespace dbi {

const char* const ConditionString[3] = {"INSERT", "UPDATE", "DELETE"};

namespace {

const boost::chrono::seconds kPollInterval(5);

long long parseId(const std::string& text) { return std::strtoll(text.c_str(), nullptr, 10); }

}  // namespace

Notify::Notify() : nextId(-1) {}

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
        (*found->second)(event.m_rowId.getIntValue(), event.m_oldValue.getValue(), event.m_newValue.getValue());
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

void Notify::pollJournal() {
    primeOnce();
    if (nextId < 0) return;
    std::vector<dbi::library::Event> events;
    try {
        Query<dbi::library::Event> query;
        query.orderBy(dbi::library::Event::id).addFilter(" " + std::string(dbi::library::Event::id) + " >= '" +
                                                          std::to_string(nextId) + "' ");
        query.execute(events, Transaction::getDefaultTransaction());
    } catch (const DBIBaseException&) {
        // Database trouble: read the same rows again next cycle.
    }
    if (events.empty()) return;
    notifyListeners(events);
    nextId = parseId(events.back().m_id.getValue()) + 1;  // only once every listener returned
}

void Notify::run() {
    boost::unique_future<void> stopped = stopPromise.get_future();
    while (!stopped.is_ready()) {
        try {
            pollJournal();
        } catch (const std::exception& e) {
            reportEvent("shlibs/dbi/Notify.cpp", 120, "run",
                        std::string("Caught an exception in a DBNotify thread: ") + e.what());
        }
        // Waiting on the stop future (not sleeping) lets stop() end the
        // wait at once.
        stopped.wait_for(kPollInterval);
    }
}

void Notify::stop() { stopPromise.set_value(); }

}  // namespace dbi
