#ifndef DBI_QUERY_H
#define DBI_QUERY_H

#include <sstream>
#include <string>
#include <vector>

#include "dbi/DBIException.h"
#include "dbi/Record.h"
#include "dbi/Transaction.h"

namespace dbi {

/// Builds one SELECT over the table of record class T, runs it through a
/// Transaction and turns the rows into records. A plain value: build it,
/// chain conditions, call get() or execute(). Values are written into the
/// text verbatim; a quote inside a compared value breaks the statement.
/// A query is owned by its builder and used by one thread at a time; get()
/// and execute() throw the Transaction's failures (DBIBaseException).
template <class T>
class Query {
public:
    Query() = default;

    /// Adds " table.column = 'value' ", joined to earlier ones with "AND".
    template <class V>
    Query& equals(const std::string& column, V value, const std::string& table) {
        std::ostringstream clause;
        clause << " " << table << "." << column << " = '" << value << "' ";
        return addFilter(clause.str());
    }

    /// Adds a condition text as it stands (it brings its own blanks).
    Query& addFilter(const std::string& clause) {
        filters += filters.empty() ? clause : "AND" + clause;
        return *this;
    }

    /// Adds a sort column (its text as given), after earlier ones.
    Query& orderBy(const std::string& column) {
        orderItems.push_back((orderItems.empty() ? " " : ", ") + column + " ");
        return *this;
    }

    /// At most `rows` rows; 0, the default, means no limit.
    Query& setLimit(int rows) { return set(limit, rows); }
    /// Skips the first `rows` rows (with a limit, as SQLite requires).
    Query& setOffset(int rows) { return set(offset, rows); }
    /// Sorts the last order column descending.
    Query& setDescending(bool on) { return set(descending, on); }
    /// Kept for existing callers; changes no SQL text.
    Query& setFlag(bool on) { return set(flag, on); }
    /// Selects `item` texts instead of the columns and groups by them.
    Query& addGroupBy(const std::string& item) {
        groupItems.push_back(item);
        return *this;
    }
    /// Adds `table` (as `alias` unless empty) to the FROM list, for conditions
    /// that refer to it.
    Query& setJoin(const std::string& table, const std::string& alias) {
        joinTable = table;
        joinAlias = alias;
        return *this;
    }

    /// The SELECT text; `all` changes nothing.
    std::string getQuery(bool all) const {
        std::ostringstream out;
        out << "SELECT";
        if (groupItems.empty()) {
            writeColumnList(out);
        } else {
            for (const std::string& item : groupItems) out << item;
        }
        out << " FROM " << T::m_tableName;
        getFilters(out, all || flag);
        return out.str();
    }

    /// Everything after the FROM table; the flag does not change the text.
    void getFilters(std::ostringstream& out, bool) const {
        if (!joinTable.empty()) {
            out << ", " << joinTable;
            if (!joinAlias.empty()) out << " AS " << joinAlias;
        }
        if (!filters.empty()) out << " WHERE" << filters;
        if (!groupItems.empty()) writeItems(out << " GROUP BY ", groupItems);
        if (!orderItems.empty()) {
            writeItems(out << " ORDER BY ", orderItems);
            if (descending) out << " DESC ";
        }
        if (limit != 0) out << " LIMIT " << limit;
        if (offset > 0) out << " OFFSET " << offset;
    }

    /// The single matching record; DBIException<6> when there are none or
    /// several, with the statement and the count in its message.
    T get(Transaction& transaction) const {
        std::vector<T> records;
        execute(records, transaction);
        if (records.size() != 1) {
            std::ostringstream message;
            message << "Query: | " << getQuery(false) << " | returned [" << records.size() << "] records.";
            throw DBIException<dbiresult::DBI_NOT_FOUND>(message.str());
        }
        return records.front();
    }

    /// Appends every matching record to `records`.
    template <class V>
    void execute(V& records, Transaction& transaction) const {
        ResultTuple result = transaction.execStatement(getQuery(false));
        records.reserve(records.size() + result.template get<1>());
        selectFrom(result, result.template get<1>(), records, transaction);
    }

    /// Turns result rows into records, matching columns to fields by name
    /// ("t.a" and "a" alike); unknown columns and NULL cells are skipped.
    template <class V>
    void selectFrom(const ResultTuple& result, int rows, V& records, Transaction&) const {
        char** cells = result.template get<0>().get();
        const int columns = result.template get<2>();
        FieldMap<T>& fields = detail::fieldMap<T>();
        for (int row = 1; row <= rows; ++row) {
            T record;
            for (int column = 0; column < columns; ++column) {
                const char* cell = cells[row * columns + column];
                auto field = fields.find(columnName(cells[column]));
                if (cell && field != fields.end()) field->second(&record).load(cell);
            }
            records.push_back(record);
        }
    }

private:
    template <class M, class V>
    Query& set(M& member, V value) {
        member = value;
        return *this;
    }

    static const char* columnName(const char* heading) {
        const char* dot = std::strchr(heading, '.');
        return dot ? dot + 1 : heading;
    }

    static void writeColumnList(std::ostringstream& out) {
        const FieldMap<T>& fields = detail::fieldMap<T>();
        std::size_t written = 0;
        for (const auto& entry : fields) {
            out << " " << T::m_tableName << "." << entry.first;
            if (++written < fields.size()) out << ",";
        }
    }

    static void writeItems(std::ostream& out, const std::vector<std::string>& items) {
        for (const std::string& item : items) out << item;
    }

    std::string filters;
    std::string unusedText;  ///< kept empty; reserved
    std::vector<std::string> orderItems;
    std::vector<std::string> groupItems;
    int limit = 0;
    int offset = 0;
    bool flag = false;
    bool descending = false;
    std::string joinTable;
    std::string joinAlias;
};

}  // namespace dbi

#endif
