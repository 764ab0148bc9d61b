// Statement texts: arbitrary SQL after a fixed UPDATE's WHERE clause runs in
// the default mode and again with a bound value. A text holding a NUL byte is
// refused in both modes, and a bound text holding more than one statement is
// refused whole: a refusal must leave the database exactly as it was.
#include <cstdint>
#include <cstdlib>
#include <string>

#include <sqlite3.h>
#include <stdlib.h>
#include <unistd.h>

#include <dbi/dbi.h>

namespace {

void check(bool condition) {
    if (!condition) std::abort();
}

// Cuts runaway statements (recursive queries) short.
int interruptLongRuns(void* steps) { return ++*static_cast<int*>(steps) > 1000; }

// Rows changed and schema changes: what a refused text must not move.
std::string footprint(sqlite3* db) {
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(db, "PRAGMA schema_version", -1, &statement, nullptr);
    const long long schema = sqlite3_step(statement) == SQLITE_ROW ? sqlite3_column_int64(statement, 0) : -1;
    sqlite3_finalize(statement);
    return std::to_string(sqlite3_total_changes64(db)) + "/" + std::to_string(schema);
}

void runOnce(const std::string& text, bool bound) {
    dbi::Configure::setBindValues(bound);
    // Held here, so the handle outlives a connection the library drops.
    const boost::shared_ptr<sqlite3> connection = dbi::DBManager::getConnection();
    sqlite3* db = connection.get();
    int steps = 0;
    sqlite3_progress_handler(db, 100, interruptLongRuns, &steps);
    sqlite3_limit(db, SQLITE_LIMIT_ATTACHED, 0);
    dbi::Transaction::getDefaultTransaction().execStatement("CREATE TABLE IF NOT EXISTS t (id INTEGER PRIMARY KEY, n)");
    const std::string sql = "UPDATE t SET n = n + 1 WHERE id = " + std::string(bound ? "?" : "1") + text;
    const std::string before = footprint(db);
    try {
        if (bound)
            dbi::Transaction::getDefaultTransaction().execStatement(sql, {dbi::BoundValue::integer(1)});
        else
            dbi::Transaction::getDefaultTransaction().execStatement(sql);
        check(text.find('\0') == std::string::npos);
    } catch (const dbi::DBIException<dbiresult::DBI_SQL_ERROR>&) {
        if (text.find('\0') != std::string::npos || bound) check(footprint(db) == before);
    } catch (const dbi::DBIBaseException&) {
        // Any other refusal by SQLite is a fair answer to arbitrary text.
    }
    sqlite3_progress_handler(db, 0, nullptr, nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Statements such as VACUUM INTO write files: keep them in a folder of
    // their own.
    char directory[] = "/tmp/dbi-fuzz-XXXXXX";
    check(mkdtemp(directory) != nullptr && chdir(directory) == 0);
    dbi::Configure::setOptions(std::string(directory) + "/statements.db",
                               SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    runOnce(text, false);
    runOnce(text, true);
    return 0;
}
