#include "dbi/DBManager.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <deque>
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
boost::thread_specific_ptr<StatementCache> statementCache;

StatementCache& threadStatementCache() {
    if (!statementCache.get()) statementCache.reset(new StatementCache(kCachedStatements));
    return *statementCache;
}

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
    if (statementCache.get()) statementCache->clear();
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

void getTable(const boost::shared_ptr<sqlite3>& connection, const std::string& sql, ResultTuple& result) {
    ResultTable table;
    const int rc = table.finish(connection.get(),
                                sqlite3_exec(connection.get(), sql.c_str(), &ResultTable::onRow, &table, nullptr));
    if (rc != SQLITE_OK) throwException(rc, connection, sql);
    result = table.release();
}

// Cells of a bound statement's result in the layout of sqlite3_get_table: the
// tuple's pointer points into `cells` and owns the whole table. A deque never
// moves its strings, so the cell pointers stay valid while rows are added.
struct CellTable {
    std::deque<std::string> texts;
    std::vector<char*> cells;

    void add(const unsigned char* text) {
        if (!text) {
            cells.push_back(nullptr);
            return;
        }
        texts.emplace_back(reinterpret_cast<const char*>(text));
        cells.push_back(&texts.back()[0]);
    }
};

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
void collectRows(sqlite3_stmt* statement, const boost::shared_ptr<sqlite3>& connection, const std::string& sql,
                 ResultTuple& result) {
    auto table = boost::make_shared<CellTable>();
    table->cells.reserve(1);  // a valid array even without rows
    const int columns = sqlite3_column_count(statement);
    int rows = 0;
    int rc;
    while ((rc = sqlite3_step(statement)) == SQLITE_ROW) {
        if (rows++ == 0)
            for (int column = 0; column < columns; ++column)
                table->add(reinterpret_cast<const unsigned char*>(sqlite3_column_name(statement, column)));
        for (int column = 0; column < columns; ++column) table->add(sqlite3_column_text(statement, column));
    }
    if (rc != SQLITE_DONE) throwException(rc, connection, sql);
    result = ResultTuple(boost::shared_ptr<char*>(table, table->cells.data()), rows, rows ? columns : 0);
}

void runBound(const boost::shared_ptr<sqlite3>& connection, const std::string& sql, const BoundValues& values,
              ResultTuple& result) {
    sqlite3_stmt* statement = nullptr;
    const int rc = threadStatementCache().prepare(connection, sql, statement);
    if (rc != SQLITE_OK) throwException(rc, connection, sql);
    if (!statement) {
        result = ResultTuple(boost::make_shared<char*>(nullptr), 0, 0);
        return;
    }
    StatementUse use(statement);
    bindAll(statement, values, connection, sql);
    collectRows(statement, connection, sql, result);
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
    runWithRetries(
        [&](const boost::shared_ptr<sqlite3>& connection) { runBound(connection, sql, values, result); },
        reconnect);
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
    if (statementCache.get()) statementCache->clear();
    if (tsp.get()) tsp.reset();
}

std::string DBManager::lastRowId() {
    return std::to_string(static_cast<long long>(sqlite3_last_insert_rowid(getConnection().get())));
}

}  // namespace dbi
