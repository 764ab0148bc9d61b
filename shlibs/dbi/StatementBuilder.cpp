#include "dbi/StatementBuilder.h"

#include <sqlite3.h>

#include <algorithm>
#include <charconv>

#include "dbi/BoundValue.h"
#include "dbi/Configure.h"
#include "dbi/Field.h"
#include "dbi/RowReader.h"
#include "dbi/Transaction.h"

namespace dbi {

namespace {

// Reads nothing: for statements that return no rows, or whose rows nobody wants.
struct NoRows : RowReader {
    void onRow(sqlite3_stmt*) override {}
    void onTry() override {}
};

// Notes the connection's last inserted row id after each statement, so the
// id of an INSERT is known without asking the connection again.
struct InsertedRow : RowReader {
    void onRow(sqlite3_stmt*) override {}
    void onNoRows(sqlite3_stmt* statement) override {
        rowId = sqlite3_last_insert_rowid(sqlite3_db_handle(statement));
        seen = true;
    }
    void onTry() override { seen = false; }

    sqlite3_int64 rowId = 0;
    bool seen = false;
};

}  // namespace

StatementBuilder::StatementBuilder() : bound(Configure::getBindValues()) {}

StatementBuilder::StatementBuilder(const StatementBuilder& other)
    : ParameterBinder(other), bound(other.bound), size(other.size), moreValues(other.moreValues),
      ownTexts(other.ownTexts) {
    std::copy_n(other.inlineValues.begin(), std::min(size, kInlineValues), inlineValues.begin());
}

StatementBuilder& StatementBuilder::operator=(const StatementBuilder& other) {
    bound = other.bound;
    size = other.size;
    std::copy_n(other.inlineValues.begin(), std::min(size, kInlineValues), inlineValues.begin());
    moreValues = other.moreValues;
    ownTexts = other.ownTexts;
    return *this;
}

void StatementBuilder::appendQuoted(std::string& sql, const std::string& text) {
    if (!bound) return quote(sql, text);
    sql += '?';
    add(Value::OwnText).number = static_cast<long long>(ownTexts.size());
    ownTexts.push_back(text);
}

void StatementBuilder::quote(std::string& sql, const std::string& text) {
    sql += '\'';
    sql += text;
    sql += '\'';
}

void StatementBuilder::run(Transaction& transaction, const std::string& sql, RowReader& reader) const {
    if (bound)
        transaction.execStatement(sql, *this, reader);
    else
        transaction.execStatement(sql, reader);
}

void StatementBuilder::run(Transaction& transaction, const std::string& sql) const {
    NoRows noRows;
    run(transaction, sql, noRows);
}

// The new row's id is noted on the statement's own connection and written
// back as decimal digits without asking the connection again.
void StatementBuilder::runInsert(Transaction& transaction, const std::string& sql, Field& id) const {
    InsertedRow inserted;
    run(transaction, sql, inserted);
    if (!id.isUnknown()) return;
    if (!inserted.seen) {
        id = transaction.lastRowId();
        return;
    }
    char digits[24];
    const char* end = std::to_chars(digits, digits + sizeof digits, static_cast<long long>(inserted.rowId)).ptr;
    id.assign(digits, static_cast<std::size_t>(end - digits));
}

// SQLite is called directly rather than through the base's helpers: this
// runs for every value of every bound statement.
int StatementBuilder::bindAll(sqlite3_stmt* statement) const {
    const auto bindOne = [&](const Value& value, std::size_t index) {
        const int position = static_cast<int>(index + 1);
        if (value.kind == Value::Integer) return sqlite3_bind_int64(statement, position, value.number);
        const char* text = value.text;
        std::size_t length = value.length;
        if (value.kind == Value::OwnText) {
            const std::string& own = ownTexts[static_cast<std::size_t>(value.number)];
            text = own.data();
            length = own.size();
        }
        return sqlite3_bind_text(statement, position, text, static_cast<int>(length), SQLITE_STATIC);
    };
    const std::size_t inlineCount = std::min(size, kInlineValues);
    for (std::size_t i = 0; i < inlineCount; ++i)
        if (const int rc = bindOne(inlineValues[i], i)) return rc;  // anything but SQLITE_OK
    for (std::size_t i = inlineCount; i < size; ++i)
        if (const int rc = bindOne(moreValues[i - kInlineValues], i)) return rc;
    return SQLITE_OK;
}

StatementBuilder::Value& StatementBuilder::addMore() {
    moreValues.emplace_back();
    return moreValues.back();
}

}  // namespace dbi
