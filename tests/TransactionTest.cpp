#include <functional>
#include <memory>

#include "support/TestDatabase.h"

using dbitest::Statements;
using dbitest::StatementTrace;

namespace {

class Transactions : public dbitest::BothModes {
protected:
    void SetUp() override {
        BothModes::SetUp();
        exec("CREATE TABLE t (a integer)");
    }

    std::string committedCount() const { return outside("SELECT count(*) FROM t"); }

    // Makes every further write on this thread's connection fail as storage.
    void makeConnectionReadOnly() {
        ASSERT_EQ(SQLITE_OK, sqlite3_exec(dbi::DBManager::getConnection().get(), "PRAGMA query_only = 1", nullptr,
                                          nullptr, nullptr));
    }

    void expectLost(dbi::Transaction& handle) {
        EXPECT_TRUE(handle.isLost());
        const dbitest::Failure release = dbitest::failureOf([&] { handle.release(); });
        EXPECT_EQ(dbiresult::DBI_STORAGE_ERROR, release.code);
        EXPECT_TRUE(dbitest::contains(release.message, "lost with its connection")) << release.message;
    }

    static dbi::RetryPolicy quick() {
        dbi::RetryPolicy policy;
        policy.firstPause = boost::posix_time::milliseconds(1);
        policy.maxPause = boost::posix_time::milliseconds(5);
        return policy;
    }
};
DBITEST_IN_BOTH_MODES(Transactions);

}  // namespace

// Released, nested handles commit at the outermost; handles left without
// release roll back their own work.
TEST_P(Transactions, nestedHandlesCommitAtTheOutermostOrRollBackTheirOwnWork) {
    for (const bool release : {false, true}) {
        SCOPED_TRACE(release ? "released" : "left");
        StatementTrace trace;
        std::string inner;
        {
            dbi::Transaction outer(true);
            run("INSERT INTO t VALUES (1)", outer);
            {
                dbi::Transaction nested(true);
                run("INSERT INTO t VALUES (2)", nested);
                inner = nested.getSavepointName();
                if (release) nested.release();
            }
            EXPECT_EQ(1u, dbi::TransactionMgr::get()->depth());
            EXPECT_EQ("0", committedCount());
            if (release) outer.release();
        }
        Statements expected = {"SAVEPOINT FIRST_SAVEPOINT", "INSERT INTO t VALUES (1)", "SAVEPOINT " + inner,
                               "INSERT INTO t VALUES (2)"};
        const Statements ending = release
                                      ? Statements{"RELEASE SAVEPOINT " + inner, "RELEASE SAVEPOINT FIRST_SAVEPOINT"}
                                      : Statements{"ROLLBACK TO " + inner, "RELEASE SAVEPOINT " + inner, "ROLLBACK"};
        expected.insert(expected.end(), ending.begin(), ending.end());
        EXPECT_EQ(expected, trace.statements());
        EXPECT_EQ(release ? "2" : "0", committedCount());
        EXPECT_EQ(0u, dbi::TransactionMgr::get()->depth());
    }
}

TEST_P(Transactions, releasingOutOfOrderThrowsAndChangesNothing) {
    dbi::Transaction outer(true);
    outer.begin();
    dbi::Transaction inner(true);
    inner.begin();
    EXPECT_THROW(outer.release(), dbi::DBIException<dbiresult::DBI_MISUSE>);
    EXPECT_TRUE(outer.isOpen());
    EXPECT_THROW(outer.rollback(), dbi::DBIException<dbiresult::DBI_MISUSE>);
    EXPECT_EQ(2u, dbi::TransactionMgr::get()->depth());
}

TEST_P(Transactions, idleAndDefaultTransactionsRunNoSavepointAndReleasedHandlesOpenAgain) {
    StatementTrace trace;
    {
        dbi::Transaction idle(false);
        idle.release();
        idle.rollback();
        run("INSERT INTO t VALUES (1)", idle);
    }
    run("INSERT INTO t VALUES (2)");
    EXPECT_EQ((Statements{"INSERT INTO t VALUES (1)", "INSERT INTO t VALUES (2)"}), trace.statements());
    dbi::Transaction handle(true);
    run("INSERT INTO t VALUES (3)", handle);
    handle.release();
    run("INSERT INTO t VALUES (4)", handle);
    EXPECT_EQ("FIRST_SAVEPOINT", handle.getSavepointName());
    handle.rollback();
    EXPECT_EQ("3", committedCount());
}

// A storage failure loses the whole transaction: every handle of it knows
// it, and nothing of it commits.
TEST_P(Transactions, storageFailureLosesTheWholeTransactionAndNothingOfItCommits) {
    boost::shared_ptr<sqlite3> heldCopy = dbi::DBManager::getConnection();
    dbi::Transaction outer(true);
    run("INSERT INTO t VALUES (1)", outer);
    auto inner = std::make_unique<dbi::Transaction>(true);
    run("INSERT INTO t VALUES (2)", *inner);
    makeConnectionReadOnly();
    StatementTrace trace;
    // A statement of the thread outside the handles belongs to the transaction.
    EXPECT_THROW(run("INSERT INTO t VALUES (3)"), dbi::DBIException<dbiresult::DBI_STORAGE_ERROR>);
    EXPECT_EQ((Statements{"INSERT INTO t VALUES (3)", "ROLLBACK"}), trace.statements());
    EXPECT_THROW(run("INSERT INTO t VALUES (4)", *inner), dbi::DBIException<dbiresult::DBI_STORAGE_ERROR>);
    EXPECT_EQ(0u, dbi::TransactionMgr::get()->depth());
    expectLost(*inner);
    expectLost(outer);
    EXPECT_EQ("0", committedCount());
    // Rolled back and finalised on the failing connection itself, although a
    // copy keeps it open.
    EXPECT_NE(0, sqlite3_get_autocommit(heldCopy.get()));
    EXPECT_EQ(nullptr, sqlite3_next_stmt(heldCopy.get(), nullptr));
    EXPECT_NE(heldCopy, dbi::DBManager::getConnection());
    inner.reset();
    outer.rollback();
    EXPECT_FALSE(outer.isOpen());

    dbi::Transaction next(true);
    run("INSERT INTO t VALUES (5)", next);
    EXPECT_EQ("FIRST_SAVEPOINT", next.getSavepointName());
    next.release();
    EXPECT_EQ("1", committedCount());
}

// Work meeting a stale snapshot or losing its connection runs again and
// commits once. Busy work is tried five times; other failures, and work
// nested in an open transaction, once: nothing of those commits.
TEST_P(Transactions, retryRunsWorkAgainOnlyWhileAnotherRunCanSucceed) {
    const auto busy = [&](dbi::Transaction& transaction, int) {
        run("INSERT INTO t VALUES (4)", transaction);
        throw dbi::DBIException<dbiresult::DBI_BUSY>("contended");
    };
    const struct {
        bool nested;
        std::function<void(dbi::Transaction&, int)> work;  // given the number of its run
        int code;                                          // -1: committed
        int runs;
    } cases[] = {
        {false,
         [&](dbi::Transaction& transaction, int runs) {
             run("SELECT count(*) FROM t", transaction);
             if (runs == 1) outside("INSERT INTO t VALUES (100)");
             run("INSERT INTO t VALUES (1)", transaction);
         },
         -1, 2},
        {false,
         [&](dbi::Transaction& transaction, int runs) {
             run("INSERT INTO t VALUES (2)", transaction);
             if (runs == 1) makeConnectionReadOnly();
             run("INSERT INTO t VALUES (3)", transaction);
         },
         -1, 2},
        {false, busy, dbiresult::DBI_BUSY, 5},
        {false, [&](dbi::Transaction& transaction, int) { run("INSERT INTO nowhere VALUES (5)", transaction); },
         dbiresult::DBI_SQL_ERROR, 1},
        {true, busy, dbiresult::DBI_BUSY, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        const auto outer = c.nested ? std::make_unique<dbi::Transaction>(true) : nullptr;
        if (outer) run("INSERT INTO t VALUES (6)", *outer);
        int runs = 0;
        const dbitest::Failure failure = dbitest::failureOf([&] {
            dbi::retryTransaction(
                [&](dbi::Transaction& transaction) {
                    EXPECT_TRUE(!c.nested || transaction.getSavepointName() != "FIRST_SAVEPOINT");
                    c.work(transaction, ++runs);
                },
                quick());
        });
        EXPECT_EQ(c.code, failure.code) << failure.message;
        EXPECT_EQ(c.runs, runs);
    }
    EXPECT_EQ("100,1,2,3", outside("SELECT a FROM t ORDER BY rowid"));
    EXPECT_EQ(0u, dbi::TransactionMgr::get()->depth());
}
