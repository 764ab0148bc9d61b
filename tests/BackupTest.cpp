// Online copies of the database: what a copy holds while other processes
// write, what a failed copy leaves behind, and how progress is told.
#include <sqlite3.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <thread>

#include "support/TestDatabase.h"

namespace {

using dbitest::contains;

// Whether a backup left a temporary file in `folder`.
bool leftTemporaries(const std::string& folder) {
    for (const std::string& name : dbitest::listing(folder))
        if (contains(name, ".tmp-")) return true;
    return false;
}

// A database of about 2 MB: a backup of it takes several steps.
class Backup : public dbitest::TestDatabase {
protected:
    void SetUp() override {
        TestDatabase::SetUp();
        exec("CREATE TABLE payload (id INTEGER PRIMARY KEY, data BLOB)");
        exec(
            "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 600) "
            "INSERT INTO payload (data) SELECT randomblob(3000) FROM n");
    }

    void TearDown() override {
        for (const std::string& mountPoint : mounts) umount2(mountPoint.c_str(), MNT_DETACH);
        TestDatabase::TearDown();
    }

    // A new folder in the test's folder; with `options`, a tmpfs mounted
    // there. Empty when it cannot be mounted.
    std::string folder(const std::string& name, unsigned long flags = 0, const char* options = nullptr) {
        const std::string path = directory + "/" + name;
        mkdir(path.c_str(), 0755);
        if (!options) return path;
        if (mount("tmpfs", path.c_str(), "tmpfs", flags, options) != 0) return "";
        mounts.push_back(path);
        return path;
    }

    std::vector<std::string> mounts;
};

TEST_F(Backup, failsWithTheRightErrorAndLeavesNoFile) {
    struct Case {
        const char* name;
        std::function<std::string()> destinationFolder;  // empty: the case cannot be set up here
        int code;                                        // a DBIException's code, 0 for the callback's own
        const char* reason;
        dbi::BackupProgress progress;
    };
    const Case cases[] = {
        {"missing directory",
         [&] { return directory + "/missing"; },
         dbiresult::DBI_STORAGE_ERROR,
         "unable to open database file (No such file or directory)",
         {}},
        {"read-only directory",
         [&] {
             // Root writes through permission bits, so it gets a read-only mount.
             if (geteuid() == 0) return folder("read-only", MS_RDONLY, "size=64k");
             const std::string path = folder("read-only");
             chmod(path.c_str(), 0555);
             return path;
         },
         dbiresult::DBI_PERMISSION_DENIED,
         "unable to open database file",
         {}},
        {"disk full",
         [&] { return folder("full", 0, "size=64k"); },
         dbiresult::DBI_STORAGE_ERROR,
         "database or disk is full",
         {}},
        {"interrupted by the progress callback", [&] { return directory; }, 0, "stop",
         [](int, int) { throw std::runtime_error("stop"); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string folderPath = c.destinationFolder();
        if (folderPath.empty()) {
            std::cout << "[  SKIPPED ] " << c.name << ": mounting a tmpfs needs privileges this run lacks\n";
            continue;
        }
        const std::string destination = folderPath + "/copy.db";
        const dbitest::Failure failure = dbitest::failureOf([&] { dbi::backupDatabase(destination, c.progress); });
        EXPECT_EQ(c.code, failure.code) << failure.message;
        EXPECT_TRUE(contains(failure.message, c.reason)) << failure.message;
        EXPECT_NE(0, access(destination.c_str(), F_OK));
        EXPECT_FALSE(leftTemporaries(folderPath));
    }
}

// Two other processes commit one transaction after another, each inserting
// into both tables, while the backup replaces an older file in steps.
TEST_F(Backup, holdsEveryTransactionCommittedBeforeItAndNoneInPartWhileTwoProcessesWrite) {
    exec("CREATE TABLE first_half (writer INTEGER, sequence INTEGER)");
    exec("CREATE TABLE second_half (writer INTEGER, sequence INTEGER, data BLOB)");
    std::vector<std::unique_ptr<dbitest::ChildProcess>> writers;
    for (const std::string writer : {"0", "1"}) {
        writers.push_back(std::make_unique<dbitest::ChildProcess>([&](dbitest::ChildProcess&) {
            const dbitest::OtherConnection db = openOther();
            sqlite3_busy_timeout(db.get(), 30000);
            for (int sequence = 1;; ++sequence) {
                const std::string values = writer + ", " + std::to_string(sequence);
                const std::string sql = "BEGIN IMMEDIATE; INSERT INTO first_half VALUES (" + values +
                                        "); INSERT INTO second_half VALUES (" + values + ", randomblob(2000)); COMMIT;";
                if (sqlite3_exec(db.get(), sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) _exit(1);
            }
        }));
    }
    // What each writer had committed, once both passed 20 transactions.
    const std::string progress = "SELECT group_concat(last) FROM (SELECT max(sequence) AS last FROM first_half"
                                 " GROUP BY writer HAVING last >= 20 ORDER BY writer)";
    std::string before;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (std::count((before = outside(progress)).begin(), before.end(), ',') < 1 &&
           std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    std::vector<int> remaining;
    const std::string copy = directory + "/copy.db";
    std::ofstream(copy) << "an older file";
    dbi::backupDatabase(copy, [&](int left, int) { remaining.push_back(left); });
    writers.clear();
    ASSERT_GE(remaining.size(), 2u) << "copied in steps";
    for (std::size_t i = 1; i < remaining.size(); ++i) EXPECT_LT(remaining[i], remaining[i - 1]) << "call " << i;
    EXPECT_EQ(0, remaining.back());
    EXPECT_FALSE(leftTemporaries(directory));
    EXPECT_EQ("ok", outside("PRAGMA integrity_check", copy));
    // Per writer, one row per sequence number from 1 up without a gap, at
    // least up to the last one committed before the backup began.
    const std::string complete =
        " GROUP BY writer HAVING count(*) = count(DISTINCT sequence) AND count(*) = max(sequence) AND count(*) >="
        " CASE writer WHEN 0 THEN " + before.substr(0, before.find(',')) + " ELSE " +
        before.substr(before.find(',') + 1) + " END ORDER BY writer";
    for (const std::string table : {"first_half", "second_half"})
        EXPECT_EQ("0,1", outside("SELECT writer FROM " + table + complete, copy)) << table;
    const std::string first = "SELECT writer, sequence FROM first_half";
    const std::string second = "SELECT writer, sequence FROM second_half";
    EXPECT_EQ("", outside(first + " EXCEPT " + second, copy) + outside(second + " EXCEPT " + first, copy))
        << "a transaction is in the copy in part";
}

}  // namespace
