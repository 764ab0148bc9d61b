#ifndef DBI_ROWREADER_H
#define DBI_ROWREADER_H

#include "dbi/Export.h"

struct sqlite3_stmt;

namespace dbi {

class Field;

/// Takes the rows of a statement as they are stepped, straight from SQLite,
/// so no intermediate table is built. A reader sees the rows of every
/// statement of a text in turn; a failure it throws ends the statement.
class DBI_EXPORT RowReader {
public:
    virtual ~RowReader();

    /// Called once per result row; `statement` is positioned on that row.
    virtual void onRow(sqlite3_stmt* statement) = 0;
    /// Called for a statement that ended without rows; does nothing unless
    /// overridden.
    virtual void onNoRows(sqlite3_stmt* statement);
    /// Called before each try of a text: a retried text starts over, so the
    /// rows of a failed try must be forgotten here.
    virtual void onTry() = 0;

    /// The number of columns of the statement's rows.
    static int columnCount(sqlite3_stmt* statement);
    /// The name of `column`, as SQLite reports it ("a" or "t.a").
    static const char* columnName(sqlite3_stmt* statement, int column);
    /// Stores the cell of `column` in `field` as the text SQLite gives for it
    /// (integers in decimal, reals as SQLite writes them), settled: neither
    /// modified nor stale. A NULL cell leaves the field as it is. Throws
    /// std::bad_alloc when SQLite cannot convert the cell.
    static void load(sqlite3_stmt* statement, int column, Field& field);
    /// load() for a field constructed unfilled: a NULL cell stores DBI_UNKNOWN,
    /// the value such a field holds when constructed filled.
    static void fill(sqlite3_stmt* statement, int column, Field& field);
};

}  // namespace dbi

#endif
