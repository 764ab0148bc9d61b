#include "dbi/RowReader.h"

#include <sqlite3.h>

#include <charconv>
#include <new>

#include "dbi/Field.h"

namespace dbi {

RowReader::~RowReader() = default;

void RowReader::onNoRows(sqlite3_stmt*) {}

int RowReader::columnCount(sqlite3_stmt* statement) { return sqlite3_column_count(statement); }

const char* RowReader::columnName(sqlite3_stmt* statement, int column) {
    const char* name = sqlite3_column_name(statement, column);
    if (!name) throw std::bad_alloc();
    return name;
}

namespace {

// The cell is read through its value: one call that takes the connection's
// mutex instead of three. A connection is used by one thread only, so the
// value cannot change under the reads.
void store(sqlite3_stmt* statement, int column, Field& field, bool nullIsUnknown) {
    sqlite3_value* cell = sqlite3_column_value(statement, column);
    switch (sqlite3_value_type(cell)) {
    case SQLITE_NULL:
        if (nullIsUnknown) field.loadSettled(DBI_UNKNOWN.data(), DBI_UNKNOWN.size());
        return;
    case SQLITE_INTEGER: {
        // Written here rather than by SQLite, which would convert in a buffer of its own.
        char digits[24];
        const char* end = std::to_chars(digits, digits + sizeof digits, sqlite3_value_int64(cell)).ptr;
        field.loadSettled(digits, static_cast<std::size_t>(end - digits));
        return;
    }
    default: {
        const unsigned char* text = sqlite3_value_text(cell);
        if (!text) throw std::bad_alloc();
        field.loadSettled(reinterpret_cast<const char*>(text), static_cast<std::size_t>(sqlite3_value_bytes(cell)));
    }
    }
}

}  // namespace

void RowReader::load(sqlite3_stmt* statement, int column, Field& field) { store(statement, column, field, false); }

void RowReader::fill(sqlite3_stmt* statement, int column, Field& field) { store(statement, column, field, true); }

}  // namespace dbi
