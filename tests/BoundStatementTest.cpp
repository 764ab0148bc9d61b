#include <sqlite3.h>

#include <boost/thread/thread.hpp>

#include "support/TestDatabase.h"

using dbi::BoundValue;
using dbi::BoundValues;
using dbi::DBManager;
using dbi::ResultTuple;

namespace {

class BoundStatement : public dbitest::TestDatabase {
protected:
    void SetUp() override {
        TestDatabase::SetUp();
        exec("CREATE TABLE t (a integer, b text)");
    }

    ResultTuple run(const std::string& sql, const BoundValues& values, bool reconnect = false) {
        ResultTuple result;
        DBManager::execStatement(sql, values, result, reconnect);
        return result;
    }

    static int openStatements(sqlite3* connection) {
        int count = 0;
        for (sqlite3_stmt* s = sqlite3_next_stmt(connection, nullptr); s; s = sqlite3_next_stmt(connection, s))
            ++count;
        return count;
    }

    boost::shared_ptr<sqlite3> readOnlyConnection() {
        sqlite3* readOnly = nullptr;
        EXPECT_EQ(SQLITE_OK, sqlite3_open_v2(path.c_str(), &readOnly, SQLITE_OPEN_READONLY, nullptr));
        return boost::shared_ptr<sqlite3>(readOnly, sqlite3_close);
    }
};

}  // namespace

TEST_F(BoundStatement, resultHasTheShapeOfTheTextPath) {
    run("INSERT INTO t VALUES (?, ?)", {BoundValue::integer(1), BoundValue::text("x")});
    run("INSERT INTO t VALUES (?, ?)", {BoundValue::integer(2), BoundValue()});
    ResultTuple result = run("SELECT a, b FROM t WHERE a >= ? ORDER BY a", {BoundValue::integer(1)});
    ASSERT_EQ(2, result.get<1>());
    ASSERT_EQ(2, result.get<2>());
    char** cells = result.get<0>().get();
    EXPECT_STREQ("a", cells[0]);
    EXPECT_STREQ("b", cells[1]);
    EXPECT_STREQ("1", cells[2]);
    EXPECT_STREQ("x", cells[3]);
    EXPECT_STREQ("2", cells[4]);
    EXPECT_EQ(nullptr, cells[5]);
    // No rows: no header and no columns, as sqlite3_get_table reports it.
    ResultTuple none = run("SELECT a, b FROM t WHERE a = ?", {BoundValue::integer(9)});
    EXPECT_EQ(0, none.get<1>());
    EXPECT_EQ(0, none.get<2>());
    EXPECT_NE(nullptr, none.get<0>().get());
}

TEST_F(BoundStatement, resultOutlivesTheStatementsNextUse) {
    run("INSERT INTO t VALUES (?, ?)", {BoundValue::integer(1), BoundValue::text("first")});
    run("INSERT INTO t VALUES (?, ?)", {BoundValue::integer(2), BoundValue::text("second")});
    const std::string select = "SELECT b FROM t WHERE a = ?";
    ResultTuple first = run(select, {BoundValue::integer(1)});
    ResultTuple second = run(select, {BoundValue::integer(2)});
    EXPECT_STREQ("first", first.get<0>().get()[1]);
    EXPECT_STREQ("second", second.get<0>().get()[1]);
}

TEST_F(BoundStatement, failuresCarryTheTextWithPlaceholders) {
    try {
        run("INSERT INTO missing VALUES (?)", {BoundValue::integer(1)});
        FAIL() << "no exception";
    } catch (const dbi::DBIException<dbiresult::DBI_SQL_ERROR>& e) {
        EXPECT_STREQ("INSERT INTO missing VALUES (?) no such table: missing", e.what());
    }
    exec("CREATE TABLE u (a integer PRIMARY KEY)");
    run("INSERT INTO u VALUES (?)", {BoundValue::integer(1)});
    try {
        run("INSERT INTO u VALUES (?)", {BoundValue::integer(1)});
        FAIL() << "no exception";
    } catch (const dbi::DBIException<dbiresult::DBI_CONSTRAINT_VIOLATION>& e) {
        EXPECT_STREQ("INSERT INTO u VALUES (?) UNIQUE constraint failed: u.a", e.what());
    }
    EXPECT_THROW(run("INSERT INTO t VALUES (?, ?)", {BoundValue::integer(1)}),
                 dbi::DBIException<dbiresult::DBI_MISUSE>);
    // The failed uses left the cached statements ready for the next one.
    run("INSERT INTO u VALUES (?)", {BoundValue::integer(2)});
    EXPECT_EQ("2", scalar("SELECT count(*) FROM u"));
}

TEST_F(BoundStatement, cacheIsBoundedAndReusesStatements) {
    for (int i = 0; i < 100; ++i) run("SELECT a FROM t WHERE a = ? + " + std::to_string(i), {BoundValue::integer(i)});
    sqlite3* connection = DBManager::getConnection().get();
    const int cached = openStatements(connection);
    EXPECT_GT(cached, 0);
    EXPECT_LT(cached, 100);
    run("SELECT a FROM t WHERE a = ? + 99", {BoundValue::integer(1)});
    EXPECT_EQ(cached, openStatements(connection));
}

TEST_F(BoundStatement, swapFinalizesTheStatementsOfAHeldConnection) {
    run("SELECT a FROM t WHERE a = ?", {BoundValue::integer(1)});
    boost::shared_ptr<sqlite3> held = DBManager::swapConnection(boost::shared_ptr<sqlite3>());
    EXPECT_EQ(nullptr, sqlite3_next_stmt(held.get(), nullptr));
    // A swapped-in connection gets statements of its own.
    DBManager::swapConnection(held);
    run("SELECT a FROM t WHERE a = ?", {BoundValue::integer(1)});
    EXPECT_NE(nullptr, sqlite3_next_stmt(held.get(), nullptr));
}

TEST_F(BoundStatement, threadEndFinalizesAndClosesItsConnection) {
    boost::shared_ptr<sqlite3> held;
    boost::thread worker([&] {
        ResultTuple result;
        DBManager::execStatement("INSERT INTO t VALUES (?, ?)", {BoundValue::integer(5), BoundValue::text("w")},
                                 result, false);
        held = DBManager::getConnection();
    });
    worker.join();
    // Nothing is left to refuse the close when the last holder lets go.
    EXPECT_EQ(nullptr, sqlite3_next_stmt(held.get(), nullptr));
    EXPECT_EQ("1", scalar("SELECT count(*) FROM t WHERE a = 5"));
}

TEST_F(BoundStatement, storageFailureDropsTheStatementsWithTheConnection) {
    boost::shared_ptr<sqlite3> readOnly = readOnlyConnection();
    DBManager::swapConnection(readOnly);
    run("SELECT a FROM t WHERE a = ?", {BoundValue::integer(1)});
    EXPECT_THROW(run("INSERT INTO t VALUES (?, ?)", {BoundValue::integer(1), BoundValue::text("a")}),
                 dbi::DBIException<dbiresult::DBI_STORAGE_ERROR>);
    EXPECT_EQ(nullptr, sqlite3_next_stmt(readOnly.get(), nullptr));
    // The next statement runs on a fresh connection with statements of its own.
    run("INSERT INTO t VALUES (?, ?)", {BoundValue::integer(2), BoundValue::text("b")});
    EXPECT_NE(readOnly, DBManager::getConnection());
    EXPECT_EQ("1", scalar("SELECT count(*) FROM t WHERE a = 2"));
}
