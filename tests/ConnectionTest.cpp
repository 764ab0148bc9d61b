#include <sqlite3.h>
#include <sys/stat.h>

#include <boost/thread/thread.hpp>
#include <fstream>

#include "support/TestDatabase.h"

using Connection = dbitest::TestDatabase;

// Set up once per thread, in WAL mode with foreign keys, its files made
// under a cleared umask that is restored after; later options do not move
// it to another file.
TEST_F(Connection, isOnePerThreadSetUpOnceAndKeepsItsFile) {
    const mode_t saved = umask(077);
    sqlite3* first = dbi::DBManager::getConnection().get();
    exec("CREATE TABLE t (a)");
    EXPECT_EQ(077u, umask(saved));
    struct stat info {};
    ASSERT_EQ(0, stat((path + "-wal").c_str(), &info));
    EXPECT_EQ(0644u, info.st_mode & 0777);
    sqlite3* ofAnotherThread = nullptr;
    boost::thread([&] { ofAnotherThread = dbi::DBManager::getConnection().get(); }).join();
    EXPECT_NE(first, ofAnotherThread);
    EXPECT_EQ("wal", scalar("PRAGMA journal_mode"));
    EXPECT_EQ("1", scalar("PRAGMA foreign_keys"));
    dbi::Configure::setOptions(directory + "/other.db", SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX);
    EXPECT_EQ(first, dbi::DBManager::getConnection().get());
    EXPECT_EQ(path, sqlite3_db_filename(first, "main"));
}

// Set-up failures carry SQLite's reason: a missing file, one that is not
// a database, and one still in rollback-journal mode that another
// connection holds exclusively, so that switching it to WAL meets the lock.
TEST_F(Connection, setUpFailuresCarrySqlitesReasonAndAreTriedAgainLater) {
    std::ofstream(directory + "/garbage.db") << std::string(4096, 'x');
    sqlite3* holder = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(path.c_str(), &holder));
    ASSERT_EQ(SQLITE_OK, sqlite3_exec(holder, "CREATE TABLE t (a); BEGIN EXCLUSIVE; INSERT INTO t VALUES (1)", nullptr,
                                      nullptr, nullptr));
    const struct {
        std::string file;
        int code;
        const char* message;
    } failures[] = {{directory + "/absent.db", dbiresult::DBI_STORAGE_ERROR, "unable to open database file"},
                    {directory + "/garbage.db", dbiresult::DBI_STORAGE_ERROR, "file is not a database"},
                    {path, dbiresult::DBI_BUSY, "database is locked"}};
    for (const auto& failure : failures) {
        dbi::Configure::setOptions(failure.file, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX);
        const dbitest::Failure open = dbitest::failureOf([] { dbi::DBManager::getConnection(); });
        EXPECT_EQ(failure.code, open.code) << failure.file;
        EXPECT_EQ(failure.message, open.message);
    }
    // Under a lock held throughout, a statement reports busy after its five
    // tries (pauses of 0, 1, 2 and 3 s), each set-up waiting only briefly.
    const auto start = boost::chrono::steady_clock::now();
    EXPECT_THROW(exec("SELECT 1"), dbi::DBIException<dbiresult::DBI_BUSY>);
    const double seconds = boost::chrono::duration<double>(boost::chrono::steady_clock::now() - start).count();
    EXPECT_GE(seconds, 6.0);
    EXPECT_LE(seconds, 8.0);
    boost::thread releaser([holder] {
        boost::this_thread::sleep_for(boost::chrono::milliseconds(1500));
        sqlite3_exec(holder, "COMMIT", nullptr, nullptr, nullptr);
    });
    EXPECT_EQ("1", scalar("SELECT count(*) FROM t"));
    releaser.join();
    sqlite3_close(holder);
    EXPECT_EQ("wal", scalar("PRAGMA journal_mode"));
}
