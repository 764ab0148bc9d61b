// Result tables into records: a table shaped like SQLite's (a header row of
// column names, bare, after the table's name or any text; then rows of
// cells, NULL for NULL) is turned into records of the tests' class with one
// column of every field kind. Each named column's last non-NULL cell must be
// the field's text, every other field stays unknown, and every typed
// accessor copes with whatever text its field holds.
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <map>
#include <string>
#include <vector>

#include <boost/date_time/posix_time/posix_time.hpp>
#include <fuzzer/FuzzedDataProvider.h>

#include "support/Records.h"

using dbitest::Gadget;

namespace {

void check(bool condition) {
    if (!condition) std::abort();
}

void readTyped(const Gadget& gadget) {
    (void)gadget.m_count.getIntValue();
    (void)gadget.m_serial.getIntValue();
    (void)gadget.m_enabled.getBoolValue();
    check(gadget.m_payload.getBytes()[gadget.m_payload.getLength()] == '\0');
    const boost::shared_array<short> readings = gadget.m_readings;
    for (unsigned int i = 0; i < gadget.m_readings.size(); ++i) (void)readings[i];
    try {
        (void)static_cast<boost::posix_time::ptime>(gadget.m_seenAt);
    } catch (const std::exception&) {
        // the parser's documented answer to text it cannot read
    }
}

std::string heading(FuzzedDataProvider& input) {
    std::vector<std::string> names;
    for (const auto& entry : Gadget::getFieldMap()) names.push_back(entry.first);
    const std::string& name = names[input.ConsumeIntegralInRange<std::size_t>(0, names.size() - 1)];
    switch (input.ConsumeIntegralInRange(0, 2)) {
    case 0: return name;
    case 1: return Gadget::m_tableName + "." + name;
    default: return input.ConsumeRandomLengthString(24);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    const int columns = input.ConsumeIntegralInRange(0, 16);
    const int rows = input.ConsumeIntegralInRange(0, 8);
    std::vector<std::string> texts;
    texts.reserve((rows + 1) * columns);  // the cells point into it
    std::vector<const char*> cells;
    for (int i = 0; i < (rows + 1) * columns; ++i) {
        const bool header = i < columns;
        texts.push_back(header ? heading(input) : input.ConsumeRandomLengthString(64));
        cells.push_back(!header && input.ConsumeProbability<float>() < 0.2f ? nullptr : texts.back().c_str());
    }
    // The library frees SQLite's tables itself; this one belongs to `cells`.
    const dbi::ResultTuple result(boost::shared_ptr<char*>(const_cast<char**>(cells.data()), [](char**) {}), rows,
                                  columns);
    std::vector<Gadget> records;
    dbi::Query<Gadget>().selectFrom(result, rows, records, dbi::Transaction::getDefaultTransaction());
    check(records.size() == static_cast<std::size_t>(rows));
    for (int row = 0; row < rows; ++row) {
        std::map<std::string, std::string> expected;  // by column name, the part after a heading's first "."
        for (int column = 0; column < columns; ++column) {
            const std::string name = cells[column];
            if (const char* cell = cells[(row + 1) * columns + column])
                expected[name.substr(name.find('.') == std::string::npos ? 0 : name.find('.') + 1)] = cell;
        }
        for (const auto& entry : Gadget::getFieldMap()) {
            const dbi::Field& field = entry.second(&records[row]);
            const auto found = expected.find(entry.first);
            check(field.getValue() == (found == expected.end() ? dbi::DBI_UNKNOWN : found->second));
            check(!field.isModified());
        }
        readTyped(records[row]);
    }
    return 0;
}
