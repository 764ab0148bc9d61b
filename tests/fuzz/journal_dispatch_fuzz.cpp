// Journal dispatch: journal rows with arbitrary texts (tables, action
// columns, row ids that are empty, non-numeric or far beyond int, values)
// go through Notify::notifyListeners. Exactly the rows whose table and
// action column name a registered key reach that key's listeners, in order,
// with the row id read as a decimal clamped to int (0 without digits).
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <tuple>
#include <vector>

#include <sqlite3.h>
#include <fuzzer/FuzzedDataProvider.h>

#include <dbi/dbi.h>

namespace {

using Delivery = std::tuple<std::string, int, std::string, std::string>;  // key, row id, old, new

struct Key {
    const char* table;
    dbi::Notify::Condition condition;
    const char* column;
    const char* action;  // the action column this key hears
};

const Key kKeys[] = {
    {"library_commandresponse", dbi::Notify::INSERT, "", "INSERT"},
    {"library_commandresponse", dbi::Notify::UPDATE, "state_id", "state_id"},
    {"library_element", dbi::Notify::UPDATE, "", "UPDATE"},
    {"library_element", dbi::Notify::DELETE, "volser", "DELETE"},
};

std::vector<Delivery> delivered;

dbi::Notify& dispatcher() {
    static dbi::Notify notify;
    return notify;
}

// A decimal prefix clamped to int; a whole text in real notation (how
// SQLite keeps integers beyond 64 bits) saturates by its sign.
int expectedRowId(const std::string& text) {
    char* end = nullptr;
    const long long value = std::strtoll(text.c_str(), &end, 10);
    const bool realNotation = *end != '\0' && text.find_first_not_of("0123456789+-.eE") == std::string::npos;
    const double real = realNotation ? std::strtod(text.c_str(), &end) : 0.0;
    if (realNotation && end != text.c_str() && *end == '\0') return std::signbit(real) ? INT_MIN : INT_MAX;
    return static_cast<int>(std::max<long long>(INT_MIN, std::min<long long>(INT_MAX, value)));
}

// One of the known texts, or any text.
std::string pick(FuzzedDataProvider& input, const std::vector<std::string>& known) {
    if (!input.ConsumeBool()) return input.ConsumeRandomLengthString(24);
    return known[input.ConsumeIntegralInRange<std::size_t>(0, known.size() - 1)];
}

std::string rowIdText(FuzzedDataProvider& input) {
    switch (input.ConsumeIntegralInRange(0, 3)) {
    case 0: return std::to_string(input.ConsumeIntegral<long long>());
    case 1: return std::string(input.ConsumeIntegralInRange(1, 40), '9');
    case 2: return std::to_string(input.ConsumeFloatingPoint<double>());
    default: return input.ConsumeRandomLengthString(24);
    }
}

}  // namespace

// Priming the dispatcher reads the journal, so the database has the schema.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    dbi::Configure::setOptions(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    std::ifstream schema(DBI_SCHEMA_FILE);
    dbi::Transaction::getDefaultTransaction().execStatement(
        std::string(std::istreambuf_iterator<char>(schema), std::istreambuf_iterator<char>()));
    for (const Key& key : kKeys) {
        const std::string name = std::string(key.table) + key.action;
        dispatcher().addListener(
            key.table,
            [name](int row, const std::string& from, const std::string& to) {
                delivered.emplace_back(name, row, from, to);
            },
            key.condition, key.column);
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    std::vector<dbi::library::Event> events;
    std::vector<Delivery> expected;
    while (input.remaining_bytes() > 0 && events.size() < 16) {
        dbi::library::Event event;
        event.m_whichTable = pick(input, {"library_commandresponse", "library_element", "library_event"});
        event.m_actionColumn = pick(input, {"INSERT", "UPDATE", "DELETE", "state_id", "volser"});
        event.m_rowId = rowIdText(input);
        event.m_oldValue = input.ConsumeRandomLengthString(32);
        event.m_newValue = input.ConsumeRandomLengthString(32);
        // Listeners are keyed by table and action written together, so
        // "library_elementUPDATE" with no action reaches library_element's UPDATE.
        for (const Key& key : kKeys)
            if (event.m_whichTable.getValue() + event.m_actionColumn.getValue() == std::string(key.table) + key.action)
                expected.emplace_back(std::string(key.table) + key.action, expectedRowId(event.m_rowId.getValue()),
                                      event.m_oldValue.getValue(), event.m_newValue.getValue());
        events.push_back(event);
    }
    delivered.clear();
    dispatcher().notifyListeners(events);
    if (delivered != expected) std::abort();
    return 0;
}
