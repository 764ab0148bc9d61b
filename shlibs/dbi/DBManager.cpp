#include "dbi/DBManager.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <charconv>
#include <new>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>

#include "StatementCache.h"
#include "dbi/Configure.h"
#include "dbi/DBIException.h"
#include "dbi/Transaction.h"

namespace dbi {

boost::thread_specific_ptr<boost::shared_ptr<sqlite3>> DBManager::tsp;
boost::mutex DBManager::m_fieldMapMutex;

namespace {

// Enough for every statement shape the record layer of one process uses
// in a busy loop, small enough for the controller's memory.
constexpr std::size_t kCachedStatements = 64;

// The prepared statements of this thread's connection. The cache holds its
// own reference to the connection, so whichever of the two thread slots is
// cleaned up first at thread end, the statements are finalized before the
// connection is closed.
thread_local StatementCache statementCache(kCachedStatements);

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

// Set-up waits this long for other connections' locks in each try, so a
// busy set-up still reports within the statement retry budget plus about
// a second and a half (five tries).
constexpr int kOpenWaitMilliseconds = 300;

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
    // Set-up meets other connections' locks (a crashed writer's log being
    // recovered while many processes open at once); it waits briefly for
    // them, while statements keep their own retry rule without a busy handler.
    sqlite3_busy_timeout(db, kOpenWaitMilliseconds);
    for (const char* setup : {"PRAGMA foreign_keys = ON;", "PRAGMA journal_mode = WAL;"}) {
        rc = sqlite3_exec(db, setup, nullptr, nullptr, nullptr);
        if (rc != SQLITE_OK) failOpen(db, rc);
    }
    // "create_wal" belongs to the database file, not to this library; its
    // absence is not an error.
    sqlite3_exec(db, "select * from create_wal;", nullptr, nullptr, nullptr);
    sqlite3_busy_timeout(db, 0);
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
    // The caller may keep the old connection open; it must hold no statements
    // of this thread's cache then.
    statementCache.clear();
    tsp.reset(new boost::shared_ptr<sqlite3>(connection));
    return previous;
}

boost::mutex& DBManager::getFieldMapMutex() { return m_fieldMapMutex; }

namespace {

// A result laid out as sqlite3_get_table lays it out (the headings, then
// the cells row by row, NULL cells as null pointers), but with all texts in
// one buffer instead of one allocation per cell.
class CellBuffer {
public:
    void append(const char* cell) {
        if (cell) {
            append(cell, std::strlen(cell));
        } else {
            reserveOnFirstCell();
            offsets.push_back(-1);
        }
    }

    void append(const char* cell, std::size_t length) {
        reserveOnFirstCell();
        offsets.push_back(static_cast<std::ptrdiff_t>(text.size()));
        text.append(cell, length);
        text.push_back('\0');
    }

    // Appends the column names a cached statement keeps in one block.
    void appendHeadings(const std::string& names, const std::vector<std::size_t>& starts) {
        reserveOnFirstCell();
        const std::size_t base = text.size();
        text += names;
        for (std::size_t start : starts) offsets.push_back(static_cast<std::ptrdiff_t>(base + start));
    }

    // Hands the cells over; the pointers stay valid while the result lives.
    // A statement without rows (every INSERT and UPDATE) costs one allocation.
    ResultTuple release(int rows, int columns) {
        if (offsets.empty()) return ResultTuple(boost::make_shared<char*>(nullptr), rows, columns);
        auto owner = boost::make_shared<Storage>();
        owner->text.swap(text);
        owner->cells.reserve(offsets.size() + 1);
        for (std::ptrdiff_t offset : offsets) owner->cells.push_back(offset < 0 ? nullptr : &owner->text[offset]);
        owner->cells.push_back(nullptr);  // never an empty array
        return ResultTuple(boost::shared_ptr<char*>(owner, owner->cells.data()), rows, columns);
    }

private:
    struct Storage {
        std::string text;
        std::vector<char*> cells;
    };

    void reserveOnFirstCell() {
        if (!offsets.empty()) return;
        offsets.reserve(32);
        text.reserve(1024);
    }

    std::string text;  // every cell's text, each followed by a NUL
    std::vector<std::ptrdiff_t> offsets;
};

// Collects the rows of an sqlite3_exec as sqlite3_get_table would.
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

    ResultTuple release() { return cells.release(rows, columnCount); }

private:
    bool add(int columns, char** values, char** headings) {
        if (rows == 0) {
            columnCount = columns;
            for (int i = 0; i < columns; ++i) cells.append(headings[i]);
        } else if (columnCount != columns) {
            incompatible = true;
            return false;
        }
        if (!values) return true;
        for (int i = 0; i < columns; ++i) cells.append(values[i]);
        ++rows;
        return true;
    }

    CellBuffer cells;
    int rows = 0;
    int columnCount = 0;
    bool incompatible = false;
    bool outOfMemory = false;
};

void getTable(const boost::shared_ptr<sqlite3>& connection, const std::string& sql, ResultTuple& result) {
    ResultTable table;
    const int rc = table.finish(connection.get(),
                                sqlite3_exec(connection.get(), sql.c_str(), &ResultTable::onRow, &table, nullptr));
    if (rc != SQLITE_OK) throwException(rc, connection, sql);
    result = table.release();
}

// Appends a result cell in the text SQLite would give for it; false when
// SQLite ran out of memory converting it. Integers are written here, which
// saves SQLite converting them in a buffer of its own.
bool appendColumn(CellBuffer& cells, sqlite3_stmt* statement, int column) {
    switch (sqlite3_column_type(statement, column)) {
    case SQLITE_NULL: cells.append(nullptr); return true;
    case SQLITE_INTEGER: {
        char digits[24];
        const auto end = std::to_chars(digits, digits + sizeof digits, sqlite3_column_int64(statement, column)).ptr;
        cells.append(digits, static_cast<std::size_t>(end - digits));
        return true;
    }
    default: {
        const unsigned char* text = sqlite3_column_text(statement, column);
        if (!text) return false;
        cells.append(reinterpret_cast<const char*>(text),
                     static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
        return true;
    }
    }
}

// Leaves a cached statement ready for its next use, whatever happened.
class StatementUse {
public:
    explicit StatementUse(sqlite3_stmt* statement) : statement(statement) {}
    ~StatementUse() {
        sqlite3_reset(statement);
        sqlite3_clear_bindings(statement);
    }
    StatementUse(const StatementUse&) = delete;
    StatementUse& operator=(const StatementUse&) = delete;

private:
    sqlite3_stmt* statement;
};

int bind(sqlite3_stmt* statement, int position, const BoundValue& value) {
    switch (value.getKind()) {
    case BoundValue::Kind::Integer: return sqlite3_bind_int64(statement, position, value.getInteger());
    case BoundValue::Kind::Text:
        return sqlite3_bind_text(statement, position, value.getText().data(),
                                 static_cast<int>(value.getText().size()), SQLITE_STATIC);
    case BoundValue::Kind::Null: break;
    }
    return sqlite3_bind_null(statement, position);
}

void bindAll(sqlite3_stmt* statement, const BoundValues& values, const boost::shared_ptr<sqlite3>& connection,
             const std::string& sql) {
    if (sqlite3_bind_parameter_count(statement) != static_cast<int>(values.size()))
        throw DBIException<dbiresult::DBI_MISUSE>(sql + " takes " +
                                                  std::to_string(sqlite3_bind_parameter_count(statement)) +
                                                  " values, " + std::to_string(values.size()) + " given");
    for (std::size_t i = 0; i < values.size(); ++i) {
        const int rc = bind(statement, static_cast<int>(i + 1), values[i]);
        if (rc != SQLITE_OK) throwException(rc, connection, sql);
    }
}

// Steps through all rows; the header row is added with the first row, so a
// statement without rows has no columns, as with sqlite3_get_table.
void collectRows(StatementCache::Statement& cached, const boost::shared_ptr<sqlite3>& connection,
                 const std::string& sql, ResultTuple& result) {
    sqlite3_stmt* statement = cached.get();
    CellBuffer cells;
    int columns = 0;
    int rows = 0;
    int rc;
    while ((rc = sqlite3_step(statement)) == SQLITE_ROW) {
        if (rows++ == 0) {
            cells.appendHeadings(cached.headings(), cached.headingOffsets());
            columns = sqlite3_column_count(statement);
        }
        for (int column = 0; column < columns; ++column)
            if (!appendColumn(cells, statement, column)) throwException(SQLITE_NOMEM, connection, sql);
    }
    if (rc != SQLITE_DONE) throwException(rc, connection, sql);
    result = cells.release(rows, columns);
}

struct BoundCall {
    const std::string& sql;
    const BoundValues& values;
    ResultTuple& result;
};

void runBound(const boost::shared_ptr<sqlite3>& connection, const BoundCall& call) {
    const std::string& sql = call.sql;
    ResultTuple& result = call.result;
    StatementCache::Statement* statement = nullptr;
    const int rc = statementCache.prepare(connection, sql, statement);
    if (rc == StatementCache::kSeveralStatements)
        throw DBIException<dbiresult::DBI_SQL_ERROR>(sql + " holds more than one statement; a bound text runs one");
    if (rc != SQLITE_OK) throwException(rc, connection, sql);
    if (!statement) {
        result = ResultTuple(boost::make_shared<char*>(nullptr), 0, 0);
        return;
    }
    StatementUse use(statement->get());
    bindAll(statement->get(), call.values, connection, sql);
    collectRows(*statement, connection, sql, result);
}

// A WAL read transaction that another connection has overtaken can never
// write; waiting does not help, only a new transaction does.
bool isStaleSnapshot(const boost::shared_ptr<sqlite3>& connection) {
    return connection && sqlite3_extended_errcode(connection.get()) == SQLITE_BUSY_SNAPSHOT;
}

constexpr int kMaxTries = 5;

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
    runWithRetries([&](const boost::shared_ptr<sqlite3>& connection) { getTable(connection, sql, result); }, reconnect);
}

void DBManager::execStatement(const std::string& sql, const BoundValues& values, ResultTuple& result,
                              bool reconnect) {
    refuseEmbeddedNul(sql);
    // One captured pointer keeps the attempt within std::function's own
    // storage: no allocation per statement.
    const BoundCall call{sql, values, result};
    runWithRetries([&call](const boost::shared_ptr<sqlite3>& connection) { runBound(connection, call); }, reconnect);
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
    statementCache.clear();
    if (tsp.get()) tsp.reset();
}

std::string DBManager::lastRowId() {
    return std::to_string(static_cast<long long>(sqlite3_last_insert_rowid(getConnection().get())));
}

}  // namespace dbi
