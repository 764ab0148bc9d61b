#include "dbi/DBManager.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "dbi/Configure.h"
#include "dbi/DBIException.h"

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

// The handle is closed before its error text is taken. A closed handle is
// no longer a valid connection, and SQLite answers any call on one with its
// misuse text; that text is produced here without touching freed memory.
[[noreturn]] void failOpen(sqlite3* db) {
    const bool hadHandle = db != nullptr;
    sqlite3_close(db);
    const char* text = hadHandle ? sqlite3_errstr(SQLITE_MISUSE) : sqlite3_errmsg(nullptr);
    throw DBIException<dbiresult::DBI_STORAGE_ERROR>(text);
}

sqlite3* openAndInitialise() {
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(Configure::getDatabaseName().c_str(), &db, Configure::getDatabaseMode(), nullptr) !=
        SQLITE_OK)
        failOpen(db);
    if (sqlite3_exec(db, "PRAGMA foreign_keys = ON;", nullptr, nullptr, nullptr) != SQLITE_OK) failOpen(db);
    if (sqlite3_exec(db, "PRAGMA journal_mode = WAL;", nullptr, nullptr, nullptr) != SQLITE_OK) failOpen(db);
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

void runOnce(const std::string& sql, ResultTuple& result) {
    boost::shared_ptr<sqlite3> connection = DBManager::getConnection();
    char** array = nullptr;
    int rows = 0;
    int columns = 0;
    const int rc = sqlite3_get_table(connection.get(), sql.c_str(), &array, &rows, &columns, nullptr);
    if (rc != SQLITE_OK) throwException(rc, connection, sql);
    boost::shared_ptr<char*> owned(array, freeTable);  // frees the array itself if this throws
    result = ResultTuple(owned, rows, columns);
}

constexpr int kLastAttempt = 4;

// SQLite reads a statement only up to its first NUL byte, so a value holding
// one would cut the statement short (an UPDATE losing its WHERE clause
// changes every row). Such text is refused before SQLite sees any of it.
void refuseEmbeddedNul(const std::string& sql) {
    const std::string::size_type nul = sql.find('\0');
    if (nul == std::string::npos) return;
    const std::string::size_type shown = std::min<std::string::size_type>(nul, 900);
    throw DBIException<dbiresult::DBI_SQL_ERROR>(sql.substr(nul - shown, shown) + " NUL byte in statement text");
}

}  // namespace

void DBManager::execStatement(const std::string& sql, ResultTuple& result, bool reconnect) {
    refuseEmbeddedNul(sql);
    for (int attempt = 0;; ++attempt) {
        try {
            runOnce(sql, result);
            return;
        } catch (const DBIException<dbiresult::DBI_BUSY>&) {
            if (attempt == kLastAttempt) throw;
            ::sleep(attempt);
        } catch (const DBIException<dbiresult::DBI_STORAGE_ERROR>&) {
            if (tsp.get()) tsp.reset();
            ::sleep(attempt);
            if (!reconnect || attempt == kLastAttempt) throw;
        }
    }
}

std::string DBManager::lastRowId() {
    return std::to_string(static_cast<long long>(sqlite3_last_insert_rowid(getConnection().get())));
}

}  // namespace dbi
