#ifndef DBI_PARAMETERBINDER_H
#define DBI_PARAMETERBINDER_H

#include <cstddef>

#include "dbi/BoundValue.h"
#include "dbi/Export.h"

struct sqlite3_stmt;

namespace dbi {

/// Binds the values of one statement's "?" parameters from wherever the
/// caller keeps them, so nothing is copied into BoundValues first.
class DBI_EXPORT ParameterBinder {
public:
    virtual ~ParameterBinder();

    /// The number of values; the statement must take exactly as many.
    virtual int count() const = 0;
    /// Binds every value, the first at position 1. Returns SQLITE_OK, or
    /// SQLite's result code of the first value that failed.
    virtual int bindAll(sqlite3_stmt* statement) const = 0;

    /// Binds a 64-bit integer at `position`.
    static int bindInteger(sqlite3_stmt* statement, int position, long long number);
    /// Binds `length` bytes at `text` without copying them: they must stay
    /// unchanged until the statement has run.
    static int bindText(sqlite3_stmt* statement, int position, const char* text, std::size_t length);
    /// Binds `value`, which must outlive the statement's run like the text above.
    static int bindValue(sqlite3_stmt* statement, int position, const BoundValue& value);
};

}  // namespace dbi

#endif
