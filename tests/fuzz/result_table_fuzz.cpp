// Result tables into records: a table shaped like SQLite's (a header row of
// column names, then rows of cells, NULL for NULL) is built from the input
// and turned into records of a few classes (the tests' record with one
// column of every field kind among them); every field is then read through
// its typed accessors. Each named column's last non-NULL cell must be the
// field's text, every other field stays unknown.
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <map>
#include <string>
#include <vector>

#include <boost/date_time/posix_time/posix_time.hpp>
#include <fuzzer/FuzzedDataProvider.h>

#include "support/Records.h"

namespace {

void check(bool condition) {
    if (!condition) std::abort();
}

void read(const dbi::Field& field) { (void)field.getValue().size(); }
void read(const dbi::IntegerField& field) { (void)field.getIntValue(); }
void read(const dbi::BigIntegerField& field) { (void)field.getIntValue(); }
void read(const dbi::BooleanField& field) { (void)field.getBoolValue(); }

void read(const dbi::DateTimeField& field) {
    try {
        (void)static_cast<boost::posix_time::ptime>(field);
    } catch (const std::exception&) {
        // the parser's documented answer to text it cannot read
    }
}

void read(const dbi::ByteArrayField& field) {
    const unsigned int length = field.getLength();
    check(field.getBytes()[length] == '\0');
}

template <class T>
void read(const dbi::NumberArrayField<T>& field) {
    const unsigned int count = field.size();
    const boost::shared_array<T> numbers = field;
    check(count == 0 || numbers);
    for (unsigned int i = 0; i < count; ++i) (void)numbers[i];
}

// SQLite's table: header row, then `rows` rows; the pointers point into
// `texts`, which must outlive them.
struct FuzzTable {
    std::vector<std::string> texts;
    std::vector<const char*> cells;
    int rows = 0;
    int columns = 0;
};

template <class T>
std::vector<std::string> columnNames() {
    std::vector<std::string> names;
    for (const auto& entry : T::getFieldMap()) names.push_back(entry.first);
    return names;
}

const std::string& pick(FuzzedDataProvider& input, const std::vector<std::string>& names) {
    return names[input.ConsumeIntegralInRange<std::size_t>(0, names.size() - 1)];
}

template <class T>
std::string heading(FuzzedDataProvider& input, const std::vector<std::string>& names) {
    switch (input.ConsumeIntegralInRange(0, 2)) {
    case 0: return pick(input, names);
    case 1: return T::m_tableName + "." + pick(input, names);
    default: return input.ConsumeRandomLengthString(24);
    }
}

template <class T>
FuzzTable makeTable(FuzzedDataProvider& input) {
    const std::vector<std::string> names = columnNames<T>();
    FuzzTable table;
    table.columns = input.ConsumeIntegralInRange(0, 16);
    table.rows = input.ConsumeIntegralInRange(0, 8);
    const int cellCount = (table.rows + 1) * table.columns;
    table.texts.reserve(cellCount);
    std::vector<bool> null(cellCount, false);
    for (int i = 0; i < cellCount; ++i) {
        if (i < table.columns) {
            table.texts.push_back(heading<T>(input, names));
        } else {
            null[i] = input.ConsumeProbability<float>() < 0.2f;
            table.texts.push_back(input.ConsumeRandomLengthString(64));
        }
    }
    for (int i = 0; i < cellCount; ++i) table.cells.push_back(null[i] ? nullptr : table.texts[i].c_str());
    return table;
}

// The heading's column name: the part after its first ".", if any.
std::string columnOf(const std::string& heading) {
    const std::string::size_type dot = heading.find('.');
    return dot == std::string::npos ? heading : heading.substr(dot + 1);
}

template <class T>
void checkRecord(const T& record, const FuzzTable& table, int row) {
    std::map<std::string, std::string> expected;
    for (int column = 0; column < table.columns; ++column) {
        const char* cell = table.cells[(row + 1) * table.columns + column];
        if (cell) expected[columnOf(table.cells[column])] = cell;
    }
    for (const auto& entry : T::getFieldMap()) {
        const dbi::Field& field = entry.second(const_cast<T*>(&record));
        const auto found = expected.find(entry.first);
        check(field.getValue() == (found == expected.end() ? dbi::DBI_UNKNOWN : found->second));
        check(!field.isModified());
    }
    dbi::detail::forEachColumn<T>([&](auto member) { read(record.*member); });
}

template <class T>
void selectFromTable(FuzzedDataProvider& input) {
    FuzzTable table = makeTable<T>(input);
    // The library frees SQLite's tables itself; this one belongs to `table`.
    boost::shared_ptr<char*> cells(const_cast<char**>(table.cells.data()), [](char**) {});
    const dbi::ResultTuple result(cells, table.rows, table.columns);
    std::vector<T> records;
    dbi::Query<T>().selectFrom(result, table.rows, records, dbi::Transaction::getDefaultTransaction());
    check(records.size() == static_cast<std::size_t>(table.rows));
    for (int row = 0; row < table.rows; ++row) checkRecord(records[row], table, row);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    switch (input.ConsumeIntegralInRange(0, 3)) {
    case 0: selectFromTable<dbitest::Gadget>(input); break;
    case 1: selectFromTable<dbi::library::Element>(input); break;
    case 2: selectFromTable<dbi::library::CommandResponse>(input); break;
    default: selectFromTable<dbi::media::UsageInformation>(input); break;
    }
    return 0;
}
