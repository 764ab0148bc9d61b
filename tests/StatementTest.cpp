#include <sqlite3.h>

#include <algorithm>
#include <boost/thread/thread.hpp>

#include "support/TestDatabase.h"

using dbitest::StatementTrace;
using dbitest::TestDatabase;

namespace {

class Statement : public TestDatabase {
protected:
    void SetUp() override {
        TestDatabase::SetUp();
        exec("CREATE TABLE t (a integer, b text)");
    }

    int triesOf(const StatementTrace& trace, const std::string& sql) {
        return static_cast<int>(std::count(trace.statements().begin(), trace.statements().end(), sql));
    }

    // A second connection to the same file holding the write lock.
    sqlite3* lockingWriter() {
        sqlite3* other = nullptr;
        EXPECT_EQ(SQLITE_OK, sqlite3_open(path.c_str(), &other));
        EXPECT_EQ(SQLITE_OK, sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr));
        return other;
    }
};

}  // namespace

TEST_F(Statement, selectReturnsHeaderThenRowsOfText) {
    exec("INSERT INTO t VALUES (1, 'x'), (2, NULL), (3, 'z')");
    dbi::ResultTuple result = exec("SELECT a, b FROM t ORDER BY a");
    ASSERT_EQ(3, result.get<1>());
    ASSERT_EQ(2, result.get<2>());
    char** cells = result.get<0>().get();
    EXPECT_STREQ("a", cells[0]);
    EXPECT_STREQ("b", cells[1]);
    EXPECT_STREQ("1", cells[2]);
    EXPECT_EQ(nullptr, cells[5]);
    EXPECT_STREQ("z", cells[7]);
    dbi::ResultTuple none = exec("DELETE FROM t");
    EXPECT_EQ(0, none.get<1>());
    EXPECT_EQ(0, none.get<2>());
}

TEST_F(Statement, busyStatementIsRetriedUntilTheWriterLetsGo) {
    sqlite3* writer = lockingWriter();
    boost::thread releaser([writer] {
        boost::this_thread::sleep_for(boost::chrono::milliseconds(2000));
        sqlite3_exec(writer, "COMMIT", nullptr, nullptr, nullptr);
    });
    StatementTrace trace;
    const std::string insert = "INSERT INTO t VALUES (7, 'late')";
    exec(insert);
    releaser.join();
    sqlite3_close(writer);
    // Tries at 0 s, 0 s and 1 s meet the lock; the one at 3 s gets through.
    EXPECT_EQ(4, triesOf(trace, insert));
    EXPECT_EQ("1", scalar("SELECT count(*) FROM t WHERE a = 7"));
}

TEST_F(Statement, busyStatementGivesUpAfterFiveTries) {
    sqlite3* writer = lockingWriter();
    StatementTrace trace;
    const std::string insert = "INSERT INTO t VALUES (8, 'never')";
    EXPECT_THROW(exec(insert), dbi::DBIException<dbiresult::DBI_BUSY>);
    EXPECT_EQ(5, triesOf(trace, insert));
    sqlite3_close(writer);
}

TEST_F(Statement, constraintViolationIsNotRetried) {
    exec("CREATE TABLE u (a integer PRIMARY KEY)");
    exec("INSERT INTO u VALUES (1)");
    StatementTrace trace;
    EXPECT_THROW(exec("INSERT INTO u VALUES (1)"), dbi::DBIException<dbiresult::DBI_CONSTRAINT_VIOLATION>);
    EXPECT_EQ(1, triesOf(trace, "INSERT INTO u VALUES (1)"));
}

TEST_F(Statement, storageFailureWithoutReconnectDropsTheConnection) {
    sqlite3* readOnly = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open_v2(path.c_str(), &readOnly, SQLITE_OPEN_READONLY, nullptr));
    dbi::DBManager::swapConnection(boost::shared_ptr<sqlite3>(readOnly, sqlite3_close));
    dbi::ResultTuple result;
    EXPECT_THROW(dbi::DBManager::execStatement("INSERT INTO t VALUES (1, 'a')", result, false),
                 dbi::DBIException<dbiresult::DBI_STORAGE_ERROR>);
    // The next statement runs on a new, writable connection.
    EXPECT_EQ(0, sqlite3_db_readonly(dbi::DBManager::getConnection().get(), "main"));
    exec("INSERT INTO t VALUES (2, 'b')");
}

TEST_F(Statement, storageFailureWithReconnectRetriesOnAFreshConnection) {
    sqlite3* readOnly = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open_v2(path.c_str(), &readOnly, SQLITE_OPEN_READONLY, nullptr));
    dbi::DBManager::swapConnection(boost::shared_ptr<sqlite3>(readOnly, sqlite3_close));
    dbi::ResultTuple result;
    dbi::DBManager::execStatement("INSERT INTO t VALUES (1, 'a')", result, true);
    EXPECT_EQ("1", scalar("SELECT count(*) FROM t"));
}

TEST_F(Statement, lastRowIdIsDecimalTextOfTheLastInsert) {
    dbi::Transaction& autocommit = dbi::Transaction::getDefaultTransaction();
    autocommit.execStatement("CREATE TABLE r (id integer PRIMARY KEY)");
    autocommit.execStatement("INSERT INTO r VALUES (42)");
    EXPECT_EQ("42", autocommit.lastRowId());
    // Row ids are 64-bit even where long is 32 bits wide.
    autocommit.execStatement("INSERT INTO r VALUES (5000000000)");
    EXPECT_EQ("5000000000", dbi::DBManager::lastRowId());
}

// Results keep the layout, counts and failures of sqlite3_get_table, which
// statements used to go through; both run the same read-only texts here.
TEST_F(Statement, resultsAndFailuresMatchSqliteGetTable) {
    exec("INSERT INTO t VALUES (1, 'x'), (2, NULL), (3, '')");
    sqlite3* db = dbi::DBManager::getConnection().get();
    const std::string texts[] = {"SELECT a, b FROM t ORDER BY a",
                                 "SELECT a FROM t WHERE a > 5",
                                 "SELECT a, b FROM t WHERE a = 1; SELECT b, a FROM t WHERE a > 1",
                                 "SELECT a FROM t WHERE a > 5; SELECT b FROM t",
                                 "SELECT a FROM t; SELECT a, b FROM t",
                                 "PRAGMA empty_result_callbacks = 1",
                                 "SELECT a FROM t WHERE a > 5; SELECT a, b FROM t WHERE a = 1",
                                 "SELECT nothing FROM t"};
    for (const std::string& sql : texts) {
        char** expected = nullptr;
        int rows = -1, columns = -1;
        const int rc = sqlite3_get_table(db, sql.c_str(), &expected, &rows, &columns, nullptr);
        const std::string expectedError = rc == SQLITE_OK ? "" : sqlite3_errmsg(db);
        try {
            dbi::ResultTuple result = exec(sql);
            ASSERT_EQ(SQLITE_OK, rc) << sql;
            ASSERT_EQ(rows, result.get<1>()) << sql;
            ASSERT_EQ(columns, result.get<2>()) << sql;
            char** cells = result.get<0>().get();
            ASSERT_NE(nullptr, cells) << sql;
            for (int i = 0; i < (rows + 1) * columns; ++i) {
                ASSERT_EQ(expected[i] == nullptr, cells[i] == nullptr) << sql << " cell " << i;
                if (expected[i]) {
                    EXPECT_STREQ(expected[i], cells[i]) << sql << " cell " << i;
                }
            }
        } catch (const dbi::DBIBaseException& e) {
            EXPECT_NE(SQLITE_OK, rc) << sql;
            EXPECT_EQ(expectedError, sqlite3_errmsg(db)) << sql;
            EXPECT_NE(std::string(e.what()).find(expectedError), std::string::npos) << e.what();
        }
        sqlite3_free_table(expected);
    }
}
