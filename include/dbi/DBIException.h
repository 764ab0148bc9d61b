#ifndef DBI_DBIEXCEPTION_H
#define DBI_DBIEXCEPTION_H

#include <stdexcept>
#include <string>

#include <boost/shared_ptr.hpp>

#include "dbi/Export.h"

struct sqlite3;

/// Failure codes of the library. The numbers are part of the exception type
/// names (DBIException<16> is "busy") and are compared by callers.
namespace dbiresult {
/// The failure classes; each is the N of one DBIException<N>.
enum dbi_errors {
    DBI_STORAGE_ERROR = 3,
    DBI_UNKNOWN_ERROR = 4,
    DBI_NOT_FOUND = 6,
    DBI_SQL_ERROR = 10,
    DBI_PERMISSION_DENIED = 11,
    DBI_CONSTRAINT_VIOLATION = 12,
    DBI_TOO_BIG = 13,
    DBI_MISUSE = 14,
    DBI_BUSY = 16
};
}  // namespace dbiresult

namespace dbi {

/// \cond
namespace dbiresult = ::dbiresult;
/// \endcond

/// Base of every failure the library reports: a message and a code.
/// Catch it to handle all library failures at once.
class DBI_EXPORT DBIBaseException : public std::runtime_error {
public:
    /// A failure of class `code`; `message` is what what() returns.
    DBIBaseException(const std::string& message, dbiresult::dbi_errors code)
        : std::runtime_error(message), m_code(code) {}
    ~DBIBaseException() override;

    /// The failure class.
    dbiresult::dbi_errors getCode() const { return m_code; }

private:
    dbiresult::dbi_errors m_code;
};

/// One type per code, so a single condition can be caught by type:
/// DBIException<dbiresult::DBI_BUSY> is exactly "busy or interrupted".
template <dbiresult::dbi_errors N>
class DBI_EXPORT DBIException : public DBIBaseException {
public:
    /// A failure of class N; `message` is what what() returns.
    explicit DBIException(const std::string& message) : DBIBaseException(message, N) {}
};

/// The connection or its file failed (open, I/O, full disk). Not retried: the
/// connection is dropped and a transaction it held is lost.
using StorageError = DBIException<dbiresult::DBI_STORAGE_ERROR>;
/// An SQLite result the library has no class for.
using UnknownError = DBIException<dbiresult::DBI_UNKNOWN_ERROR>;
/// A lookup found no row, or several where one was expected.
using NotFoundError = DBIException<dbiresult::DBI_NOT_FOUND>;
/// The statement is wrong: syntax, unknown table or column.
using SqlError = DBIException<dbiresult::DBI_SQL_ERROR>;
/// The file or database refused access (read-only, permissions, authorization).
using PermissionDenied = DBIException<dbiresult::DBI_PERMISSION_DENIED>;
/// A constraint (unique, not null, foreign key, check) refused the change.
using ConstraintViolation = DBIException<dbiresult::DBI_CONSTRAINT_VIOLATION>;
/// A value or statement exceeded SQLite's limits.
using TooBig = DBIException<dbiresult::DBI_TOO_BIG>;
/// The library was used wrongly, such as closing a savepoint that is not the innermost.
using MisuseError = DBIException<dbiresult::DBI_MISUSE>;
/// The database stayed busy or locked through every retry, or the call was interrupted.
using BusyError = DBIException<dbiresult::DBI_BUSY>;

/// Turns a failed SQLite call on `connection` into the matching exception.
/// The message is `sql`, a blank and SQLite's text, cut to its last 930
/// characters. For a corrupted database it logs one critical system-log line
/// and aborts the process instead: a corrupted file is never worked on.
[[noreturn]] DBI_EXPORT void throwException(int result, boost::shared_ptr<sqlite3> connection,
                                            const std::string& sql);
/// The same with `reason` in place of SQLite's text.
[[noreturn]] DBI_EXPORT void throwException(int result, const std::string& reason, const std::string& sql);

}  // namespace dbi

#endif
