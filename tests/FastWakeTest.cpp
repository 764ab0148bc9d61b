#include <sqlite3.h>
#include <stdlib.h>
#include <unistd.h>

#include <boost/chrono.hpp>
#include <cstring>
#include <functional>
#include <stdexcept>

#include "support/ChannelSupport.h"

using dbitest::Inbox;
using dbitest::RunningNotify;
using Clock = boost::chrono::steady_clock;
using Texts = std::vector<std::string>;

namespace {

const boost::posix_time::time_duration kWake = boost::posix_time::milliseconds(5);
// Well under the 5-second poll, which is what a missed wake would cost.
const boost::chrono::seconds kFast(3);

// Denies "PRAGMA data_version" on the connection it is installed on.
int denyDataVersion(void*, int action, const char* name, const char*, const char*, const char*) {
    return action == SQLITE_PRAGMA && name && std::strcmp(name, "data_version") == 0 ? SQLITE_DENY : SQLITE_OK;
}

class FastWake : public dbitest::SchemaDatabase {
protected:
    void SetUp() override {
        SchemaDatabase::SetUp();
        notify.setWakeInterval(kWake);
        dbi::setEventReporter(
            [this](const std::string&, int, const std::string&, const std::string& text) { reports.add(text); });
    }

    void TearDown() override {
        dbi::Notify::setDefaultWakeInterval(boost::posix_time::time_duration());
        dbi::Notify::setDefaultWakeOnCommit(false);
        dbi::setEventReporter({});
        unsetenv("DBI_COMMIT_WATCH");
        SchemaDatabase::TearDown();
    }

    // Records the row id of every partition insert, after running `first`.
    void listen(std::function<void()> first = [] {}) {
        notify.addListener(
            "library_partition",
            [this, first](int row, const std::string&, const std::string&) {
                first();
                inbox.add(std::to_string(row));
            },
            dbi::Notify::INSERT, "");
    }

    // Inserts a partition on the calling thread's connection; its id.
    std::string addPartition() {
        exec("INSERT INTO library_partition (guid) VALUES (hex(randomblob(8)))");
        return dbi::Transaction::getDefaultTransaction().lastRowId();
    }

    // Inserts a partition from a thread of its own, i.e. another connection.
    void addPartitionElsewhere() {
        boost::thread writer([this] { addPartition(); });
        writer.join();
    }

    Texts allPartitionIds() {
        dbi::ResultTuple rows = exec("SELECT id FROM library_partition ORDER BY id");
        Texts ids;
        for (int row = 1; row <= rows.get<1>(); ++row) ids.push_back(rows.get<0>().get()[row]);
        return ids;
    }

    // Time until the inbox holds `count` texts; fails the test after 20 s.
    Clock::duration timeUntil(std::size_t count, Clock::time_point start = Clock::now()) {
        EXPECT_TRUE(inbox.waitFor(count, 20)) << inbox.texts().size() << " of " << count << " arrived";
        return Clock::now() - start;
    }

    dbi::Notify notify;
    Inbox inbox;
    Inbox reports;
};

// The ways of waking early: every interval, on commit, and on commit where
// the files cannot be watched (the 5 ms fallback).
struct WakeMode {
    const char* name;
    bool onCommit;
    bool unwatchable;
};

class FastWakeModes : public FastWake, public ::testing::WithParamInterface<WakeMode> {
protected:
    void SetUp() override {
        FastWake::SetUp();
        if (GetParam().unwatchable) setenv("DBI_COMMIT_WATCH", "off", 1);
        notify.setWakeOnCommit(GetParam().onCommit);  // over the interval
    }

    // The mode for every Notify made from now on.
    void makeDefault() {
        dbi::Notify::setDefaultWakeInterval(kWake);
        dbi::Notify::setDefaultWakeOnCommit(GetParam().onCommit);
    }
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(, FastWakeModes,
                         ::testing::Values(WakeMode{"interval", false, false}, WakeMode{"commit", true, false},
                                           WakeMode{"commitFallback", true, true}),
                         [](const ::testing::TestParamInfo<WakeMode>& info) { return info.param.name; });

TEST_F(FastWake, intervalsAreCheckedAndTheDefaultIsTakenAtConstruction) {
    EXPECT_EQ(boost::posix_time::time_duration(), dbi::Notify().getWakeInterval());
    dbi::Notify::setDefaultWakeInterval(boost::posix_time::milliseconds(7));
    EXPECT_EQ(boost::posix_time::milliseconds(7), dbi::Notify().getWakeInterval());
    EXPECT_EQ(kWake, notify.getWakeInterval());  // constructed before
    EXPECT_THROW(notify.setWakeInterval(boost::posix_time::milliseconds(-1)), std::invalid_argument);
    EXPECT_THROW(dbi::Notify::setDefaultWakeInterval(boost::posix_time::pos_infin), std::invalid_argument);
    EXPECT_EQ(kWake, notify.getWakeInterval());

    EXPECT_FALSE(notify.getWakeOnCommit());
    dbi::Notify::setDefaultWakeOnCommit(true);
    EXPECT_TRUE(dbi::Notify().getWakeOnCommit());
    notify.setWakeOnCommit(true);
    EXPECT_TRUE(notify.getWakeOnCommit());
}

TEST_P(FastWakeModes, anotherConnectionsCommitIsDeliveredWithinAFewIntervals) {
    listen();
    RunningNotify running(notify);
    for (std::size_t count = 1; count <= 3; ++count) {
        boost::this_thread::sleep_for(boost::chrono::milliseconds(100));  // let it settle into waiting
        const Clock::time_point start = Clock::now();
        addPartition();
        EXPECT_LT(timeUntil(count, start), kFast);
    }
    EXPECT_EQ(allPartitionIds(), inbox.texts());
    // Falling back is reported once, with the reason; nothing else is.
    const Texts expected = {
        "Cannot watch the database for commits (turned off by DBI_COMMIT_WATCH=off); "
        "checking for them every 5 ms instead"};
    EXPECT_EQ(GetParam().unwatchable ? expected : Texts(), reports.texts());
}

// Rows that listeners write on the dispatcher's own connection leave its
// data version alone; they come with the read that follows every batch.
// Rows other connections commit during a batch wake the next wait.
TEST_P(FastWakeModes, rowsWrittenDuringABatchComeOnceAndInOrder) {
    int batches = 0;
    listen([&] {
        if (++batches > 4) return;
        addPartition();
        if (batches % 2 == 0) addPartitionElsewhere();
    });
    RunningNotify running(notify);
    const Clock::time_point start = Clock::now();
    addPartition();
    EXPECT_LT(timeUntil(7, start), kFast);
    boost::this_thread::sleep_for(boost::chrono::milliseconds(200));  // room for a wrong extra delivery
    EXPECT_EQ(allPartitionIds(), inbox.texts());
}

TEST_P(FastWakeModes, stopEndsTheWaitBetweenChecksAtOnce) {
    Clock::time_point stopped;
    {
        RunningNotify running(notify);
        boost::this_thread::sleep_for(boost::chrono::milliseconds(300));
        stopped = Clock::now();
    }
}

TEST_P(FastWakeModes, theJournalIsStillPolledWhenTheVersionCheckFails) {
    listen([] { sqlite3_set_authorizer(dbi::DBManager::getConnection().get(), denyDataVersion, nullptr); });
    RunningNotify running(notify);
    addPartition();
    ASSERT_TRUE(inbox.waitFor(1, 20));
    // Past the read that follows the batch, only the 5-second poll can find
    // the next row.
    boost::this_thread::sleep_for(boost::chrono::seconds(1));
    const Clock::time_point start = Clock::now();
    addPartition();
    EXPECT_GT(timeUntil(2, start), boost::chrono::seconds(1));
    EXPECT_EQ(allPartitionIds(), inbox.texts());
}

// The directory is watched, not the files: the write-ahead log need not exist
// when the watch starts, and writers that come and go are all seen.
TEST_F(FastWake, commitsAreSeenWhenTheLogIsCreatedAfterTheWatchStarts) {
    notify.setWakeOnCommit(true);
    listen();
    dbi::DBManager::swapConnection({});  // the last connection: its log goes
    ASSERT_NE(0, access((path + "-wal").c_str(), F_OK));
    RunningNotify running(notify);
    for (std::size_t count = 1; count <= 3; ++count) {
        boost::this_thread::sleep_for(boost::chrono::milliseconds(100));
        const Clock::time_point start = Clock::now();
        addPartitionElsewhere();
        EXPECT_LT(timeUntil(count, start), kFast);
    }
    EXPECT_EQ(allPartitionIds(), inbox.texts());
    EXPECT_EQ(Texts(), reports.texts());
}
