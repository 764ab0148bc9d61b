#ifndef DBI_TABLE_H
#define DBI_TABLE_H

#include <cstdlib>
#include <map>
#include <sstream>
#include <string>

#include "dbi/Query.h"

namespace dbi {

/// Row operations on the table of record class T; every record class derives
/// from Table<T>. save() and createOrUpdate() act on the record itself, the
/// rest are static. Each builds one SQL text and runs it through the given
/// Transaction, whose failures reach the caller unchanged (DBIBaseException
/// subclasses). Records are values owned by the caller and used by one
/// thread at a time; the Transaction must be one of the calling thread.
template <class T>
class Table {
public:
    /// The name of T's table.
    static std::string tableName() { return T::m_tableName; }
    /// T's column name -> field accessor map, built on first use by any thread.
    static FieldMap<T>& getFieldMap() { return detail::fieldMap<T>(); }

    /// The row with that id; DBIException<6> unless exactly one row matches.
    static T get(int id, Transaction& transaction) {
        return Query<T>().equals(T::id, id, T::m_tableName).get(transaction);
    }

    /// Writes the modified columns. A record without id is inserted and then
    /// holds its new id. With `create`, a record carrying an id is looked up
    /// first and inserted under that id when missing; otherwise it is updated.
    void save(Transaction& transaction, bool create = false) {
        T& record = self();
        const std::map<std::string, std::string> columns = modifiedColumns(record);
        const bool insert = record.m_id.isUnknown() || (create && isMissing(record, transaction));
        if (columns.empty()) return;
        if (insert) {
            transaction.execStatement(insertText(columns));
            if (record.m_id.isUnknown()) record.m_id = transaction.lastRowId();
        } else {
            transaction.execStatement(updateText(columns, record.m_id.getValue()));
        }
    }

    /// save() with `create`: inserts the record under its id unless that row exists.
    void createOrUpdate(Transaction& transaction) { save(transaction, true); }

    /// Deletes the row with that id; no such row is no error.
    static void deleteRow(int id, Transaction& transaction) {
        std::ostringstream sql;
        sql << "DELETE FROM " << T::m_tableName << " WHERE " << T::id << " = " << id;
        transaction.execStatement(sql.str());
    }

    /// Deletes every row of the table.
    static void deleteAll(Transaction& transaction) { transaction.execStatement("DELETE FROM " + T::m_tableName); }

    /// `condition` follows the table name directly: pass " WHERE ...".
    static void deleteWhere(const std::string& condition, Transaction& transaction) {
        transaction.execStatement("DELETE FROM " + T::m_tableName + condition);
    }

    /// Issues TRUNCATE, which SQLite does not know: throws DBIException<10>.
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

    /// Column name -> SQL text of its value, for the modified fields, sorted
    /// by column name. The two markers go into SQL bare.
    static std::map<std::string, std::string> modifiedColumns(T& record) {
        std::map<std::string, std::string> columns;
        for (const auto& entry : detail::fieldMap<T>()) {
            const Field& field = entry.second(&record);
            if (!field.isModified()) continue;
            const std::string& value = field.getValue();
            columns[entry.first] = (value == DBI_UNKNOWN || value == CURRENT_TIMESTAMP)
                                       ? value
                                       : field.getPrefix() + value + field.getSuffix();
        }
        return columns;
    }

    static bool isMissing(const T& record, Transaction& transaction) {
        try {
            get(static_cast<int>(std::strtol(record.m_id.getValue().c_str(), nullptr, 10)), transaction);
            return false;
        } catch (const DBIException<dbiresult::DBI_NOT_FOUND>&) {
            return true;
        }
    }

    static std::string insertText(const std::map<std::string, std::string>& columns) {
        std::ostringstream names, values;
        const char* separator = "";
        for (const auto& column : columns) {
            names << separator << column.first;
            values << separator << column.second;
            separator = ", ";
        }
        return "INSERT INTO " + T::m_tableName + " ( " + names.str() + " ) VALUES ( " + values.str() + " )";
    }

    static std::string updateText(const std::map<std::string, std::string>& columns, const std::string& id) {
        std::ostringstream sql;
        sql << "UPDATE " << T::m_tableName << " SET ";
        const char* separator = "";
        for (const auto& column : columns) {
            sql << separator << column.first << " = " << column.second;
            separator = ", ";
        }
        sql << " WHERE id = " << id;
        return sql.str();
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
