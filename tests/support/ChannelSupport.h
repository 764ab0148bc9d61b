#ifndef DBI_TESTS_CHANNELSUPPORT_H
#define DBI_TESTS_CHANNELSUPPORT_H

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>
#include <string>
#include <vector>

#include "support/TestDatabase.h"

namespace dbitest {

// A database made from the schema file, with two endpoints and two
// operations to send commands between.
class SchemaDatabase : public TestDatabase {
protected:
    void SetUp() override {
        TestDatabase::SetUp();
        loadSchema();
        exec(
            "INSERT INTO library_crendpoint VALUES (1, 'library manager'), (2, 'media manager');"
            "INSERT INTO library_croperation VALUES (1, 'inventory'), (2, 'move medium');");
    }
};

// Collects texts from other threads; waits for them with a bound.
class Inbox {
public:
    void add(const std::string& text) {
        boost::lock_guard<boost::mutex> lock(mutex);
        received.push_back(text);
        arrived.notify_all();
    }

    // True when at least `count` texts arrived within `seconds`.
    bool waitFor(std::size_t count, int seconds) {
        boost::unique_lock<boost::mutex> lock(mutex);
        return arrived.wait_for(lock, boost::chrono::seconds(seconds), [&] { return received.size() >= count; });
    }

    std::vector<std::string> texts() {
        boost::lock_guard<boost::mutex> lock(mutex);
        return received;
    }

private:
    boost::mutex mutex;
    boost::condition_variable arrived;
    std::vector<std::string> received;
};

// Runs a Notify on its own thread; stops and joins it when destroyed.
class RunningNotify {
public:
    explicit RunningNotify(dbi::Notify& notify) : notify(notify), thread(boost::ref(notify)) {}
    ~RunningNotify() {
        notify.stop();
        thread.join();
    }

private:
    dbi::Notify& notify;
    boost::thread thread;
};

}  // namespace dbitest

#endif
