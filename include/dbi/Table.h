#ifndef DBI_TABLE_H
#define DBI_TABLE_H

#include <array>
#include <bitset>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "dbi/Query.h"

namespace dbi {

/// Row operations on the table of record class T; every record class derives
/// from Table<T>. save() and createOrUpdate() act on the record itself, the
/// rest are static. Each builds one SQL text and runs it through the given
/// Transaction, whose failures reach the caller unchanged.
template <class T>
class Table {
public:
    /// The name of T's table (T::m_tableName).
    static std::string tableName() { return T::m_tableName; }
    /// T's map from column name to field accessor. Built once, on first use
    /// from any thread, under DBManager::getFieldMapMutex(); only read after
    /// that, so callers must not change it.
    static FieldMap<T>& getFieldMap() { return detail::fieldMap<T>(); }

    /// The row with that id; DBIException<6> unless exactly one row matches.
    static T get(int id, Transaction& transaction) { return Query<T>::getById(id, transaction); }

    /// Writes the modified columns. A record without id is inserted and then
    /// holds its new id. With `create`, a record carrying an id is looked up
    /// first and inserted under that id when missing; otherwise it is updated.
    /// In bound-values mode the values are bound; a value an integer column
    /// cannot take is refused with DBIException<10> before anything runs.
    void save(Transaction& transaction, bool create = false) {
        T& record = self();
        StatementBuilder statement;
        // The values are taken before anything runs, so one that cannot be
        // bound writes nothing.
        FieldsToWrite columns = fieldsToWrite(record, statement);
        const bool insert = record.m_id.isUnknown() || (create && isMissing(record, transaction));
        if (columns.empty()) return;
        const Field* id = insert ? nullptr : &record.m_id;  // an update's last value
        if (id && !statement.bind(*id)) columns.anyInText = true;
        std::string text;
        const std::string& sql = writeText(statement, columns, id, text);
        if (insert)
            statement.runInsert(transaction, sql, record.m_id);
        else
            statement.run(transaction, sql);
    }

    /// save(transaction, true): a record carrying an id is inserted under that
    /// id when the table has no such row and updated otherwise.
    void createOrUpdate(Transaction& transaction) { save(transaction, true); }

    /// Deletes the row with that id; a missing row is not an error. The id is
    /// bound in bound-values mode.
    static void deleteRow(int id, Transaction& transaction) {
        std::string sql = "DELETE FROM " + T::m_tableName + " WHERE " + T::id + " = ";
        StatementBuilder statement;
        statement.appendValue(sql, id);
        statement.run(transaction, sql);
    }

    /// Deletes every row of the table.
    static void deleteAll(Transaction& transaction) { transaction.execStatement("DELETE FROM " + T::m_tableName); }

    /// `condition` follows the table name directly: pass " WHERE ...".
    static void deleteWhere(const std::string& condition, Transaction& transaction) {
        transaction.execStatement("DELETE FROM " + T::m_tableName + condition);
    }

    /// Sends TRUNCATE, which SQLite does not know: always throws
    /// DBIException<10> and changes nothing. Use deleteAll().
    static void truncate(Transaction& transaction) { transaction.execStatement("TRUNCATE " + T::m_tableName); }

    /// A temporary table of the same name and columns, shadowing the real one
    /// for the rest of the connection's life.
    static void createTempTable(Transaction& transaction) {
        std::ostringstream sql;
        sql << "CREATE TEMP TABLE " << T::m_tableName << " (";
        T prototype;
        char separator = ' ';
        for (const auto& entry : detail::fieldMap<T>()) {
            sql << separator << entry.first << " " << entry.second(&prototype).getSqlType();
            if (std::strcmp(entry.first, T::id) == 0) sql << " PRIMARY KEY";
            separator = ',';
        }
        sql << " )";
        transaction.execStatement(sql.str());
    }

protected:
    Table() = default;

private:
    T& self() { return static_cast<T&>(*this); }

    /// The modified fields with their column names, sorted by name: what an
    /// INSERT or UPDATE of the record writes, in the order it writes them.
    /// The statement builder has taken their values.
    struct FieldsToWrite {
        /// One column written: its name and the record's field.
        struct Column {
            const char* name;    ///< the column's name, a static string
            const Field* field;  ///< the record's field of that column
        };
        std::array<Column, T::columnCount> columns;  // the first `count` set; left uninitialised
        std::size_t count = 0;
        std::bitset<T::columnCount> written;  // by position in name order
        bool anyInText = false;               // a value is written into the text, not bound

        const Column* begin() const { return columns.data(); }
        const Column* end() const { return columns.data() + count; }
        bool empty() const { return count == 0; }
    };
    static FieldsToWrite fieldsToWrite(const T& record, StatementBuilder& statement) {
        const detail::ColumnLayout<T>& layout = detail::columnLayout<T>();
        FieldsToWrite columns;
        for (std::size_t i = 0; i < T::columnCount; ++i) {
            const Field& field = layout.fieldByName(record, i);
            if (!field.isModified()) continue;
            columns.columns[columns.count++] = {layout.byName[i].name, &field};
            columns.written.set(i);
            if (!statement.bind(field)) columns.anyInText = true;
        }
        return columns;
    }

    /// Without `id` the INSERT writing `columns`, with it the UPDATE of that
    /// row; `statement` took their values already. A text holding no
    /// value depends only on which columns are written, so each thread keeps
    /// the few such texts it uses instead of building one per row; any other
    /// text is built into `built`.
    static const std::string& writeText(const StatementBuilder& statement, const FieldsToWrite& columns,
                                        const Field* id, std::string& built) {
        if (columns.anyInText) return built = buildText(statement, columns, id);
        const bool insert = id == nullptr;
        using Cached = std::pair<std::bitset<T::columnCount>, std::string>;
        thread_local std::vector<Cached> texts[2];
        std::vector<Cached>& cache = texts[insert];
        for (const Cached& entry : cache)
            if (entry.first == columns.written) return entry.second;
        if (cache.size() == kCachedTexts) cache.erase(cache.begin());
        cache.emplace_back(columns.written, buildText(statement, columns, id));
        return cache.back().second;
    }
    static constexpr std::size_t kCachedTexts = 8;

    static bool isMissing(const T& record, Transaction& transaction) {
        try {
            get(record.m_id.getIntValue(), transaction);
            return false;
        } catch (const DBIException<dbiresult::DBI_NOT_FOUND>&) {
            return true;
        }
    }

    static std::string buildText(const StatementBuilder& statement, const FieldsToWrite& columns, const Field* id) {
        return id ? updateText(statement, columns, *id) : insertText(statement, columns);
    }

    // Texts are appended with their lengths: these run for every row written
    // in text mode.
    static std::string insertText(const StatementBuilder& statement, const FieldsToWrite& columns) {
        std::string sql = "INSERT INTO " + T::m_tableName + " ( ";
        for (const auto& column : columns) {
            if (&column != columns.begin()) sql.append(", ", 2);
            sql.append(column.name, std::strlen(column.name));
        }
        sql.append(" ) VALUES ( ", 12);
        for (const auto& column : columns) {
            if (&column != columns.begin()) sql.append(", ", 2);
            statement.appendPlaceholder(sql, *column.field);
        }
        sql.append(" )", 2);
        return sql;
    }

    static std::string updateText(const StatementBuilder& statement, const FieldsToWrite& columns, const Field& id) {
        std::string sql = "UPDATE " + T::m_tableName + " SET ";
        for (const auto& column : columns) {
            if (&column != columns.begin()) sql.append(", ", 2);
            sql.append(column.name, std::strlen(column.name));
            sql.append(" = ", 3);
            statement.appendPlaceholder(sql, *column.field);
        }
        sql.append(" WHERE id = ", 12);
        statement.appendPlaceholder(sql, id);
        return sql;
    }
};

/// Fetches row `id` into `out`; false, with `out` untouched, when there is no
/// such row. Every other failure throws.
template <class T>
bool get(int id, T& out, Transaction& transaction) {
    try {
        out = Table<T>::get(id, transaction);
        return true;
    } catch (const DBIException<dbiresult::DBI_NOT_FOUND>&) {
        return false;
    }
}

}  // namespace dbi

#endif
