#include "dbi/ParameterBinder.h"

#include <sqlite3.h>

namespace dbi {

ParameterBinder::~ParameterBinder() = default;

int ParameterBinder::bindInteger(sqlite3_stmt* statement, int position, long long number) {
    return sqlite3_bind_int64(statement, position, number);
}

int ParameterBinder::bindText(sqlite3_stmt* statement, int position, const char* text, std::size_t length) {
    return sqlite3_bind_text(statement, position, text, static_cast<int>(length), SQLITE_STATIC);
}

int ParameterBinder::bindValue(sqlite3_stmt* statement, int position, const BoundValue& value) {
    switch (value.getKind()) {
    case BoundValue::Kind::Integer: return bindInteger(statement, position, value.getInteger());
    case BoundValue::Kind::Text: return bindText(statement, position, value.getText().data(), value.getText().size());
    case BoundValue::Kind::Null: break;
    }
    return sqlite3_bind_null(statement, position);
}

}  // namespace dbi
