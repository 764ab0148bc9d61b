#ifndef DBI_STATEMENTBUILDER_H
#define DBI_STATEMENTBUILDER_H

#include <array>
#include <climits>
#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

#include "dbi/Export.h"
#include "dbi/Field.h"
#include "dbi/ParameterBinder.h"

namespace dbi {

class RowReader;
class Transaction;

/// Writes the values of one statement of the record layer and runs it. The
/// value mode (Configure::getBindValues()) is read once, when the builder is
/// made: in text mode a value is written into the text as a literal, in
/// bound-values mode as "?" with the value kept for binding. The caller owns
/// the text; the builder only appends values to it. Fields bound are read
/// where they are, so they must stay unchanged until the statement has run.
/// A builder belongs to the thread that made it.
class DBI_EXPORT StatementBuilder : public ParameterBinder {
public:
    /// Reads the value mode; no values taken yet.
    StatementBuilder();
    /// Copies the mode and the values taken so far: a Query holding a
    /// builder stays a plain value.
    StatementBuilder(const StatementBuilder& other);
    /// As the copy constructor.
    StatementBuilder& operator=(const StatementBuilder& other);

    /// Takes the field's value for binding, in bound-values mode and unless it
    /// is a marker, and returns true; false when the value goes into the text
    /// (text mode, markers). Throws DBIException<10> when an integer column
    /// holds anything but a decimal integer.
    bool bind(const Field& field) {
        if (!bound || field.isBareInSql()) return false;
        // An integer is converted now, so a value that cannot be bound stops
        // the statement before it runs.
        if (field.bindsAsInteger()) {
            add(Value::Integer).number = BoundValue::integerOf(field);
            return true;
        }
        Value& value = add(Value::Text);
        value.text = field.getValue().data();
        value.length = field.getValue().size();
        return true;
    }
    /// Appends where the field's value goes: "?" once bind() took it, else the
    /// value as SQL text (prefix, value, suffix; the markers bare).
    void appendPlaceholder(std::string& sql, const Field& field) const {
        if (bound && !field.isBareInSql())
            sql += '?';
        else
            field.appendSqlValue(sql);
    }
    /// Appends the integer in decimal, or "?" with the integer bound.
    template <class I, std::enable_if_t<std::is_integral<I>::value, int> = 0>
    void appendValue(std::string& sql, I integer) {
        if (bound) return appendBoundInteger(sql, static_cast<long long>(integer));
        sql += std::to_string(integer);
    }
    /// Appends the integer in decimal between quotes, or "?" with the integer
    /// bound; an unsigned one beyond 64-bit signed range is bound as its
    /// decimal text, which SQLite compares as the number it is.
    template <class I, std::enable_if_t<std::is_integral<I>::value, int> = 0>
    void appendQuoted(std::string& sql, I integer) {
        if constexpr (std::is_unsigned<I>::value && sizeof(I) >= sizeof(long long)) {
            if (integer > static_cast<I>(LLONG_MAX)) return appendQuoted(sql, std::to_string(integer));
        }
        if (bound) return appendBoundInteger(sql, static_cast<long long>(integer));
        quote(sql, std::to_string(integer));
    }
    /// Appends the text verbatim between quotes, or "?" with a copy of the
    /// text bound.
    void appendQuoted(std::string& sql, const std::string& text);

    /// Runs `sql`, whose "?" are the values taken, handing its rows to
    /// `reader`: as a cached prepared statement with the values bound in
    /// bound-values mode, as a plain text otherwise.
    void run(Transaction& transaction, const std::string& sql, RowReader& reader) const;
    /// The same for a statement whose rows, if any, nobody reads.
    void run(Transaction& transaction, const std::string& sql) const;
    /// Runs the INSERT `sql`; when `id` is unknown after it, stores the new
    /// row's id there, as an assignment of its decimal text would.
    void runInsert(Transaction& transaction, const std::string& sql, Field& id) const;

    int count() const override { return static_cast<int>(size); }
    int bindAll(sqlite3_stmt* statement) const override;

private:
    struct Value {
        enum Kind { Integer, Text, OwnText } kind;
        long long number;  // the integer, or the index in ownTexts
        const char* text;
        std::size_t length;
    };

    void appendBoundInteger(std::string& sql, long long integer) {
        sql += '?';
        add(Value::Integer).number = integer;
    }
    static void quote(std::string& sql, const std::string& text);
    Value& add(Value::Kind kind) {
        Value& value = size < kInlineValues ? inlineValues[size] : addMore();
        ++size;
        value.kind = kind;
        return value;
    }
    Value& addMore();

    static constexpr std::size_t kInlineValues = 16;

    bool bound;
    std::size_t size = 0;
    std::array<Value, kInlineValues> inlineValues;  // the first values; set as they are taken
    std::vector<Value> moreValues;
    std::vector<std::string> ownTexts;
};

}  // namespace dbi

#endif
