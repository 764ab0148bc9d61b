#include <regex>
#include <stdexcept>

#include "support/ChannelSupport.h"

using dbitest::Inbox;
using dbitest::RunningNotify;
using Texts = std::vector<std::string>;

namespace {

class NotifyTest : public dbitest::SchemaDatabase {
protected:
    void TearDown() override {
        dbi::setEventReporter(dbi::EventReporter());
        SchemaDatabase::TearDown();
    }

    // A listener that records "row old new".
    dbi::Notify::Listener recorder(Inbox& inbox) {
        return [&inbox](int row, const std::string& from, const std::string& to) {
            inbox.add(std::to_string(row) + " " + from + " " + to);
        };
    }

    std::string addPartition(const std::string& guid) {
        exec("INSERT INTO library_partition (guid) VALUES ('" + guid + "')");
        return dbi::Transaction::getDefaultTransaction().lastRowId();
    }

    static dbi::library::Event event(const std::string& table, const std::string& row, const std::string& action) {
        dbi::library::Event journalRow;
        journalRow.m_whichTable = table;
        journalRow.m_rowId = row;
        journalRow.m_actionColumn = action;
        journalRow.m_oldValue = std::string("o");
        journalRow.m_newValue = std::string("n");
        return journalRow;
    }

    dbi::Notify notify;
};

}  // namespace

TEST_F(NotifyTest, primesPastTheNewestJournalRow) {
    exec("DELETE FROM library_event");
    notify.prime();
    EXPECT_EQ(0, notify.nextEventId());
    addPartition("a");
    addPartition("b");
    dbi::Notify later;
    later.prime();
    EXPECT_EQ(std::stoll(scalar("SELECT max(id) FROM library_event")) + 1, later.nextEventId());
}

TEST_F(NotifyTest, deliversOnlyRowsWrittenAfterTheFirstListener) {
    Inbox inbox;
    addPartition("before");
    notify.addListener("library_partition", recorder(inbox), dbi::Notify::INSERT, "");
    const std::string second = addPartition("after");
    RunningNotify running(notify);
    const std::string third = addPartition("later");
    ASSERT_TRUE(inbox.waitFor(2, 20));
    EXPECT_EQ((Texts{second + "  ", third + "  "}), inbox.texts());
}

TEST_F(NotifyTest, listenersAreKeyedByTableAndActionColumn) {
    Inbox byColumn, byUpdate, byDelete;
    notify.addListener("t", recorder(byColumn), dbi::Notify::UPDATE, "state_id");
    notify.addListener("t", recorder(byUpdate), dbi::Notify::UPDATE, "");
    notify.addListener("t", recorder(byDelete), dbi::Notify::DELETE, "state_id");
    notify.notifyListeners({event("t", "1", "state_id"), event("t", "2", "UPDATE"), event("t", "", "DELETE"),
                            event("u", "4", "UPDATE"), event("t", "5", "INSERT")});
    EXPECT_EQ(Texts{"1 o n"}, byColumn.texts());
    EXPECT_EQ(Texts{"2 o n"}, byUpdate.texts());
    EXPECT_EQ(Texts{"0 o n"}, byDelete.texts());
}

TEST_F(NotifyTest, aThrowingListenerIsReportedAndTheWholeBatchComesAgain) {
    Inbox reports, first;
    dbi::setEventReporter([&](const std::string& file, int line, const std::string& function, const std::string& text) {
        reports.add(file + ":" + std::to_string(line) + " " + function + " " + text);
    });
    bool thrown = false;
    notify.addListener("library_partition", recorder(first), dbi::Notify::INSERT, "");
    notify.addListener(
        "library_partition",
        [&](int, const std::string&, const std::string&) {
            if (!thrown) {
                thrown = true;
                throw std::runtime_error("listener failed");
            }
        },
        dbi::Notify::INSERT, "");
    RunningNotify running(notify);
    const std::string row = addPartition("x");
    ASSERT_TRUE(first.waitFor(2, 25));
    EXPECT_EQ((Texts{row + "  ", row + "  "}), first.texts());
    ASSERT_EQ(1u, reports.texts().size());
    EXPECT_TRUE(std::regex_match(reports.texts()[0], std::regex("shlibs/dbi/Notify.cpp:[0-9]+ run Caught an exception "
                                                                "in a DBNotify thread: listener failed")))
        << reports.texts()[0];
}

// Journal ids outgrow 32 bits on a long-lived appliance; the cursor must not.
TEST_F(NotifyTest, journalIdsBeyond32BitsKeepTheCursorMoving) {
    exec("INSERT INTO library_event (id, which_table, row_id, action_column) VALUES (3000000000, 'x', 1, 'UPDATE')");
    Inbox inbox;
    notify.addListener("library_partition", recorder(inbox), dbi::Notify::INSERT, "");
    EXPECT_EQ(3000000001LL, notify.nextEventId());
    RunningNotify running(notify);
    const std::string row = addPartition("big");
    ASSERT_TRUE(inbox.waitFor(1, 20));
    EXPECT_EQ(Texts{row + "  "}, inbox.texts());
}
