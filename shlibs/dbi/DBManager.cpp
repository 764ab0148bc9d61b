#include "dbi/DBManager.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>

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

// A result laid out as sqlite3_get_table lays it out (the headings, then
// the cells row by row, NULL cells as null pointers), but with all texts in
// one buffer instead of one allocation per cell.
class ResultTable {
public:
    // The callback of sqlite3_exec; follows sqlite3_get_table's rules: the
    // headings come with the first row, every later row must have as many
    // columns.
    static int onRow(void* self, int columns, char** values, char** headings) {
        try {
            return static_cast<ResultTable*>(self)->add(columns, values, headings) ? 0 : 1;
        } catch (const std::bad_alloc&) {
            static_cast<ResultTable*>(self)->outOfMemory = true;
            return 1;
        }
    }

    // Result of the sqlite3_exec that fed this table, turned into the code
    // sqlite3_get_table would have returned.
    int finish(sqlite3* connection, int rc) {
        if (outOfMemory) return SQLITE_NOMEM;
        if (incompatible) {
            // Leaves the connection's error state as that failure leaves it.
            char** unused = nullptr;
            sqlite3_get_table(connection, "SELECT 1; SELECT 1, 2", &unused, nullptr, nullptr, nullptr);
            sqlite3_free_table(unused);
            return SQLITE_ERROR;
        }
        return rc;
    }

    // Hands the cells over; the pointers stay valid while the result lives.
    ResultTuple release() {
        auto owner = boost::make_shared<Storage>();
        owner->text.swap(text);
        owner->cells.reserve(offsets.size() + 1);
        for (std::ptrdiff_t offset : offsets) owner->cells.push_back(offset < 0 ? nullptr : &owner->text[offset]);
        owner->cells.push_back(nullptr);  // never an empty array
        return ResultTuple(boost::shared_ptr<char*>(owner, owner->cells.data()), rows, columnCount);
    }

private:
    struct Storage {
        std::vector<char> text;
        std::vector<char*> cells;
    };

    bool add(int columns, char** values, char** headings) {
        if (rows == 0) {
            columnCount = columns;
            offsets.reserve(4 * static_cast<std::size_t>(columns));
            text.reserve(512);
            for (int i = 0; i < columns; ++i) append(headings[i]);
        } else if (columnCount != columns) {
            incompatible = true;
            return false;
        }
        if (!values) return true;
        for (int i = 0; i < columns; ++i) append(values[i]);
        ++rows;
        return true;
    }

    void append(const char* cell) {
        if (!cell) {
            offsets.push_back(-1);
            return;
        }
        offsets.push_back(static_cast<std::ptrdiff_t>(text.size()));
        text.insert(text.end(), cell, cell + std::strlen(cell) + 1);
    }

    std::vector<char> text;
    std::vector<std::ptrdiff_t> offsets;
    int rows = 0;
    int columnCount = 0;
    bool incompatible = false;
    bool outOfMemory = false;
};

void runOnce(const std::string& sql, ResultTuple& result) {
    boost::shared_ptr<sqlite3> connection = DBManager::getConnection();
    ResultTable table;
    const int rc = table.finish(connection.get(),
                                sqlite3_exec(connection.get(), sql.c_str(), &ResultTable::onRow, &table, nullptr));
    if (rc != SQLITE_OK) throwException(rc, connection, sql);
    result = table.release();
}

constexpr int kLastAttempt = 4;

}  // namespace

void DBManager::execStatement(const std::string& sql, ResultTuple& result, bool reconnect) {
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
