#include <sqlite3.h>

#include <utility>
#include <vector>

#include "support/TestDatabase.h"

using dbitest::TestDatabase;

namespace {

class Errors : public TestDatabase {};

dbiresult::dbi_errors codeOf(int result) {
    try {
        dbi::throwException(result, dbi::DBManager::getConnection(), "SELECT 1");
    } catch (const dbi::DBIBaseException& e) {
        return e.getCode();
    }
    return dbiresult::dbi_errors(0);
}

void failWithLineFeed(sqlite3_context* context, int, sqlite3_value**) {
    sqlite3_result_error(context, "went wrong\n", -1);
}

}  // namespace

TEST_F(Errors, sqliteResultsMapToTheirCodes) {
    const std::vector<std::pair<int, dbiresult::dbi_errors>> mapping = {
        {SQLITE_ERROR, dbiresult::DBI_SQL_ERROR},          {SQLITE_MISMATCH, dbiresult::DBI_SQL_ERROR},
        {SQLITE_PERM, dbiresult::DBI_PERMISSION_DENIED},   {SQLITE_BUSY, dbiresult::DBI_BUSY},
        {SQLITE_INTERRUPT, dbiresult::DBI_BUSY},           {SQLITE_LOCKED, dbiresult::DBI_UNKNOWN_ERROR},
        {SQLITE_NOMEM, dbiresult::DBI_UNKNOWN_ERROR},      {SQLITE_READONLY, dbiresult::DBI_STORAGE_ERROR},
        {SQLITE_IOERR, dbiresult::DBI_STORAGE_ERROR},      {SQLITE_FULL, dbiresult::DBI_STORAGE_ERROR},
        {SQLITE_CANTOPEN, dbiresult::DBI_STORAGE_ERROR},   {SQLITE_EMPTY, dbiresult::DBI_STORAGE_ERROR},
        {SQLITE_AUTH, dbiresult::DBI_STORAGE_ERROR},       {SQLITE_NOTADB, dbiresult::DBI_STORAGE_ERROR},
        {SQLITE_TOOBIG, dbiresult::DBI_TOO_BIG},           {SQLITE_CONSTRAINT, dbiresult::DBI_CONSTRAINT_VIOLATION},
        {SQLITE_MISUSE, dbiresult::DBI_MISUSE},            {SQLITE_OK, dbiresult::DBI_UNKNOWN_ERROR},
        {27, dbiresult::DBI_UNKNOWN_ERROR},                {-1, dbiresult::DBI_UNKNOWN_ERROR},
    };
    for (const auto& entry : mapping) EXPECT_EQ(entry.second, codeOf(entry.first)) << "result " << entry.first;
}

TEST_F(Errors, constraintViolationCarriesStatementAndSqliteText) {
    exec("CREATE TABLE t (a integer UNIQUE)");
    exec("INSERT INTO t VALUES (1)");
    const std::string insert = "INSERT INTO t VALUES (1)";
    try {
        exec(insert);
        FAIL() << "duplicate accepted";
    } catch (const dbi::DBIException<dbiresult::DBI_CONSTRAINT_VIOLATION>& e) {
        EXPECT_EQ(insert + " UNIQUE constraint failed: t.a", e.what());
    }
}

TEST_F(Errors, longMessagesKeepTheirLast930Characters) {
    const std::string sql = "SELECT " + std::string(2000, ' ') + "nosuchcolumn";
    try {
        exec(sql);
        FAIL();
    } catch (const dbi::DBIException<dbiresult::DBI_SQL_ERROR>& e) {
        const std::string message = e.what();
        const std::string tail = "nosuchcolumn no such column: nosuchcolumn";
        EXPECT_EQ(930u, message.size());
        EXPECT_EQ(tail, message.substr(message.size() - tail.size()));
    }
}

TEST_F(Errors, trailingLineFeedOfSqliteTextEndsTheMessage) {
    sqlite3_create_function(dbi::DBManager::getConnection().get(), "fail", 0, SQLITE_UTF8, nullptr,
                            failWithLineFeed, nullptr, nullptr);
    try {
        exec("SELECT fail()");
        FAIL();
    } catch (const dbi::DBIBaseException& e) {
        EXPECT_STREQ("SELECT fail() went wrong", e.what());
    }
}

TEST_F(Errors, exceptionsAreCaughtByCodeOrByBase) {
    EXPECT_THROW(exec("SELEC 1"), dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
    EXPECT_THROW(exec("SELEC 1"), dbi::DBIBaseException);
    EXPECT_THROW(exec("SELEC 1"), std::runtime_error);
}

TEST_F(Errors, corruptDatabaseAbortsTheProcess) {
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(dbi::throwException(SQLITE_CORRUPT, dbi::DBManager::getConnection(), "SELECT 1"), "");
}
