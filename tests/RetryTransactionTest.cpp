#include <sqlite3.h>

#include <algorithm>
#include <set>

#include "support/TestDatabase.h"

using dbitest::TestDatabase;

namespace {

class RetryTransaction : public TestDatabase {
protected:
    void SetUp() override {
        TestDatabase::SetUp();
        exec("CREATE TABLE t (a integer)");
    }

    // A write committed by a connection outside the library.
    void commitOutside(const std::string& sql) {
        sqlite3* other = nullptr;
        ASSERT_EQ(SQLITE_OK, sqlite3_open(path.c_str(), &other));
        EXPECT_EQ(SQLITE_OK, sqlite3_exec(other, sql.c_str(), nullptr, nullptr, nullptr));
        sqlite3_close(other);
    }

    dbi::RetryPolicy quick() {
        dbi::RetryPolicy policy;
        policy.firstPause = boost::posix_time::milliseconds(1);
        policy.maxPause = boost::posix_time::milliseconds(5);
        return policy;
    }
};

}  // namespace

TEST_F(RetryTransaction, workMeetingAStaleSnapshotRunsAgainAndCommitsOnce) {
    int runs = 0;
    const std::string seen = dbi::retryTransaction(
        [&](dbi::Transaction& transaction) {
            ++runs;
            const dbi::ResultTuple count = transaction.execStatement("SELECT count(*) FROM t");
            if (runs == 1) commitOutside("INSERT INTO t VALUES (100)");
            transaction.execStatement("INSERT INTO t VALUES (1)");
            return std::string(count.get<0>().get()[1]);
        },
        quick());
    EXPECT_EQ(2, runs);
    EXPECT_EQ("1", seen);  // the second run read the outside row
    EXPECT_EQ("1", scalar("SELECT count(*) FROM t WHERE a = 1"));
}

TEST_F(RetryTransaction, lostTransactionRunsAgainOnAFreshConnection) {
    int runs = 0;
    dbi::retryTransaction(
        [&](dbi::Transaction& transaction) {
            transaction.execStatement("INSERT INTO t VALUES (1)");
            if (++runs == 1)
                sqlite3_exec(dbi::DBManager::getConnection().get(), "PRAGMA query_only = 1", nullptr, nullptr,
                             nullptr);
            transaction.execStatement("INSERT INTO t VALUES (2)");
        },
        quick());
    EXPECT_EQ(2, runs);
    EXPECT_EQ("2", scalar("SELECT count(*) FROM t"));
}

TEST_F(RetryTransaction, givesUpAfterTheLastAttemptAndPassesOtherFailuresAtOnce) {
    int runs = 0;
    EXPECT_THROW(dbi::retryTransaction(
                     [&](dbi::Transaction& transaction) {
                         transaction.execStatement("INSERT INTO t VALUES (1)");
                         ++runs;
                         throw dbi::DBIException<dbiresult::DBI_BUSY>("contended");
                     },
                     quick()),
                 dbi::DBIException<dbiresult::DBI_BUSY>);
    EXPECT_EQ(5, runs);
    runs = 0;
    EXPECT_THROW(dbi::retryTransaction([&](dbi::Transaction& transaction) {
                     ++runs;
                     transaction.execStatement("INSERT INTO nowhere VALUES (1)");
                 }),
                 dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
    EXPECT_EQ(1, runs);
    EXPECT_EQ("0", scalar("SELECT count(*) FROM t"));
    EXPECT_EQ(0u, dbi::TransactionMgr::get()->depth());
}

TEST_F(RetryTransaction, insideAnOpenTransactionRunsOnceNested) {
    dbi::Transaction outer(true);
    outer.execStatement("INSERT INTO t VALUES (1)");
    int runs = 0;
    EXPECT_THROW(dbi::retryTransaction([&](dbi::Transaction& transaction) {
                     ++runs;
                     EXPECT_NE("FIRST_SAVEPOINT", transaction.getSavepointName());
                     throw dbi::DBIException<dbiresult::DBI_BUSY>("contended");
                 }),
                 dbi::DBIException<dbiresult::DBI_BUSY>);
    EXPECT_EQ(1, runs);
    EXPECT_EQ(2, dbi::retryTransaction([](dbi::Transaction& transaction) {
                  transaction.execStatement("INSERT INTO t VALUES (2)");
                  return 2;
              }));
    outer.release();
    EXPECT_EQ("2", scalar("SELECT count(*) FROM t"));
}

TEST(RetryPause, growsTowardsTheCeilingAndVaries) {
    dbi::RetryPolicy policy;
    for (int retry = 1; retry <= 12; ++retry) {
        const long long ceiling =
            std::min(policy.firstPause.total_microseconds() << (retry - 1), policy.maxPause.total_microseconds());
        const long long pause = dbi::detail::retryPause(policy, retry).total_microseconds();
        EXPECT_GE(pause, ceiling / 2) << retry;
        EXPECT_LE(pause, ceiling) << retry;
    }
    std::set<long long> pauses;
    for (int i = 0; i < 20; ++i) pauses.insert(dbi::detail::retryPause(policy, 3).total_microseconds());
    EXPECT_GT(pauses.size(), 1u);
}
