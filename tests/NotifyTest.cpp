// The journal dispatcher: what it delivers to whom, and how soon it wakes
// for another connection's commit (every interval, on commit, or checking
// every 5 ms where the files cannot be watched); commands sent over it.
#include <sqlite3.h>
#include <stdlib.h>
#include <unistd.h>

#include <boost/algorithm/string/join.hpp>
#include <boost/chrono.hpp>
#include <climits>
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>

#include "support/ChannelSupport.h"

using dbi::library::CommandResponse;
using dbi::library::CREndpoint;
using dbi::library::CROperation;
using dbitest::Inbox;
using dbitest::RunningNotify;
using Clock = boost::chrono::steady_clock;
using Texts = std::vector<std::string>;

namespace {

// A dispatcher over a database with the schema; texts that listeners and
// the event reporter pass on arrive in the inboxes.
class NotifyTest : public dbitest::SchemaDatabase {
protected:
    void SetUp() override {
        SchemaDatabase::SetUp();
        dbi::setEventReporter(
            [this](const std::string&, int, const std::string&, const std::string& text) { reports.add(text); });
    }

    void TearDown() override {
        dbi::setEventReporter({});
        unsetenv("DBI_COMMIT_WATCH");  // set by the fallback's wake mode
        SchemaDatabase::TearDown();
    }

    // A listener that records "row old new".
    dbi::Notify::Listener recorder(Inbox& into) {
        return [&into](int row, const std::string& from, const std::string& to) {
            into.add(std::to_string(row) + " " + from + " " + to);
        };
    }

    // Inserts a partition on the calling thread's connection; its id.
    std::string addPartition() {
        exec("INSERT INTO library_partition (guid) VALUES (hex(randomblob(8)))");
        return dbi::Transaction::getDefaultTransaction().lastRowId();
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

    // Inserts a partition from a thread of its own, i.e. another connection.
    void addPartitionElsewhere() {
        boost::thread writer([this] { addPartition(); });
        writer.join();
    }

    // Every partition is delivered once, in the order of its id.
    void expectAllPartitionsInOrder() {
        EXPECT_EQ(scalar("SELECT group_concat(id, ' ') FROM (SELECT id FROM library_partition ORDER BY id)"),
                  boost::algorithm::join(inbox.texts(), " "));
    }

    // Time until the inbox holds `count` texts; fails the test after 20 s.
    Clock::duration timeUntil(std::size_t count, Clock::time_point start) {
        EXPECT_TRUE(inbox.waitFor(count, 20)) << inbox.texts().size() << " of " << count << " arrived";
        return Clock::now() - start;
    }

    // A journal row from "o" to "n"; its row id as text, which need not be a number.
    static dbi::library::Event event(const std::string& table, const std::string& row, const std::string& action) {
        dbi::library::Event journalRow(table, 0, action, "o", "n", "");
        journalRow.m_rowId = row;
        return journalRow;
    }

    dbi::Notify notify;
    Inbox inbox;
    Inbox reports;
};

// Well under the 5-second poll, which is what a missed wake would cost.
const boost::chrono::seconds kFast(3);

CommandResponse command(int operation) {
    return CommandResponse(CREndpoint::LIBRARY_MANAGER, operation, "slot 12", 12, CREndpoint::MEDIA_MANAGER, "",
                           dbi::CURRENT_TIMESTAMP, 0, "", 0);
}

// Denies "PRAGMA data_version" on the connection it is installed on.
int denyDataVersion(void*, int action, const char* name, const char*, const char*, const char*) {
    return action == SQLITE_PRAGMA && name && std::strcmp(name, "data_version") == 0 ? SQLITE_DENY : SQLITE_OK;
}

// The ways of waking early: every "interval", on "commit", and on commit
// where the files cannot be watched (the 5 ms "commitFallback").
class FastWakeModes : public NotifyTest, public ::testing::WithParamInterface<std::string> {
protected:
    void SetUp() override {
        NotifyTest::SetUp();
        if (GetParam() == "commitFallback") setenv("DBI_COMMIT_WATCH", "off", 1);
        notify.setWakeInterval(boost::posix_time::milliseconds(5));
        notify.setWakeOnCommit(GetParam() != "interval");  // over the interval
    }
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(, FastWakeModes, ::testing::Values("interval", "commit", "commitFallback"),
                         [](const ::testing::TestParamInfo<std::string>& info) { return info.param; });

// The directory is watched, not the files: the write-ahead log need not exist
// when the watch starts, and writers that come and go are all seen. Rows that
// listeners write on the dispatcher's own connection leave its data version
// alone; they come with the read that follows every batch. Rows other
// connections commit during a batch wake the next wait. Stopping ends the
// wait between checks at once.
TEST_P(FastWakeModes, everyCommitComesSoonOnceAndInOrder) {
    EXPECT_THROW(notify.setWakeInterval(boost::posix_time::milliseconds(-1)), std::invalid_argument);
    int deliveries = 0;
    listen([&] {  // the first four deliveries write 4 rows here and 2 elsewhere
        if (++deliveries > 4) return;
        addPartition();
        if (deliveries % 2 == 0) addPartitionElsewhere();
    });
    dbi::DBManager::swapConnection({});  // the last connection: its log goes
    ASSERT_NE(0, access((path + "-wal").c_str(), F_OK));
    auto running = std::make_unique<RunningNotify>(notify);
    for (std::size_t count : {7, 8, 9}) {
        boost::this_thread::sleep_for(boost::chrono::milliseconds(100));  // let it settle into waiting
        const Clock::time_point start = Clock::now();
        addPartitionElsewhere();
        EXPECT_LT(timeUntil(count, start), kFast);
    }
    const Clock::time_point stopping = Clock::now();
    running.reset();
    EXPECT_LT(Clock::now() - stopping, kFast);
    expectAllPartitionsInOrder();
    // Falling back is reported once, with the reason; nothing else is.
    const Texts expected = {
        "Cannot watch the database for commits (turned off by DBI_COMMIT_WATCH=off); "
        "checking for them every 5 ms instead"};
    EXPECT_EQ(GetParam() == "commitFallback" ? expected : Texts(), reports.texts());
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
    expectAllPartitionsInOrder();
}

// Row ids without digits give 0 and huge ones saturate; SQLite keeps an
// integer text beyond 64 bits as a real: 1.0e+20.
TEST_F(NotifyTest, listenersAreKeyedByTableAndActionColumnAndRowIdsSaturate) {
    Inbox byColumn, byUpdate, byDelete;
    notify.addListener("t", recorder(byColumn), dbi::Notify::UPDATE, "state_id");
    notify.addListener("t", recorder(byUpdate), dbi::Notify::UPDATE, "");
    notify.addListener("t", recorder(byDelete), dbi::Notify::DELETE, "state_id");
    std::vector<dbi::library::Event> events = {event("t", "1", "state_id"), event("t", "", "DELETE"),
                                               event("u", "4", "UPDATE"), event("t", "5", "INSERT")};
    const std::pair<std::string, int> rowIds[] = {
        {"12", 12},          {"abc", 0},          {"99999999999999999999", INT_MAX}, {"-99999999999999999999", INT_MIN},
        {"4294967297", INT_MAX}, {"1.0e+20", INT_MAX}, {"-1.0e+20", INT_MIN}};
    Texts updates;
    for (const auto& [text, rowId] : rowIds) {
        events.push_back(event("t", text, "UPDATE"));
        updates.push_back(std::to_string(rowId) + " o n");
    }
    notify.notifyListeners(events);
    EXPECT_EQ(Texts{"1 o n"}, byColumn.texts());
    EXPECT_EQ(updates, byUpdate.texts());
    EXPECT_EQ(Texts{"0 o n"}, byDelete.texts());
}

// Priming starts past the newest journal row (or at 0 on an empty journal)
// when the first listener comes: rows written before it are not delivered,
// rows after it are, also before the dispatcher runs. Journal ids outgrow
// 32 bits on a long-lived appliance; the cursor must not. A throwing
// listener is reported, and the whole batch comes again to every listener.
TEST_F(NotifyTest, deliversRowsAfterTheFirstListenerPast32BitIdsAndTheBatchAgainAfterAThrow) {
    exec("DELETE FROM library_event");
    dbi::Notify empty;
    empty.prime();
    EXPECT_EQ(0, empty.nextEventId());
    exec("INSERT INTO library_event (id, which_table, row_id, action_column) VALUES (3000000000, 'x', 1, 'UPDATE')");
    addPartition();
    listen();
    EXPECT_EQ(3000000002LL, notify.nextEventId());
    bool thrown = false;
    notify.addListener(
        "library_partition",
        [&](int, const std::string&, const std::string&) {
            if (!thrown) {
                thrown = true;
                throw std::runtime_error("listener failed");
            }
        },
        dbi::Notify::INSERT, "");
    const std::string second = addPartition();
    RunningNotify running(notify);
    const std::string third = addPartition();
    ASSERT_TRUE(inbox.waitFor(3, 25));
    EXPECT_EQ((Texts{second, second, third}), inbox.texts());
    EXPECT_EQ(Texts{"Caught an exception in a DBNotify thread: listener failed"}, reports.texts());
}

// A command nobody accepts times out after the acceptance wait; one
// accepted but left unanswered is given up when its own wait ends.
TEST_F(NotifyTest, unansweredCommandsTimeOutAndFailedOnesLeaveNoRow) {
    dbi::CommandResponseHelper helper;  // accepts inventory commands, answers none
    helper.registerWithNotify(notify);
    helper.registerListener([this](const CommandResponse& accepted) { inbox.add(accepted.m_stateId.getValue()); },
                            CROperation::INVENTORY, CREndpoint::LIBRARY_MANAGER);
    RunningNotify running(notify);
    const struct {
        bool accepted;
        boost::posix_time::time_duration wait;
    } cases[] = {{false, boost::posix_time::pos_infin}, {true, boost::posix_time::seconds(12)}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.accepted ? "accepted" : "not accepted");
        CommandResponse sent = command(c.accepted ? CROperation::INVENTORY : CROperation::MOVE_MEDIUM);
        const CommandResponse answer = dbi::sendCommand(sent, c.wait);
        EXPECT_EQ("4|16|Timed out|1", scalar("SELECT state_id || '|' || result || '|' || result_string || '|' || "
                                             "(end_time IS NOT NULL) FROM library_commandresponse WHERE id = " +
                                             answer.m_id.getValue()));
    }
    EXPECT_EQ(Texts{"2"}, inbox.texts());
    // A failed insert leaves no row; events are one-way rows in state new.
    CommandResponse unknownOperation = command(99);
    EXPECT_THROW(dbi::sendCommand(unknownOperation, boost::posix_time::seconds(1)),
                 dbi::DBIException<dbiresult::DBI_CONSTRAINT_VIOLATION>);
    dbi::CommandResponseHelper::sendEvent(CROperation::INVENTORY, CREndpoint::LIBRARY_MANAGER, "scan", 3);
    EXPECT_EQ("4,4,1", scalar("SELECT group_concat(state_id) FROM library_commandresponse"));
}
