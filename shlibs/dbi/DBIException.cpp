#include "dbi/DBIException.h"

#include <sqlite3.h>
#include <syslog.h>

#include <cstdlib>

namespace dbi {

DBIBaseException::~DBIBaseException() = default;

namespace {

constexpr std::size_t kMessageTail = 930;

std::string composeMessage(const std::string& sql, std::string sqliteText) {
    // A trailing line feed is blanked out, keeping the length.
    if (!sqliteText.empty() && sqliteText.back() == '\n') sqliteText.back() = '\0';
    std::string message = sql + " " + sqliteText;
    // The end holds SQLite's explanation; the start of a long statement goes.
    if (message.size() > kMessageTail) message.erase(0, message.size() - kMessageTail);
    return message;
}

[[noreturn]] void stopOnCorruption(const std::string& message) {
    syslog(LOG_USER | LOG_CRIT, "SQLite3 Database is corrupted, shutting down <%s>\n", message.c_str());
    std::abort();
}

dbiresult::dbi_errors codeFor(int result) {
    switch (result) {
    case SQLITE_ERROR:
    case SQLITE_MISMATCH: return dbiresult::DBI_SQL_ERROR;
    case SQLITE_PERM: return dbiresult::DBI_PERMISSION_DENIED;
    case SQLITE_BUSY:
    case SQLITE_INTERRUPT: return dbiresult::DBI_BUSY;
    case SQLITE_READONLY:
    case SQLITE_IOERR:
    case SQLITE_FULL:
    case SQLITE_CANTOPEN:
    case SQLITE_EMPTY:
    case SQLITE_AUTH:
    case SQLITE_NOTADB: return dbiresult::DBI_STORAGE_ERROR;
    case SQLITE_TOOBIG: return dbiresult::DBI_TOO_BIG;
    case SQLITE_CONSTRAINT: return dbiresult::DBI_CONSTRAINT_VIOLATION;
    case SQLITE_MISUSE: return dbiresult::DBI_MISUSE;
    default: return dbiresult::DBI_UNKNOWN_ERROR;
    }
}

template <dbiresult::dbi_errors N>
[[noreturn]] void raise(const std::string& message) {
    throw DBIException<N>(message);
}

}  // namespace

void throwException(int result, boost::shared_ptr<sqlite3> connection, const std::string& sql) {
    throwException(result, sqlite3_errmsg(connection.get()), sql);
}

void throwException(int result, const std::string& reason, const std::string& sql) {
    const std::string message = composeMessage(sql, reason);
    if (result == SQLITE_CORRUPT) stopOnCorruption(message);
    switch (codeFor(result)) {
    case dbiresult::DBI_STORAGE_ERROR: raise<dbiresult::DBI_STORAGE_ERROR>(message);
    case dbiresult::DBI_SQL_ERROR: raise<dbiresult::DBI_SQL_ERROR>(message);
    case dbiresult::DBI_PERMISSION_DENIED: raise<dbiresult::DBI_PERMISSION_DENIED>(message);
    case dbiresult::DBI_CONSTRAINT_VIOLATION: raise<dbiresult::DBI_CONSTRAINT_VIOLATION>(message);
    case dbiresult::DBI_TOO_BIG: raise<dbiresult::DBI_TOO_BIG>(message);
    case dbiresult::DBI_MISUSE: raise<dbiresult::DBI_MISUSE>(message);
    case dbiresult::DBI_BUSY: raise<dbiresult::DBI_BUSY>(message);
    default: raise<dbiresult::DBI_UNKNOWN_ERROR>(message);
    }
}

}  // namespace dbi
