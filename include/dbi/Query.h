#ifndef DBI_QUERY_H
#define DBI_QUERY_H

#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "dbi/Configure.h"
#include "dbi/DBIException.h"
#include "dbi/Record.h"
#include "dbi/RowReader.h"
#include "dbi/StatementBuilder.h"
#include "dbi/Transaction.h"

namespace dbi {

namespace detail {

/// Values that equals() binds in bound-values mode: integers (not bool or
/// characters, which text mode writes otherwise) and texts.
template <class V>
constexpr bool isBoundInteger = std::is_integral<V>::value && !std::is_same<V, bool>::value &&
                                !std::is_same<V, char>::value && !std::is_same<V, signed char>::value &&
                                !std::is_same<V, unsigned char>::value;
template <class V>
constexpr bool isBoundText = std::is_convertible<V, std::string>::value;

}  // namespace detail

template <class T>
class Table;

/// Builds one SELECT over the table of record class T, runs it through a
/// Transaction and turns the rows into records. A plain value: build it,
/// chain conditions, call get() or execute(). Values are written into the
/// text verbatim; a quote inside a compared value breaks the statement. With
/// bound values on (Configure::setBindValues), equals() binds integer and
/// text values instead and the query runs as a cached prepared statement.
template <class T>
class Query {
public:
    Query() = default;

    /// Adds " table.column = 'value' ", joined to earlier ones with "AND";
    /// " table.column = ? " with the value bound in bound-values mode.
    template <class V>
    Query& equals(const std::string& column, V value, const std::string& table) {
        return compare(column, "=", value, table);
    }

    /// equals() with another comparison operator ("<", ">=", ...) in place of "=".
    template <class V>
    Query& compare(const std::string& column, const char* op, V value, const std::string& table) {
        std::string clause = " " + table + "." + column + " " + op + " ";
        if constexpr (detail::isBoundInteger<V>) {
            values.appendQuoted(clause, value);
        } else if constexpr (detail::isBoundText<V>) {
            values.appendQuoted(clause, std::string(value));
        } else {
            clause += '\'';
            appendValue(clause, value);
            clause += '\'';
        }
        return addFilter(clause += ' ');
    }

    /// Adds a condition text as it stands (it brings its own blanks).
    Query& addFilter(const std::string& clause) {
        filters += filters.empty() ? clause : "AND" + clause;
        return *this;
    }

    /// Adds `column` (any ORDER BY item, written verbatim) to the ordering;
    /// items keep the order of the calls.
    Query& orderBy(const std::string& column) {
        orderItems.push_back((orderItems.empty() ? " " : ", ") + column + " ");
        return *this;
    }

    /// At most `rows` records; 0, the default, or less means no limit.
    Query& setLimit(int rows) { return set(limit, rows); }
    /// Skips the first `rows` records; 0 or less skips none.
    Query& setOffset(int rows) { return set(offset, rows); }
    /// Writes DESC once, after the last ORDER BY item, so SQL applies it to
    /// that item only. Without orderBy() it has no effect.
    Query& setDescending(bool on) { return set(descending, on); }
    /// Stores a flag that nothing reads: the statement is the same either way.
    Query& setFlag(bool on) { return set(flag, on); }
    /// Adds `item` both to the column list, which it replaces, and to the GROUP
    /// BY clause. Items are written verbatim and back to back: each brings its
    /// own blanks and commas. Records then receive only the columns the items
    /// name.
    Query& addGroupBy(const std::string& item) {
        groupItems.push_back(item);
        return *this;
    }
    /// Adds `table`, named `alias` unless that is empty, to the FROM list; the
    /// join condition goes in a filter. Only T's columns are selected. A later
    /// call replaces the table.
    Query& setJoin(const std::string& table, const std::string& alias) {
        joinTable = table;
        joinAlias = alias;
        return *this;
    }

    /// The whole SELECT text that execute() runs, with "?" where values are
    /// bound. `all` changes nothing.
    std::string getQuery(bool all) const {
        std::string sql = "SELECT";
        if (groupItems.empty()) {
            sql += detail::columnLayout<T>().selectList;
        } else {
            for (const std::string& item : groupItems) sql += item;
        }
        sql += " FROM ";
        sql += T::m_tableName;
        appendFilters(sql, all || flag);
        return sql;
    }

    /// Everything after the FROM table; the flag does not change the text.
    void getFilters(std::ostringstream& out, bool all) const {
        std::string text;
        appendFilters(text, all);
        out << text;
    }

    /// The single matching record; DBIException<6> when there are none or
    /// several, with the statement and the count in its message.
    T get(Transaction& transaction) const {
        std::vector<T> records;
        const std::string sql = getQuery(false);
        run(sql, records, transaction);
        if (records.size() != 1) throwNotFound(sql, records.size());
        return std::move(records.front());
    }

    /// Appends every matching record to `records`, read straight from the
    /// statement's rows.
    template <class V>
    void execute(V& records, Transaction& transaction) const {
        run(getQuery(false), records, transaction);
    }

    /// Turns result rows into records, matching columns to fields by name
    /// ("t.a" and "a" alike); unknown columns and NULL cells are skipped.
    template <class V>
    void selectFrom(const ResultTuple& result, int rows, V& records, Transaction&) const {
        char** cells = result.template get<0>().get();
        const int columns = result.template get<2>();
        const std::vector<const Accessor*> fields = resultFields(cells, columns);
        for (int row = 1; row <= rows; ++row) {
            records.emplace_back();
            load(records.back(), cells + row * columns, fields);
        }
    }

private:
    friend class Table<T>;

    using Accessor = boost::function<Field&(T*)>;

    /// Appends a record per row. The field of each column is worked out once
    /// per statement: T's own column list comes in the layout's order, other
    /// lists (GROUP BY items) are matched by name on the first row.
    template <class V>
    class RecordReader : public RowReader {
    public:
        RecordReader(V& records, bool ownColumns) : records(records), ownColumns(ownColumns), before(records.size()) {}

        void onTry() override { records.erase(records.begin() + before, records.end()); }

        void onRow(sqlite3_stmt* statement) override {
            if (!fields) mapColumns(statement);
            if (everyColumn) {
                records.emplace_back(detail::Unfilled());
                fillOwnColumns(statement, records.back());
                return;
            }
            records.emplace_back();
            T& record = records.back();
            for (int column = 0; column < columns; ++column)
                if (const Accessor* field = (*fields)[column]) load(statement, column, (*field)(&record));
        }

    private:
        void mapColumns(sqlite3_stmt* statement) {
            columns = columnCount(statement);
            if (ownColumns) {
                fields = &ownFields();
                everyColumn = columns >= static_cast<int>(fields->size());
                columns = std::min(columns, static_cast<int>(fields->size()));
                return;
            }
            for (int column = 0; column < columns; ++column) named.push_back(fieldNamed(columnName(statement, column)));
            fields = &named;
        }

        V& records;
        const bool ownColumns;
        const std::size_t before;  // records the caller had already
        const std::vector<const Accessor*>* fields = nullptr;
        int columns = 0;
        bool everyColumn = false;  // the row sets every field: records start unfilled
        std::vector<const Accessor*> named;
    };

    /// Reads the first row of T's own SELECT list into `record`, unfilled
    /// until then, and counts the rows.
    class FirstRecordReader : public RowReader {
    public:
        explicit FirstRecordReader(T& record) : record(record) {}

        void onTry() override { rows = 0; }

        void onRow(sqlite3_stmt* statement) override {
            if (rows++ == 0) fillOwnColumns(statement, record);
        }

        std::size_t rows = 0;

    private:
        T& record;
    };

    /// Stores every field of `record` from a row of T's own SELECT list.
    static void fillOwnColumns(sqlite3_stmt* statement, T& record) {
        const std::vector<const Accessor*>& fields = ownFields();
        for (std::size_t column = 0; column < fields.size(); ++column)
            RowReader::fill(statement, static_cast<int>(column), (*fields[column])(&record));
    }

    /// The row with that id (Table<T>::get). The text up to the value is built
    /// once per class and kept per thread; only the value and what follows it
    /// are written for each call.
    static T getById(int id, Transaction& transaction) {
        static const std::string head =
            Query().getQuery(false) + " WHERE " + T::m_tableName + "." + T::id + " = ";
        thread_local std::string sql = head;
        sql.resize(head.size());
        StatementBuilder statement;
        statement.appendQuoted(sql, id);
        sql += ' ';
        T record{detail::Unfilled()};
        FirstRecordReader reader(record);
        statement.run(transaction, sql, reader);
        if (reader.rows != 1) throwNotFound(sql, reader.rows);
        return record;
    }

    /// The field of each column of T's own SELECT list, in its order.
    static const std::vector<const Accessor*>& ownFields() {
        static const std::vector<const Accessor*> fields = [] {
            std::vector<const Accessor*> inOrder;
            for (const detail::Column<T>& column : detail::columnLayout<T>().selected) inOrder.push_back(column.field);
            return inOrder;
        }();
        return fields;
    }

    /// Runs `sql`, this query's text, reading the rows into `records`.
    template <class V>
    void run(const std::string& sql, V& records, Transaction& transaction) const {
        RecordReader<V> reader(records, groupItems.empty());
        values.run(transaction, sql, reader);
    }

    /// The field accessor of the column named `heading` ("t.a" and "a"
    /// alike); null when T has no such column.
    static const Accessor* fieldNamed(const char* heading) {
        FieldMap<T>& fields = detail::fieldMap<T>();
        auto field = fields.find(columnName(heading));
        return field == fields.end() ? nullptr : &field->second;
    }

    [[noreturn]] static void throwNotFound(const std::string& sql, std::size_t records) {
        std::ostringstream message;
        message << "Query: | " << sql << " | returned [" << records << "] records.";
        throw DBIException<dbiresult::DBI_NOT_FOUND>(message.str());
    }

    static void load(T& record, char** row, const std::vector<const Accessor*>& fields) {
        for (std::size_t column = 0; column < fields.size(); ++column)
            if (row[column] && fields[column]) (*fields[column])(&record).loadSettled(row[column]);
    }

    template <class M, class V>
    Query& set(M& member, V value) {
        member = value;
        return *this;
    }

    static const char* columnName(const char* heading) {
        const char* dot = std::strchr(heading, '.');
        return dot ? dot + 1 : heading;
    }

    /// The field accessor of each result column, or null for columns that
    /// name no field of T. Results of this class's own SELECT list name the
    /// columns in its order, which is tried before the field map.
    static std::vector<const Accessor*> resultFields(char** headings, int columns) {
        const std::vector<detail::Column<T>>& selected = detail::columnLayout<T>().selected;
        std::vector<const Accessor*> found(columns, nullptr);
        for (int column = 0; column < columns; ++column) {
            const char* name = columnName(headings[column]);
            const bool inLayout = static_cast<std::size_t>(column) < selected.size() &&
                                  std::strcmp(name, selected[column].name) == 0;
            found[column] = inLayout ? selected[column].field : fieldNamed(name);
        }
        return found;
    }

    void appendFilters(std::string& sql, bool) const {
        if (!joinTable.empty()) {
            sql += ", " + joinTable;
            if (!joinAlias.empty()) sql += " AS " + joinAlias;
        }
        if (!filters.empty()) sql += " WHERE" + filters;
        if (!groupItems.empty()) appendItems(sql += " GROUP BY ", groupItems);
        if (!orderItems.empty()) {
            appendItems(sql += " ORDER BY ", orderItems);
            if (descending) sql += " DESC ";
        }
        if (limit != 0) sql += " LIMIT " + std::to_string(limit);
        if (offset > 0) sql += " OFFSET " + std::to_string(offset);
    }

    static void appendItems(std::string& sql, const std::vector<std::string>& items) {
        for (const std::string& item : items) sql += item;
    }

    /// Compared values are written as a stream would write them; integers
    /// and texts, the common cases, without one.
    template <class V>
    static void appendValue(std::string& sql, const V& value) {
        if constexpr (isPlainInteger<V>()) {
            sql += std::to_string(value);
        } else if constexpr (std::is_convertible<const V&, const std::string&>::value) {
            sql += static_cast<const std::string&>(value);
        } else if constexpr (std::is_convertible<const V&, const char*>::value) {
            sql += static_cast<const char*>(value);
        } else {
            std::ostringstream text;
            text << value;
            sql += text.str();
        }
    }

    /// Streams write bool as a number and the char types as characters; every
    /// other integer type prints as std::to_string does.
    template <class V>
    static constexpr bool isPlainInteger() {
        return std::is_integral<V>::value && !std::is_same<V, bool>::value && !std::is_same<V, char>::value &&
               !std::is_same<V, signed char>::value && !std::is_same<V, unsigned char>::value &&
               !std::is_same<V, wchar_t>::value && !std::is_same<V, char16_t>::value &&
               !std::is_same<V, char32_t>::value;
    }

    std::string filters;
    std::string unusedText;  // always empty; nothing reads it
    std::vector<std::string> orderItems;
    std::vector<std::string> groupItems;
    int limit = 0;
    int offset = 0;
    bool flag = false;
    bool descending = false;
    std::string joinTable;
    std::string joinAlias;
    StatementBuilder values;  // the values of the filters, bound or written in
};

}  // namespace dbi

#endif
