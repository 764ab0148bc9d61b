#include "dbi/DBManager.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "dbi/Configure.h"
#include "dbi/DBIException.h"
#include "dbi/Transaction.h"

namespace dbi {

boost::thread_specific_ptr<boost::shared_ptr<sqlite3>> DBManager::tsp;
boost::mutex DBManager::m_fieldMapMutex;

namespace {

// Clears the process umask while a connection is set up, so the companion
// files SQLite creates (-wal, -shm) are usable by every process of the
// appliance; the old mask comes back on every way out.
class UmaskGuard {
public:
    UmaskGuard() : saved(::umask(0)) {}
    ~UmaskGuard() { ::umask(saved); }
    UmaskGuard(const UmaskGuard&) = delete;
    UmaskGuard& operator=(const UmaskGuard&) = delete;

private:
    mode_t saved;
};

bool isBusyOrLocked(int rc) {
    const int primary = rc & 0xff;
    return primary == SQLITE_BUSY || primary == SQLITE_LOCKED;
}

// SQLite's reason is taken while the handle is still open (or from the
// result code when there is no handle); then the handle is closed. Busy and
// locked are contention, retried by the statement loop like any busy answer.
[[noreturn]] void failOpen(sqlite3* db, int rc) {
    const std::string reason = db ? sqlite3_errmsg(db) : sqlite3_errstr(rc);
    sqlite3_close(db);
    if (isBusyOrLocked(rc)) throw DBIException<dbiresult::DBI_BUSY>(reason);
    throw DBIException<dbiresult::DBI_STORAGE_ERROR>(reason);
}

sqlite3* openAndInitialise() {
    sqlite3* db = nullptr;
    int rc = sqlite3_open_v2(Configure::getDatabaseName().c_str(), &db, Configure::getDatabaseMode(), nullptr);
    if (rc != SQLITE_OK) failOpen(db, rc);
    for (const char* setup : {"PRAGMA foreign_keys = ON;", "PRAGMA journal_mode = WAL;"}) {
        rc = sqlite3_exec(db, setup, nullptr, nullptr, nullptr);
        if (rc != SQLITE_OK) failOpen(db, rc);
    }
    // "create_wal" belongs to the database file, not to this library; its
    // absence is not an error.
    sqlite3_exec(db, "select * from create_wal;", nullptr, nullptr, nullptr);
    return db;
}

void freeTable(char** table) { sqlite3_free_table(table); }

}  // namespace

boost::shared_ptr<sqlite3> DBManager::getConnection() {
    if (tsp.get() && *tsp) return *tsp;
    UmaskGuard umaskGuard;
    sqlite3* db = openAndInitialise();
    boost::shared_ptr<sqlite3> connection(db, sqlite3_close);  // closes db itself if this throws
    tsp.reset(new boost::shared_ptr<sqlite3>(connection));
    return connection;
}

boost::shared_ptr<sqlite3> DBManager::swapConnection(boost::shared_ptr<sqlite3> connection) {
    boost::shared_ptr<sqlite3> previous = tsp.get() ? *tsp : boost::shared_ptr<sqlite3>();
    tsp.reset(new boost::shared_ptr<sqlite3>(connection));
    return previous;
}

boost::mutex& DBManager::getFieldMapMutex() { return m_fieldMapMutex; }

namespace {

void getTable(const boost::shared_ptr<sqlite3>& connection, const std::string& sql, ResultTuple& result) {
    char** array = nullptr;
    int rows = 0;
    int columns = 0;
    const int rc = sqlite3_get_table(connection.get(), sql.c_str(), &array, &rows, &columns, nullptr);
    if (rc != SQLITE_OK) throwException(rc, connection, sql);
    boost::shared_ptr<char*> owned(array, freeTable);  // frees the array itself if this throws
    result = ResultTuple(owned, rows, columns);
}

// A WAL read transaction that another connection has overtaken can never
// write; waiting does not help, only a new transaction does.
bool isStaleSnapshot(const boost::shared_ptr<sqlite3>& connection) {
    return connection && sqlite3_extended_errcode(connection.get()) == SQLITE_BUSY_SNAPSHOT;
}

constexpr int kMaxTries = 5;

}  // namespace

void DBManager::execStatement(const std::string& sql, ResultTuple& result, bool reconnect) {
    runWithRetries([&](const boost::shared_ptr<sqlite3>& connection) { getTable(connection, sql, result); }, reconnect);
}

void DBManager::runWithRetries(const Attempt& attempt, bool inSavepoint) {
    for (int tries = 1;; ++tries) {
        boost::shared_ptr<sqlite3> connection;
        try {
            connection = getConnection();
            attempt(connection);
            return;
        } catch (const DBIException<dbiresult::DBI_BUSY>&) {
            if (tries == kMaxTries || isStaleSnapshot(connection)) throw;
        } catch (const DBIException<dbiresult::DBI_STORAGE_ERROR>&) {
            abandonConnection(connection, inSavepoint);
            throw;
        }
        ::sleep(tries - 1);
    }
}

void DBManager::abandonConnection(const boost::shared_ptr<sqlite3>& failed, bool inSavepoint) {
    TransactionMgr* savepoints = TransactionMgr::get();
    if (inSavepoint || savepoints->depth() > 0) {
        // Rolled back here rather than by closing: a caller may hold a copy
        // of the connection, which would keep the transaction open.
        if (failed) sqlite3_exec(failed.get(), "ROLLBACK", nullptr, nullptr, nullptr);
        savepoints->forgetSavepoints();
    }
    if (tsp.get()) tsp.reset();
}

std::string DBManager::lastRowId() {
    return std::to_string(static_cast<long long>(sqlite3_last_insert_rowid(getConnection().get())));
}

}  // namespace dbi
