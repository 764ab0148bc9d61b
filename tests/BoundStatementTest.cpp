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

TEST_F(BoundStatement, resultHasTheCellsOfTheTextPath) {
    exec("INSERT INTO t VALUES (-9223372036854775808, 'x'), (9223372036854775807, NULL), (0, ''), "
         "(2.5, x''), (1e300, x'41'), (-0.1, 'caf\xc3\xa9'), (NULL, 7)");
    const std::string select = "SELECT a, b AS renamed FROM t WHERE rowid >= ? ORDER BY rowid";
    ResultTuple text;
    DBManager::execStatement("SELECT a, b AS renamed FROM t WHERE rowid >= 1 ORDER BY rowid", text, false);
    ResultTuple bound = run(select, {BoundValue::integer(1)});
    ASSERT_EQ(7, bound.get<1>());
    ASSERT_EQ(text.get<1>(), bound.get<1>());
    ASSERT_EQ(text.get<2>(), bound.get<2>());
    for (int cell = 0; cell < (1 + 7) * 2; ++cell) {
        const char* expected = text.get<0>().get()[cell];
        const char* actual = bound.get<0>().get()[cell];
        if (!expected)
            EXPECT_EQ(nullptr, actual) << "cell " << cell;
        else
            EXPECT_STREQ(expected, actual) << "cell " << cell;
    }
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

TEST(BoundValueOf, integerColumnsBindOnlyWholeDecimalNumbers) {
    const std::pair<std::string, long long> accepted[] = {
        {"0", 0}, {"+5", 5}, {"-5", -5}, {"007", 7},
        {"9223372036854775807", 9223372036854775807LL}, {"-9223372036854775808", -9223372036854775807LL - 1}};
    for (const auto& [text, number] : accepted) {
        dbi::IntegerField field("n");
        field = text;
        EXPECT_EQ(BoundValue::integer(number), BoundValue::of(field)) << text;
    }
    const std::string refused[] = {"", "+", "-", "+-5", "--5", " 5", "5 ", "1e3", "0x10", "1.0",
                                   "9223372036854775808", std::string("1\0", 2), "1 OR 1"};
    for (const std::string& text : refused) {
        dbi::IntegerField field("n");
        field = text;
        EXPECT_THROW(BoundValue::of(field), dbi::DBIException<dbiresult::DBI_SQL_ERROR>) << text;
    }
}

TEST_F(BoundStatement, aTextWithSeveralStatementsIsRefusedWhole) {
    EXPECT_THROW(run("INSERT INTO t VALUES (?, 'a'); DELETE FROM t", {BoundValue::integer(1)}),
                 dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
    EXPECT_THROW(run("INSERT INTO t VALUES (?, 'a'); garbage", {BoundValue::integer(1)}),
                 dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
    run("INSERT INTO t VALUES (?, 'b'); -- a comment\n ;  ", {BoundValue::integer(2)});
    EXPECT_EQ(1, run("SELECT a FROM t", {}).get<1>());
}
