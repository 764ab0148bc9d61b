#ifndef DBI_TABLE_H
#define DBI_TABLE_H

#include <cstdlib>
#include <map>
#include <sstream>
#include <string>

#include "dbi/Query.h"

namespace dbi {

// Row operations on the table of record class T; every record class derives
// from Table<T>. save() and createOrUpdate() act on the record itself, the
// rest are static. Each builds one SQL text and runs it through the given
// Transaction, whose failures reach the caller unchanged.
template <class T>
class Table {
public:
    static std::string tableName() { return T::m_tableName; }
    static FieldMap<T>& getFieldMap() { return detail::fieldMap<T>(); }

    // The row with that id; DBIException<6> unless exactly one row matches.
    static T get(int id, Transaction& transaction) {
        return Query<T>().equals(T::id, id, T::m_tableName).get(transaction);
    }

    // Writes the modified columns. A record without id is inserted and then
    // holds its new id. With `create`, a record carrying an id is looked up
    // first and inserted under that id when missing; otherwise it is updated.
    // In bound-values mode the values are bound; a value an integer column
    // cannot take is refused with DBIException<10> before anything runs.
    void save(Transaction& transaction, bool create = false) {
        T& record = self();
        const bool bind = Configure::getBindValues();
        const Columns columns = modifiedColumns(record, bind);
        const ColumnValue id = renderedId(record, bind, columns.empty());
        const bool insert = record.m_id.isUnknown() || (create && isMissing(record, transaction));
        if (columns.empty()) return;
        BoundValues values;
        if (insert) {
            run(transaction, insertText(columns, values), values, bind);
            if (record.m_id.isUnknown()) record.m_id = transaction.lastRowId();
        } else {
            run(transaction, updateText(columns, id, values), values, bind);
        }
    }

    void createOrUpdate(Transaction& transaction) { save(transaction, true); }

    static void deleteRow(int id, Transaction& transaction) {
        std::ostringstream sql;
        sql << "DELETE FROM " << T::m_tableName << " WHERE " << T::id << " = ";
        if (Configure::getBindValues()) {
            sql << "?";
            transaction.execStatement(sql.str(), BoundValues{BoundValue::integer(id)});
        } else {
            sql << id;
            transaction.execStatement(sql.str());
        }
    }

    static void deleteAll(Transaction& transaction) { transaction.execStatement("DELETE FROM " + T::m_tableName); }

    // `condition` follows the table name directly: pass " WHERE ...".
    static void deleteWhere(const std::string& condition, Transaction& transaction) {
        transaction.execStatement("DELETE FROM " + T::m_tableName + condition);
    }

    static void truncate(Transaction& transaction) { transaction.execStatement("TRUNCATE " + T::m_tableName); }

    // A temporary table of the same name and columns, shadowing the real one
    // for the rest of the connection's life.
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

    // SQL text of one written value: the value in place ("'x'", "4"), a
    // bare marker, or "?" with the value to bind.
    struct ColumnValue {
        std::string sql;
        bool bound = false;
        BoundValue value;
    };
    // Column name -> its value, for the modified fields, sorted by column
    // name. The two markers go into SQL bare in either mode.
    using Columns = std::map<std::string, ColumnValue>;

    static ColumnValue render(const Field& field, bool bind) {
        ColumnValue column;
        const std::string& value = field.getValue();
        if (value == DBI_UNKNOWN || value == CURRENT_TIMESTAMP) {
            column.sql = value;
        } else if (bind) {
            column.sql = "?";
            column.bound = true;
            column.value = BoundValue::of(field);
        } else {
            column.sql = field.getPrefix() + value + field.getSuffix();
        }
        return column;
    }

    static Columns modifiedColumns(T& record, bool bind) {
        Columns columns;
        for (const auto& entry : detail::fieldMap<T>()) {
            const Field& field = entry.second(&record);
            if (field.isModified()) columns[entry.first] = render(field, bind);
        }
        return columns;
    }

    // The id of the WHERE clause of an update; unused when nothing is written.
    static ColumnValue renderedId(const T& record, bool bind, bool nothingToWrite) {
        if (nothingToWrite || record.m_id.isUnknown()) return ColumnValue();
        return render(record.m_id, bind);
    }

    static void appendValue(const ColumnValue& column, BoundValues& values) {
        if (column.bound) values.push_back(column.value);
    }

    static void run(Transaction& transaction, const std::string& sql, const BoundValues& values, bool bind) {
        if (bind)
            transaction.execStatement(sql, values);
        else
            transaction.execStatement(sql);
    }

    static bool isMissing(const T& record, Transaction& transaction) {
        try {
            get(static_cast<int>(std::strtol(record.m_id.getValue().c_str(), nullptr, 10)), transaction);
            return false;
        } catch (const DBIException<dbiresult::DBI_NOT_FOUND>&) {
            return true;
        }
    }

    static std::string insertText(const Columns& columns, BoundValues& bound) {
        std::ostringstream names, values;
        const char* separator = "";
        for (const auto& column : columns) {
            names << separator << column.first;
            values << separator << column.second.sql;
            appendValue(column.second, bound);
            separator = ", ";
        }
        return "INSERT INTO " + T::m_tableName + " ( " + names.str() + " ) VALUES ( " + values.str() + " )";
    }

    static std::string updateText(const Columns& columns, const ColumnValue& id, BoundValues& bound) {
        std::ostringstream sql;
        sql << "UPDATE " << T::m_tableName << " SET ";
        const char* separator = "";
        for (const auto& column : columns) {
            sql << separator << column.first << " = " << column.second.sql;
            appendValue(column.second, bound);
            separator = ", ";
        }
        sql << " WHERE id = " << id.sql;
        appendValue(id, bound);
        return sql.str();
    }
};

// Fetches row `id` into `out`; false, with `out` untouched, when there is no
// such row. Every other failure throws.
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
