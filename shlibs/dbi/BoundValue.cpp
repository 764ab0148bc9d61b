#include "dbi/BoundValue.h"

#include <charconv>
#include <utility>

#include "dbi/DBIException.h"
#include "dbi/Field.h"

namespace dbi {

namespace {

// An optional sign and at least one digit, nothing else, within 64 bits.
bool parseDecimal(const std::string& text, long long& number) {
    const char* first = text.data();
    const char* const last = first + text.size();
    if (first != last && *first == '+') {
        ++first;
        if (first == last || *first == '-') return false;
    }
    const std::from_chars_result parsed = std::from_chars(first, last, number);
    return parsed.ec == std::errc() && parsed.ptr == last;
}

}  // namespace

BoundValue BoundValue::integer(long long number) {
    BoundValue value;
    value.kind = Kind::Integer;
    value.number = number;
    return value;
}

BoundValue BoundValue::text(std::string text) {
    BoundValue value;
    value.kind = Kind::Text;
    value.characters = std::move(text);
    return value;
}

BoundValue BoundValue::of(const Field& field) {
    if (!field.bindsAsInteger()) return text(field.getValue());
    long long number = 0;
    if (field.getValue().empty() || !parseDecimal(field.getValue(), number))
        throw DBIException<dbiresult::DBI_SQL_ERROR>(std::string("integer column ") + field.getName() +
                                                      " holds a value that is not a decimal integer: \"" +
                                                      field.getValue() + "\"");
    return integer(number);
}

bool BoundValue::operator==(const BoundValue& other) const {
    return kind == other.kind && number == other.number && characters == other.characters;
}

}  // namespace dbi
