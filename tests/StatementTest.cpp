#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/thread/thread.hpp>

#include "support/TestDatabase.h"

using dbi::BoundValue;
using dbi::DBManager;
using dbi::ResultTuple;
using dbitest::StatementTrace;

namespace {

class Statement : public dbitest::BothModes {
protected:
    void SetUp() override {
        BothModes::SetUp();
        exec("CREATE TABLE t (a integer, b text)");
    }
};
DBITEST_IN_BOTH_MODES(Statement);

// Statements of the bound form with values, whatever the mode.
class BoundStatement : public dbitest::TestDatabase {
protected:
    void SetUp() override {
        TestDatabase::SetUp();
        exec("CREATE TABLE t (a integer, b text)");
    }
};

// Inputs that once broke something.
using BadInput = BoundStatement;

}  // namespace

// Results keep the layout, counts and failures of sqlite3_get_table, which
// statements used to go through. A bound text must hold one statement.
TEST_P(Statement, resultsAndFailuresMatchSqliteGetTable) {
    exec("INSERT INTO t VALUES (-9223372036854775808, 'x'), (9223372036854775807, NULL), (0, ''), "
         "(2.5, x''), (1e300, x'41'), (-0.1, 'caf\xc3\xa9'), (NULL, 7)");
    sqlite3* db = DBManager::getConnection().get();
    const std::string texts[] = {"SELECT a, b AS renamed FROM t ORDER BY rowid",
                                 "SELECT a FROM t WHERE a > 5e300",
                                 "SELECT nothing FROM t",
                                 "SELECT a, b FROM t WHERE a = 0; SELECT b, a FROM t WHERE a > 1",
                                 "SELECT a FROM t WHERE a > 5e300; SELECT b FROM t",
                                 "SELECT a FROM t; SELECT a, b FROM t",
                                 "PRAGMA empty_result_callbacks = 1",
                                 "SELECT a FROM t WHERE a > 5e300; SELECT a, b FROM t WHERE a = 0"};
    for (const std::string& sql : texts) {
        SCOPED_TRACE(sql);
        if (bound() && sql.find(';') != std::string::npos) {
            EXPECT_THROW(run(sql), dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
            continue;
        }
        char** expected = nullptr;
        int rows = -1, columns = -1;
        const int rc = sqlite3_get_table(db, sql.c_str(), &expected, &rows, &columns, nullptr);
        const std::string expectedError = rc == SQLITE_OK ? "" : sqlite3_errmsg(db);
        try {
            ResultTuple result = run(sql);
            ASSERT_EQ(SQLITE_OK, rc);
            ASSERT_EQ(rows, result.get<1>());
            ASSERT_EQ(columns, result.get<2>());
            char** cells = result.get<0>().get();
            ASSERT_NE(nullptr, cells);
            for (int i = 0; i < (rows + 1) * columns; ++i) {
                EXPECT_STREQ(expected[i], cells[i]) << "cell " << i;
            }
        } catch (const dbi::DBIBaseException& e) {
            EXPECT_NE(SQLITE_OK, rc);
            EXPECT_NE(std::string(e.what()).find(expectedError), std::string::npos) << e.what();
        }
        sqlite3_free_table(expected);
    }
}

TEST_P(Statement, failuresCarryTheStatementAndSqlitesTextAndAreNotRetried) {
    sqlite3_create_function(
        DBManager::getConnection().get(), "fail", 0, SQLITE_UTF8, nullptr,
        [](sqlite3_context* context, int, sqlite3_value**) { sqlite3_result_error(context, "went wrong\n", -1); },
        nullptr, nullptr);
    exec("CREATE TABLE u (a integer PRIMARY KEY); INSERT INTO u VALUES (1)");
    const std::string longText = "SELECT " + std::string(2000, ' ') + "nosuchcolumn";
    const std::string longMessage = longText + " no such column: nosuchcolumn";
    const struct {
        std::string sql, message;
        dbiresult::dbi_errors code;
    } failures[] = {
        {"INSERT INTO u VALUES (1)", "INSERT INTO u VALUES (1) UNIQUE constraint failed: u.a",
         dbiresult::DBI_CONSTRAINT_VIOLATION},
        {"INSERT INTO missing VALUES (1)", "INSERT INTO missing VALUES (1) no such table: missing",
         dbiresult::DBI_SQL_ERROR},
        // The trailing line feed of SQLite's text ends the message.
        {"SELECT fail()", "SELECT fail() went wrong", dbiresult::DBI_SQL_ERROR},
        // Long messages keep their last 930 characters.
        {longText, longMessage.substr(longMessage.size() - 930), dbiresult::DBI_SQL_ERROR},
    };
    for (const auto& failure : failures) {
        StatementTrace trace;
        const dbitest::Failure thrown = dbitest::failureOf([&] { run(failure.sql); });
        EXPECT_EQ(failure.code, thrown.code) << failure.sql;
        EXPECT_EQ(failure.message, thrown.message);
        EXPECT_GE(1, trace.count(failure.sql));
    }
}

// Tries at 0 s, 0 s and 1 s meet the lock; the one at 3 s gets through.
TEST_P(Statement, busyStatementIsRetriedUntilTheWriterLetsGo) {
    dbitest::OtherConnection writer = openOther();  // holding the write lock
    ASSERT_EQ(SQLITE_OK, sqlite3_exec(writer.get(), "BEGIN IMMEDIATE", nullptr, nullptr, nullptr));
    boost::thread releaser([&writer] {
        boost::this_thread::sleep_for(boost::chrono::milliseconds(2000));
        sqlite3_exec(writer.get(), "COMMIT", nullptr, nullptr, nullptr);
    });
    StatementTrace trace;
    const std::string insert = "INSERT INTO t VALUES (7, 'late')";
    run(insert);
    releaser.join();
    EXPECT_EQ(4, trace.count(insert));
    EXPECT_EQ("1", outside("SELECT count(*) FROM t WHERE a = 7"));
}

TEST_P(Statement, staleSnapshotFailsAtOnce) {
    dbi::Transaction reader(true);
    run("SELECT count(*) FROM t", reader);
    outside("INSERT INTO t VALUES (1, 'outside')");
    StatementTrace trace;
    const std::string insert = "INSERT INTO t VALUES (2, 'stale')";
    const auto start = boost::chrono::steady_clock::now();
    EXPECT_THROW(run(insert, reader), dbi::DBIException<dbiresult::DBI_BUSY>);
    EXPECT_LT(boost::chrono::steady_clock::now() - start, boost::chrono::seconds(3));
    EXPECT_EQ(1, trace.count(insert));
    reader.rollback();
    run(insert);  // a new transaction sees the outside row and can write
    EXPECT_EQ("2", scalar("SELECT count(*) FROM t"));
}

// Row ids are 64-bit even where long is 32 bits wide.
TEST_P(Statement, lastRowIdIsDecimalTextOfTheLastInsertBeyond32Bits) {
    run("INSERT INTO t (rowid, a) VALUES (42, 1)");
    EXPECT_EQ("42", autocommit().lastRowId());
    run("INSERT INTO t (rowid, a) VALUES (5000000000, 1)");
    EXPECT_EQ("5000000000", DBManager::lastRowId());
}

TEST_F(BoundStatement, resultOutlivesTheStatementsNextUseAndFailuresKeepItReady) {
    exec("INSERT INTO t VALUES (?, ?)", {BoundValue::integer(1), BoundValue::text("first")});
    exec("INSERT INTO t VALUES (?, ?)", {BoundValue::integer(2), BoundValue::text("second")});
    ResultTuple first = exec("SELECT b FROM t WHERE a = ?", {BoundValue::integer(1)});
    ResultTuple second = exec("SELECT b FROM t WHERE a = ?", {BoundValue::integer(2)});
    EXPECT_STREQ("first", first.get<0>().get()[1]);
    EXPECT_STREQ("second", second.get<0>().get()[1]);
    EXPECT_EQ(dbiresult::DBI_MISUSE,
              dbitest::failureOf([&] { exec("INSERT INTO t VALUES (?, ?)", {BoundValue::integer(1)}); }).code);
    exec("INSERT INTO t VALUES (?, ?)", {BoundValue::integer(3), BoundValue()});
    EXPECT_EQ("1", scalar("SELECT count(*) FROM t WHERE a = 3 AND b IS NULL"));
}

// The cache is bounded; nothing may be left in it to refuse the close when
// the last holder lets go of a connection.
TEST_F(BoundStatement, cacheIsBoundedReusesStatementsAndIsFinalizedOnSwapAndThreadEnd) {
    const auto openStatements = [](sqlite3* connection) {
        int count = 0;
        for (sqlite3_stmt* s = sqlite3_next_stmt(connection, nullptr); s; s = sqlite3_next_stmt(connection, s)) ++count;
        return count;
    };
    for (int i = 0; i < 100; ++i) exec("SELECT a FROM t WHERE a = ? + " + std::to_string(i), {BoundValue::integer(i)});
    const int cached = openStatements(DBManager::getConnection().get());
    EXPECT_GT(cached, 0);
    EXPECT_LT(cached, 100);
    exec("SELECT a FROM t WHERE a = ? + 99", {BoundValue::integer(1)});
    EXPECT_EQ(cached, openStatements(DBManager::getConnection().get()));
    boost::shared_ptr<sqlite3> held = DBManager::swapConnection(boost::shared_ptr<sqlite3>());
    EXPECT_EQ(nullptr, sqlite3_next_stmt(held.get(), nullptr));
    // A swapped-in connection gets statements of its own.
    DBManager::swapConnection(held);
    exec("SELECT a FROM t WHERE a = ?", {BoundValue::integer(1)});
    EXPECT_NE(nullptr, sqlite3_next_stmt(held.get(), nullptr));
    boost::thread worker([&] {
        exec("INSERT INTO t VALUES (?, ?)", {BoundValue::integer(5), BoundValue::text("w")});
        held = DBManager::getConnection();
    });
    worker.join();
    EXPECT_EQ(nullptr, sqlite3_next_stmt(held.get(), nullptr));
    EXPECT_EQ("1", scalar("SELECT count(*) FROM t WHERE a = 5"));
}

// Stored date-times are read in the ISO, compact, space-separated and
// named-month forms; garbage throws. The last three garbage texts once
// overflowed a signed integer inside Boost's conversion of a component that
// mixes digits with other characters.
TEST_F(BadInput, dateTimesAreReadInTheirFormsAndGarbageThrowsWithoutOverflowingInTheParser) {
    const std::pair<std::string, const char*> texts[] = {
        {"2012-03-04T05:06:07", "2012-03-04 05:06:07"},         {"20120304T050607", "2012-03-04 05:06:07"},
        {"2012-03-04 05:06:07.250", "2012-03-04 05:06:07.250"}, {"2012-Mar-04 +5:06:07", "2012-03-04 05:06:07"},
        {"2040-01-02T03:04:05", "2040-01-02 03:04:05"},  // past the 32-bit time_t limit
        {"", nullptr}, {"garbage", nullptr}, {"2012-13-45 99:99:99", nullptr}, {"20121304T050607", nullptr},
        {"2012-03-04Tnoon", nullptr}, {std::string("2r01\0\x12" "0005628-1", 15), nullptr},
        {"3-2012-02:+20120- ", nullptr}, {"2012-03-04 05:06:#1234567", nullptr}};
    for (const auto& [text, time] : texts) {
        dbi::DateTimeField field("at");
        field = text;
        if (time)
            EXPECT_EQ(boost::posix_time::time_from_string(time), static_cast<boost::posix_time::ptime>(field)) << text;
        else
            EXPECT_THROW((void)static_cast<boost::posix_time::ptime>(field), std::exception) << text;
    }
}

// A bound text must hold one statement: a second one, after a NUL byte or
// a semicolon, gets the text refused whole, not run up to the first's end.
TEST_F(BadInput, boundTextsWithASecondStatementAreRefusedWhole) {
    exec("INSERT INTO t (a) VALUES (1)");
    const char nul[] = "UPDATE t SET a = 9 WHERE a = ?\0DELETE FROM t";
    const std::string refused[] = {std::string(nul, sizeof nul - 1), "UPDATE t SET a = 9 WHERE a = ?; DELETE FROM t",
                                   "UPDATE t SET a = 9 WHERE a = ?; garbage"};
    for (const std::string& text : refused)
        EXPECT_THROW(exec(text, {dbi::BoundValue::integer(1)}), dbi::DBIException<dbiresult::DBI_SQL_ERROR>) << text;
    exec("INSERT INTO t (a) VALUES (?); -- a comment\n ;  ", {dbi::BoundValue::integer(2)});
    EXPECT_EQ(0, exec(" -- nothing to run", dbi::BoundValues()).get<1>());
    EXPECT_EQ("1,2", outside("SELECT group_concat(a) FROM t"));
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

// Codes no other test meets through a real failure: busy, storage, SQL,
// constraint and misuse answers are met where they happen.
TEST_F(BoundStatement, sqliteResultsMapToTheirCodes) {
    const std::pair<int, dbiresult::dbi_errors> mapping[] = {
        {SQLITE_MISMATCH, dbiresult::DBI_SQL_ERROR},  {SQLITE_PERM, dbiresult::DBI_PERMISSION_DENIED},
        {SQLITE_INTERRUPT, dbiresult::DBI_BUSY},      {SQLITE_LOCKED, dbiresult::DBI_UNKNOWN_ERROR},
        {SQLITE_NOMEM, dbiresult::DBI_UNKNOWN_ERROR}, {SQLITE_IOERR, dbiresult::DBI_STORAGE_ERROR},
        {SQLITE_EMPTY, dbiresult::DBI_STORAGE_ERROR}, {SQLITE_AUTH, dbiresult::DBI_STORAGE_ERROR},
        {SQLITE_NOTADB, dbiresult::DBI_STORAGE_ERROR}, {SQLITE_TOOBIG, dbiresult::DBI_TOO_BIG},
        {SQLITE_OK, dbiresult::DBI_UNKNOWN_ERROR},    {27, dbiresult::DBI_UNKNOWN_ERROR},
        {-1, dbiresult::DBI_UNKNOWN_ERROR},
    };
    for (const auto& [result, code] : mapping)
        EXPECT_EQ(code, dbitest::failureOf([&] {
                            dbi::throwException(result, DBManager::getConnection(), "SELECT 1");
                        }).code)
            << "result " << result;
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(dbi::throwException(SQLITE_CORRUPT, DBManager::getConnection(), "SELECT 1"), "");
}
