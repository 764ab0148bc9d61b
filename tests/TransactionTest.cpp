#include <sqlite3.h>

#include <memory>
#include <regex>

#include "support/TestDatabase.h"

using dbitest::StatementTrace;
using dbitest::TestDatabase;
using Statements = std::vector<std::string>;

namespace {

class Transactions : public TestDatabase {
protected:
    void SetUp() override {
        TestDatabase::SetUp();
        exec("CREATE TABLE t (a integer)");
    }

    // What another connection to the file sees committed.
    std::string committedCount() {
        sqlite3* other = nullptr;
        sqlite3_open(path.c_str(), &other);
        char** table = nullptr;
        int rows = 0, columns = 0;
        sqlite3_get_table(other, "SELECT count(*) FROM t", &table, &rows, &columns, nullptr);
        std::string count = table[1];
        sqlite3_free_table(table);
        sqlite3_close(other);
        return count;
    }

    // Makes every further write on this thread's connection fail as storage.
    void makeConnectionReadOnly() {
        ASSERT_EQ(SQLITE_OK, sqlite3_exec(dbi::DBManager::getConnection().get(), "PRAGMA query_only = 1", nullptr,
                                          nullptr, nullptr));
    }

    void expectLost(dbi::Transaction& handle) {
        EXPECT_TRUE(handle.isLost());
        try {
            handle.release();
            ADD_FAILURE() << "released a lost transaction";
        } catch (const dbi::DBIException<dbiresult::DBI_STORAGE_ERROR>& e) {
            EXPECT_NE(std::string::npos, std::string(e.what()).find("lost with its connection")) << e.what();
        }
    }
};

}  // namespace

TEST_F(Transactions, nestedHandlesReleaseInnerFirstAndCommitAtTheOutermost) {
    StatementTrace trace;
    dbi::Transaction outer(true);
    outer.execStatement("INSERT INTO t VALUES (1)");
    std::string innerName;
    {
        dbi::Transaction inner(true);
        inner.execStatement("INSERT INTO t VALUES (2)");
        innerName = inner.getSavepointName();
        inner.release();
    }
    EXPECT_EQ("0", committedCount());
    outer.release();
    EXPECT_EQ("2", committedCount());
    EXPECT_EQ((Statements{"SAVEPOINT FIRST_SAVEPOINT", "INSERT INTO t VALUES (1)", "SAVEPOINT " + innerName,
                          "INSERT INTO t VALUES (2)", "RELEASE SAVEPOINT " + innerName,
                          "RELEASE SAVEPOINT FIRST_SAVEPOINT"}),
              trace.statements());
}

TEST_F(Transactions, nestedNamesAreUtcTimesWithMicroseconds) {
    dbi::Transaction outer(false), inner(false);
    outer.begin();
    inner.begin();
    EXPECT_EQ("FIRST_SAVEPOINT", outer.getSavepointName());
    EXPECT_TRUE(std::regex_match(inner.getSavepointName(), std::regex("TIME_[0-9]{8}T[0-9]{6}([0-9]{6})?")))
        << inner.getSavepointName();
}

TEST_F(Transactions, releasingOutOfOrderThrowsAndChangesNothing) {
    dbi::Transaction outer(true);
    outer.begin();
    dbi::Transaction inner(true);
    inner.begin();
    try {
        outer.release();
        FAIL() << "outer released while inner open";
    } catch (const dbi::DBIException<dbiresult::DBI_MISUSE>& e) {
        EXPECT_EQ("Out of order savepoint release, expected: [" + inner.getSavepointName() +
                      "] got : [FIRST_SAVEPOINT]",
                  std::string(e.what()));
    }
    EXPECT_TRUE(outer.isOpen());
    EXPECT_THROW(outer.rollback(), dbi::DBIException<dbiresult::DBI_MISUSE>);
    EXPECT_EQ(2u, dbi::TransactionMgr::get()->depth());
}

TEST_F(Transactions, innerHandleLeftWithoutReleaseRollsBackOnlyItsOwnWork) {
    dbi::Transaction outer(true);
    outer.execStatement("INSERT INTO t VALUES (1)");
    StatementTrace trace;
    std::string innerName;
    {
        dbi::Transaction inner(true);
        inner.execStatement("INSERT INTO t VALUES (2)");
        innerName = inner.getSavepointName();
    }
    outer.release();
    EXPECT_EQ((Statements{"SAVEPOINT " + innerName, "INSERT INTO t VALUES (2)", "ROLLBACK TO " + innerName,
                          "RELEASE SAVEPOINT " + innerName, "RELEASE SAVEPOINT FIRST_SAVEPOINT"}),
              trace.statements());
    EXPECT_EQ("1", committedCount());
}

TEST_F(Transactions, outermostHandleLeftWithoutReleaseRollsEverythingBack) {
    StatementTrace trace;
    {
        dbi::Transaction outer(true);
        outer.execStatement("INSERT INTO t VALUES (1)");
        outer.execStatement("INSERT INTO t VALUES (2)");
    }
    EXPECT_EQ((Statements{"SAVEPOINT FIRST_SAVEPOINT", "INSERT INTO t VALUES (1)", "INSERT INTO t VALUES (2)",
                          "ROLLBACK"}),
              trace.statements());
    EXPECT_EQ("0", committedCount());
    EXPECT_EQ(0u, dbi::TransactionMgr::get()->depth());
}

TEST_F(Transactions, idleHandlesAndTheDefaultTransactionRunNoSavepoint) {
    StatementTrace trace;
    {
        dbi::Transaction idle(false);
        idle.release();
        idle.rollback();
        idle.execStatement("INSERT INTO t VALUES (1)");
    }
    dbi::Transaction::getDefaultTransaction().execStatement("INSERT INTO t VALUES (2)");
    EXPECT_EQ((Statements{"INSERT INTO t VALUES (1)", "INSERT INTO t VALUES (2)"}), trace.statements());
    EXPECT_EQ("2", committedCount());
}

TEST_F(Transactions, aReleasedHandleCanBeOpenedAgain) {
    dbi::Transaction handle(true);
    handle.execStatement("INSERT INTO t VALUES (1)");
    handle.release();
    handle.execStatement("INSERT INTO t VALUES (2)");
    EXPECT_EQ("FIRST_SAVEPOINT", handle.getSavepointName());
    handle.rollback();
    EXPECT_EQ("1", committedCount());
}

TEST_F(Transactions, storageFailureLosesTheWholeTransactionAndNothingOfItCommits) {
    boost::shared_ptr<sqlite3> heldCopy = dbi::DBManager::getConnection();
    dbi::Transaction handle(true);
    handle.execStatement("INSERT INTO t VALUES (1)");
    makeConnectionReadOnly();
    StatementTrace trace;
    EXPECT_THROW(handle.execStatement("INSERT INTO t VALUES (2)"), dbi::DBIException<dbiresult::DBI_STORAGE_ERROR>);
    EXPECT_EQ((Statements{"INSERT INTO t VALUES (2)", "ROLLBACK"}), trace.statements());
    EXPECT_THROW(handle.execStatement("INSERT INTO t VALUES (3)"), dbi::DBIException<dbiresult::DBI_STORAGE_ERROR>);
    expectLost(handle);
    EXPECT_EQ("0", committedCount());
    // Rolled back on the failing connection itself, although a copy keeps it open.
    EXPECT_NE(0, sqlite3_get_autocommit(heldCopy.get()));
    EXPECT_NE(heldCopy, dbi::DBManager::getConnection());
    handle.rollback();
    EXPECT_FALSE(handle.isOpen());

    dbi::Transaction next(true);
    next.execStatement("INSERT INTO t VALUES (4)");
    EXPECT_EQ("FIRST_SAVEPOINT", next.getSavepointName());
    next.release();
    EXPECT_EQ("1", committedCount());
}

TEST_F(Transactions, everyHandleOfALostTransactionKnowsIt) {
    auto outer = std::make_unique<dbi::Transaction>(true);
    outer->execStatement("INSERT INTO t VALUES (1)");
    auto inner = std::make_unique<dbi::Transaction>(true);
    inner->execStatement("INSERT INTO t VALUES (2)");
    makeConnectionReadOnly();
    // A statement of the thread outside either handle still belongs to the transaction.
    EXPECT_THROW(exec("INSERT INTO t VALUES (3)"), dbi::DBIException<dbiresult::DBI_STORAGE_ERROR>);
    EXPECT_EQ(0u, dbi::TransactionMgr::get()->depth());
    expectLost(*inner);
    expectLost(*outer);
    inner.reset();
    outer.reset();
    exec("INSERT INTO t VALUES (5)");
    EXPECT_EQ("1", committedCount());
}
