#ifndef DBI_TESTS_CHANNELSUPPORT_H
#define DBI_TESTS_CHANNELSUPPORT_H

#include <boost/thread/condition_variable.hpp>
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
    void SetUp() override;
};

// Collects texts from other threads; waits for them with a bound.
class Inbox {
public:
    void add(const std::string& text);
    // True when at least `count` texts arrived within `seconds`.
    bool waitFor(std::size_t count, int seconds);
    std::vector<std::string> texts();

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
