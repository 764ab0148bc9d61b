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
#include "dbi/RowReader.h"
#include "dbi/DBIException.h"
#include "dbi/ParameterBinder.h"
#include "dbi/Transaction.h"

namespace dbi {

namespace {

// The thread's connection slot as a plain pointer: a look-up in the
// thread-specific slot searches the thread's data, and every statement asks
// for the connection. The slot's clean-up clears it whenever the slot lets go.
thread_local const boost::shared_ptr<sqlite3>* thisThreadsSlot = nullptr;

void deleteSlot(boost::shared_ptr<sqlite3>* slot) {
    if (thisThreadsSlot == slot) thisThreadsSlot = nullptr;
    delete slot;
}

}  // namespace

boost::thread_specific_ptr<boost::shared_ptr<sqlite3>> DBManager::tsp(deleteSlot);
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
    if (!thisThreadsSlot) thisThreadsSlot = tsp.get();
    if (thisThreadsSlot && *thisThreadsSlot) return *thisThreadsSlot;
    UmaskGuard umaskGuard;
    sqlite3* db = openAndInitialise();
    boost::shared_ptr<sqlite3> connection(db, sqlite3_close);  // closes db itself if this throws
    fillSlot(connection);
    return connection;
}

void DBManager::fillSlot(const boost::shared_ptr<sqlite3>& connection) {
    tsp.reset(new boost::shared_ptr<sqlite3>(connection));
    thisThreadsSlot = tsp.get();
}

boost::shared_ptr<sqlite3> DBManager::swapConnection(boost::shared_ptr<sqlite3> connection) {
    boost::shared_ptr<sqlite3> previous = tsp.get() ? *tsp : boost::shared_ptr<sqlite3>();
    // The caller may keep the old connection open; it must hold no statements
    // of this thread's cache then.
    statementCache.clear();
    fillSlot(connection);
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

// Appends a result cell in the text SQLite would give for it. Integers are
// written here, which saves SQLite converting them in a buffer of its own.
void appendColumn(CellBuffer& cells, sqlite3_stmt* statement, int column) {
    switch (sqlite3_column_type(statement, column)) {
    case SQLITE_NULL: cells.append(nullptr); return;
    case SQLITE_INTEGER: {
        char digits[24];
        const auto end = std::to_chars(digits, digits + sizeof digits, sqlite3_column_int64(statement, column)).ptr;
        cells.append(digits, static_cast<std::size_t>(end - digits));
        return;
    }
    default: {
        const unsigned char* text = sqlite3_column_text(statement, column);
        if (!text) throw std::bad_alloc();
        cells.append(reinterpret_cast<const char*>(text),
                     static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
    }
    }
}

// Whether the connection's "empty_result_callbacks" pragma is on.
bool reportsEmptyResults(sqlite3* connection) {
    sqlite3_stmt* pragma = nullptr;
    sqlite3_prepare_v2(connection, "PRAGMA empty_result_callbacks", -1, &pragma, nullptr);
    const bool on = pragma && sqlite3_step(pragma) == SQLITE_ROW && sqlite3_column_int(pragma, 0) != 0;
    sqlite3_finalize(pragma);
    return on;
}

// Collects rows as sqlite3_get_table lays them out: the headings come with
// the first row, and every later row, of whichever statement of the text,
// must have as many columns. With "empty_result_callbacks" on, a statement
// without rows counts as a row without cells, as it does there.
class TableReader : public RowReader {
public:
    explicit TableReader(const std::string& sql) : sql(sql) {}

    void onRow(sqlite3_stmt* statement) override {
        const int columns = takeColumns(statement);
        for (int column = 0; column < columns; ++column) appendColumn(cells, statement, column);
        ++rows;
    }

    // Only a statement that could change the result asks for the pragma, so
    // an INSERT or UPDATE alone costs nothing more.
    void onNoRows(sqlite3_stmt* statement) override {
        const bool couldChange = rows > 0 || headingsTaken || sqlite3_column_count(statement) > 0;
        if (couldChange && reportsEmptyResults(sqlite3_db_handle(statement))) takeColumns(statement);
    }

    void onTry() override {
        cells = CellBuffer();
        rows = 0;
        columnCount = 0;
        headingsTaken = false;
    }

    ResultTuple release() { return cells.release(rows, columnCount); }

private:
    int takeColumns(sqlite3_stmt* statement) {
        const int columns = sqlite3_column_count(statement);
        if (rows == 0) {
            columnCount = columns;
            headingsTaken = headingsTaken || columns > 0;
            for (int column = 0; column < columns; ++column) cells.append(columnName(statement, column));
        } else if (columns != columnCount) {
            throwException(SQLITE_ERROR, sqlite3_errstr(SQLITE_ERROR), sql);
        }
        return columns;
    }

    const std::string& sql;
    CellBuffer cells;
    int rows = 0;
    int columnCount = 0;
    bool headingsTaken = false;
};

// One statement of a text while it runs: compiled for this run and finalized
// after it, or taken from the cache and left ready for its next use. Its
// bindings are left as they are: every run binds all values before it steps.
class StatementInUse {
public:
    StatementInUse(sqlite3_stmt* statement, bool cached) : statement(statement), cached(cached) {}
    ~StatementInUse() {
        if (!cached) {
            sqlite3_finalize(statement);
        } else if (statement) {
            sqlite3_reset(statement);
        }
    }
    StatementInUse(const StatementInUse&) = delete;
    StatementInUse& operator=(const StatementInUse&) = delete;

    sqlite3_stmt* get() const { return statement; }

private:
    sqlite3_stmt* statement;
    bool cached;
};

// The values of a BoundValues list, bound where they are.
class BoundValuesBinder : public ParameterBinder {
public:
    explicit BoundValuesBinder(const BoundValues& values) : values(values) {}

    int count() const override { return static_cast<int>(values.size()); }

    int bindAll(sqlite3_stmt* statement) const override {
        for (std::size_t i = 0; i < values.size(); ++i) {
            const int rc = bindValue(statement, static_cast<int>(i + 1), values[i]);
            if (rc != SQLITE_OK) return rc;
        }
        return SQLITE_OK;
    }

private:
    const BoundValues& values;
};

void bindAll(sqlite3_stmt* statement, const ParameterBinder& parameters,
             const boost::shared_ptr<sqlite3>& connection, const std::string& sql) {
    const int expected = sqlite3_bind_parameter_count(statement);
    if (expected != parameters.count())
        throw DBIException<dbiresult::DBI_MISUSE>(sql + " takes " + std::to_string(expected) + " values, " +
                                                  std::to_string(parameters.count()) + " given");
    const int rc = parameters.bindAll(statement);
    if (rc != SQLITE_OK) throwException(rc, connection, sql);
}

// What one call runs: the text, the values to bind (none for a plain text)
// and where the rows go.
struct Run {
    const std::string& sql;
    const ParameterBinder* parameters;
    RowReader& reader;
};

// The next statement of a plain text, compiled for this run; null for a
// stretch of blanks and comments. `next` moves past it.
sqlite3_stmt* compileNext(const boost::shared_ptr<sqlite3>& connection, const Run& run, const char*& next,
                          const char* end) {
    sqlite3_stmt* statement = nullptr;
    const int rc = sqlite3_prepare_v2(connection.get(), next, static_cast<int>(end - next + 1), &statement, &next);
    if (rc != SQLITE_OK) {
        sqlite3_finalize(statement);
        throwException(rc, connection, run.sql);
    }
    return statement;
}

// SQLite reads a statement only up to its first NUL byte, so a value holding
// one would cut the statement short (an UPDATE losing its WHERE clause
// changes every row). Such text is refused before SQLite sees any of it.
void refuseEmbeddedNul(const std::string& sql) {
    const std::string::size_type nul = sql.find('\0');
    if (nul == std::string::npos) return;
    const std::string::size_type shown = std::min<std::string::size_type>(nul, 900);
    throw DBIException<dbiresult::DBI_SQL_ERROR>(sql.substr(nul - shown, shown) + " NUL byte in statement text");
}

// The cached statement of a text with bound values, which must hold one
// statement; null for a text of blanks and comments.
sqlite3_stmt* cachedStatement(const boost::shared_ptr<sqlite3>& connection, const Run& run) {
    StatementCache::Statement* statement = nullptr;
    const int rc = statementCache.prepare(connection, run.sql, statement);
    if (rc == StatementCache::kEmbeddedNul) refuseEmbeddedNul(run.sql);
    if (rc == StatementCache::kSeveralStatements)
        throw DBIException<dbiresult::DBI_SQL_ERROR>(run.sql + " holds more than one statement; a bound text runs one");
    if (rc != SQLITE_OK) throwException(rc, connection, run.sql);
    return statement ? statement->get() : nullptr;
}

void stepAll(const boost::shared_ptr<sqlite3>& connection, const Run& run, sqlite3_stmt* statement) {
    int rc;
    bool anyRows = false;
    try {
        while ((rc = sqlite3_step(statement)) == SQLITE_ROW) {
            anyRows = true;
            run.reader.onRow(statement);
        }
        if (rc == SQLITE_DONE && !anyRows) run.reader.onNoRows(statement);
    } catch (const std::bad_alloc&) {
        throwException(SQLITE_NOMEM, connection, run.sql);
    }
    if (rc != SQLITE_DONE) throwException(rc, connection, run.sql);
}

// Runs the statements of the text in turn. Bound values mean one statement,
// kept in the thread's cache; a plain text is compiled statement by
// statement and nothing of it is kept.
void runStatements(const boost::shared_ptr<sqlite3>& connection, const Run& run) {
    const char* next = run.sql.c_str();
    const char* const end = next + run.sql.size();
    const bool bound = run.parameters != nullptr;
    run.reader.onTry();
    while (next < end) {
        StatementInUse statement(bound ? cachedStatement(connection, run) : compileNext(connection, run, next, end),
                                 bound);
        if (bound) next = end;
        if (!statement.get()) continue;
        if (bound) bindAll(statement.get(), *run.parameters, connection, run.sql);
        stepAll(connection, run, statement.get());
    }
}

// A WAL read transaction that another connection has overtaken can never
// write; waiting does not help, only a new transaction does.
bool isStaleSnapshot(const boost::shared_ptr<sqlite3>& connection) {
    return connection && sqlite3_extended_errcode(connection.get()) == SQLITE_BUSY_SNAPSHOT;
}

constexpr int kMaxTries = 5;

}  // namespace

void DBManager::execStatement(const std::string& sql, ResultTuple& result, bool inSavepoint) {
    TableReader table(sql);
    execStatement(sql, table, inSavepoint);
    result = table.release();
}

void DBManager::execStatement(const std::string& sql, const BoundValues& values, ResultTuple& result,
                              bool inSavepoint) {
    TableReader table(sql);
    execStatement(sql, values, table, inSavepoint);
    result = table.release();
}

void DBManager::execStatement(const std::string& sql, RowReader& reader, bool inSavepoint) {
    refuseEmbeddedNul(sql);
    // One captured pointer keeps the attempt within std::function's own
    // storage: no allocation per statement.
    const Run run{sql, nullptr, reader};
    runWithRetries([&run](const boost::shared_ptr<sqlite3>& connection) { runStatements(connection, run); },
                   inSavepoint);
}

void DBManager::execStatement(const std::string& sql, const BoundValues& values, RowReader& reader,
                              bool inSavepoint) {
    execStatement(sql, BoundValuesBinder(values), reader, inSavepoint);
}

void DBManager::execStatement(const std::string& sql, const ParameterBinder& parameters, RowReader& reader,
                              bool inSavepoint) {
    // A bound text is checked for NUL bytes when it is first compiled.
    const Run run{sql, &parameters, reader};
    runWithRetries([&run](const boost::shared_ptr<sqlite3>& connection) { runStatements(connection, run); },
                   inSavepoint);
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
