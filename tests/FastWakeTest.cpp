#include <sqlite3.h>

#include <boost/chrono.hpp>
#include <cstring>
#include <functional>
#include <stdexcept>

#include "support/ChannelSupport.h"

using dbi::library::CommandResponse;
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
    }

    void TearDown() override {
        dbi::Notify::setDefaultWakeInterval(boost::posix_time::time_duration());
        SchemaDatabase::TearDown();
    }

    // Records the row id of every partition insert; `then` runs after.
    void listen(std::function<void()> then = [] {}) {
        notify.addListener(
            "library_partition",
            [this, then](int row, const std::string&, const std::string&) {
                inbox.add(std::to_string(row));
                then();
            },
            dbi::Notify::INSERT, "");
    }

    // Inserts a partition on the calling thread's connection; its id.
    std::string addPartition() {
        exec("INSERT INTO library_partition (guid) VALUES (hex(randomblob(8)))");
        return dbi::Transaction::getDefaultTransaction().lastRowId();
    }

    // Inserts a partition from a thread of its own, i.e. another connection.
    std::string addPartitionElsewhere() {
        std::string id;
        boost::thread writer([&] { id = addPartition(); });
        writer.join();
        return id;
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
};

}  // namespace

TEST_F(FastWake, intervalsAreCheckedAndTheDefaultIsTakenAtConstruction) {
    EXPECT_EQ(boost::posix_time::time_duration(), dbi::Notify().getWakeInterval());
    dbi::Notify::setDefaultWakeInterval(boost::posix_time::milliseconds(7));
    EXPECT_EQ(boost::posix_time::milliseconds(7), dbi::Notify().getWakeInterval());
    EXPECT_EQ(kWake, notify.getWakeInterval());  // constructed before
    EXPECT_THROW(notify.setWakeInterval(boost::posix_time::milliseconds(-1)), std::invalid_argument);
    EXPECT_THROW(dbi::Notify::setDefaultWakeInterval(boost::posix_time::pos_infin), std::invalid_argument);
    EXPECT_EQ(kWake, notify.getWakeInterval());
}

TEST_F(FastWake, anotherConnectionsCommitIsDeliveredWithinAFewIntervals) {
    listen();
    RunningNotify running(notify);
    for (std::size_t count = 1; count <= 3; ++count) {
        boost::this_thread::sleep_for(boost::chrono::milliseconds(100));  // let it settle into waiting
        const Clock::time_point start = Clock::now();
        addPartition();
        EXPECT_LT(timeUntil(count, start), kFast);
    }
    EXPECT_EQ(allPartitionIds(), inbox.texts());
}

// Rows that listeners write on the dispatcher's own connection leave its
// data version alone; they come with the read that follows every batch.
// Rows other connections commit during a batch wake the next wait.
TEST_F(FastWake, rowsWrittenDuringABatchComeOnceAndInOrder) {
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

TEST_F(FastWake, stopEndsTheWaitBetweenChecksAtOnce) {
    Clock::time_point stopped;
    {
        RunningNotify running(notify);
        boost::this_thread::sleep_for(boost::chrono::milliseconds(300));
        stopped = Clock::now();
    }
    EXPECT_LT(Clock::now() - stopped, kFast);
}

TEST_F(FastWake, theJournalIsStillPolledWhenTheVersionCheckFails) {
    listen([] { sqlite3_set_authorizer(dbi::DBManager::getConnection().get(), denyDataVersion, nullptr); });
    RunningNotify running(notify);
    addPartition();
    ASSERT_TRUE(inbox.waitFor(1, 20));
    // Only the 5-second poll can find this one now.
    const Clock::time_point start = Clock::now();
    addPartition();
    EXPECT_GT(timeUntil(2, start), boost::chrono::seconds(1));
    EXPECT_EQ(allPartitionIds(), inbox.texts());
}

TEST_F(FastWake, aCommandIsAnsweredBetweenTwoThreadsWithinMilliseconds) {
    dbi::CommandResponseHelper helper;
    helper.registerWithNotify(notify);
    helper.registerListener(
        [](const CommandResponse& accepted) {
            CommandResponse done(accepted);
            done.m_result.setIntValue(7);
            done.m_stateId.setIntValue(dbi::library::CRState::COMPLETED);
            done.save(dbi::Transaction::getDefaultTransaction(), false);
        },
        dbi::library::CROperation::INVENTORY, dbi::library::CREndpoint::LIBRARY_MANAGER);
    RunningNotify running(notify);
    // The sender's own dispatcher, made inside sendCommand, takes the default.
    dbi::Notify::setDefaultWakeInterval(kWake);
    CommandResponse command(1, 1, "", 0, 2, "", dbi::CURRENT_TIMESTAMP, 0, "", 0);
    const Clock::time_point start = Clock::now();
    const CommandResponse answer = dbi::sendCommand(command, boost::posix_time::seconds(30));
    EXPECT_LT(Clock::now() - start, kFast);
    EXPECT_EQ("3", answer.m_stateId.getValue());
    EXPECT_EQ("7", answer.m_result.getValue());
}
