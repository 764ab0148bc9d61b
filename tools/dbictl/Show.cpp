// dbictl show: the rows of one table, read through its record class.
#include <algorithm>
#include <iostream>
#include <optional>
#include <sstream>
#include <tuple>

#include "Commands.h"
#include "RecordClasses.h"

namespace dbictl {

std::vector<std::string> knownTables() {
    std::vector<std::string> names;
    AllRecords::findIf([&](auto* record) {
        names.push_back(std::remove_pointer_t<decltype(record)>::m_tableName);
        return false;
    });
    return names;
}

namespace {

// A cell without a value is a NULL in the database.
using Cell = std::optional<std::string>;

struct Rows {
    std::vector<std::string> headings;
    std::vector<std::string> sqlTypes;
    std::vector<std::vector<Cell>> cells;
};

struct ShowOptions {
    std::string where;
    std::string order;
    int limit = 0;
    bool json = false;
};

template <class T, class F>
void forEachField(const T& record, F&& f) {
    std::apply([&](auto... members) { (f(record.*members), ...); }, T::columns());
}

// Byte arrays are held as base64 broken into lines; shown on one line.
std::string cellText(const dbi::Field& field) {
    std::string text = field.getValue();
    if (std::string(field.getSqlType()) == "blob")
        text.erase(std::remove_if(text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r'; }),
                   text.end());
    return text;
}

template <class T>
Rows readRows(const ShowOptions& options) {
    Rows rows;
    forEachField(T(), [&](const dbi::Field& field) {
        rows.headings.push_back(field.getName());
        rows.sqlTypes.push_back(field.getSqlType());
    });
    if (std::find(rows.headings.begin(), rows.headings.end(), options.order) == rows.headings.end()) {
        std::string known;
        for (const std::string& heading : rows.headings) known += " " + heading;
        throw UsageError("table " + T::m_tableName + " has no column '" + options.order + "'; its columns:" + known);
    }
    dbi::Query<T> query;
    if (!options.where.empty()) query.addFilter(" (" + options.where + ") ");
    query.orderBy(T::m_tableName + "." + options.order).setLimit(options.limit);
    std::vector<T> records;
    query.execute(records, dbi::Transaction::getDefaultTransaction());
    for (const T& record : records) {
        std::vector<Cell> row;
        forEachField(record, [&](const dbi::Field& field) {
            row.push_back(field.isUnknown() ? Cell() : Cell(cellText(field)));
        });
        rows.cells.push_back(std::move(row));
    }
    return rows;
}

// Finds the record class of `table` and reads through it.
Rows readTable(const std::string& table, const ShowOptions& options) {
    Rows rows;
    const bool known = AllRecords::findIf([&](auto* record) {
        using Record = std::remove_pointer_t<decltype(record)>;
        if (Record::m_tableName != table) return false;
        rows = readRows<Record>(options);
        return true;
    });
    if (known) return rows;
    std::string list;
    for (const std::string& name : knownTables()) list += "\n  " + name;
    throw UsageError("unknown table '" + table + "'; the known tables are:" + list);
}

// Control characters would break the alignment; shown as escapes instead.
std::string printable(const std::string& text) {
    std::string out;
    for (const char c : text) {
        if (c == '\n') out += "\\n";
        else if (c == '\t') out += "\\t";
        else if (static_cast<unsigned char>(c) < 0x20) out += '?';
        else out += c;
    }
    return out;
}

// Characters on screen: UTF-8 continuation bytes take no column.
std::size_t displayWidth(const std::string& text) {
    std::size_t width = 0;
    for (const char c : text) width += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    return width;
}

void printAligned(const Rows& rows, std::ostream& out) {
    std::vector<std::vector<std::string>> lines{rows.headings, {}};
    for (const std::string& heading : rows.headings) lines[1].push_back(std::string(displayWidth(heading), '-'));
    for (const std::vector<Cell>& row : rows.cells) {
        lines.emplace_back();
        for (const Cell& cell : row) lines.back().push_back(cell ? printable(*cell) : "");
    }
    std::vector<std::size_t> widths(rows.headings.size(), 0);
    for (const auto& line : lines)
        for (std::size_t column = 0; column < line.size(); ++column)
            widths[column] = std::max(widths[column], displayWidth(line[column]));
    for (const auto& line : lines) {
        std::string text;
        for (std::size_t column = 0; column < line.size(); ++column) {
            text += line[column];
            if (column + 1 < line.size()) text += std::string(widths[column] - displayWidth(line[column]) + 2, ' ');
        }
        out << text << "\n";
    }
    out << "(" << rows.cells.size() << (rows.cells.size() == 1 ? " row)\n" : " rows)\n");
}

std::string jsonString(const std::string& text) {
    std::ostringstream out;
    out << '"';
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') out << '\\' << c;
        else if (c == '\n') out << "\\n";
        else if (byte < 0x20) out << "\\u00" << "0123456789abcdef"[byte >> 4] << "0123456789abcdef"[byte & 15];
        else out << c;
    }
    out << '"';
    return out.str();
}

// A JSON number: an optional minus, then digits without a leading zero.
bool isWholeNumber(const std::string& text) {
    const std::size_t start = !text.empty() && text[0] == '-' ? 1 : 0;
    const std::string digits = text.substr(start);
    return !digits.empty() && digits.find_first_not_of("0123456789") == std::string::npos &&
           (digits[0] != '0' || digits.size() == 1);
}

// Integers as numbers, booleans as true/false, NULL as null, the rest
// (byte arrays in their base64 form among them) as strings.
std::string jsonValue(const Cell& cell, const std::string& sqlType) {
    if (!cell) return "null";
    const bool integral = sqlType == "integer" || sqlType == "bigint";
    if (integral && isWholeNumber(*cell)) return *cell;
    if (sqlType == "boolean" && (*cell == "t" || *cell == "f")) return *cell == "t" ? "true" : "false";
    return jsonString(*cell);
}

void printJson(const Rows& rows, std::ostream& out) {
    for (const std::vector<Cell>& row : rows.cells) {
        out << "{";
        for (std::size_t column = 0; column < row.size(); ++column) {
            if (column) out << ",";
            out << jsonString(rows.headings[column]) << ":" << jsonValue(row[column], rows.sqlTypes[column]);
        }
        out << "}\n";
    }
}

}  // namespace

int show(const Arguments& args, DatabaseOpener open) {
    ShowOptions options{args.text("where", ""), args.text("order", "id"), args.integer("limit", 0),
                        args.has("json")};
    if (options.limit < 0) throw UsageError("option '--limit' must not be negative");
    open(args.database(), false);
    const Rows rows = readTable(args.operands().front(), options);
    options.json ? printJson(rows, std::cout) : printAligned(rows, std::cout);
    return 0;
}

}  // namespace dbictl
