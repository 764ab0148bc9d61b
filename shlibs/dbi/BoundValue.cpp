#include "dbi/BoundValue.h"

#include <charconv>
#include <utility>

#include "dbi/DBIException.h"
#include "dbi/Field.h"

namespace dbi {

namespace {

// An optional sign and at least one digit, nothing else, within 64 bits.
// Up to 18 digits cannot overflow and are added up by hand, the common case
// of every integer column written; longer texts go to std::from_chars.
bool parseDecimal(const std::string& text, long long& number) {
    const char* first = text.data();
    const char* const last = first + text.size();
    const bool negative = first != last && *first == '-';
    const char* digits = first + (negative || (first != last && *first == '+'));
    if (digits != last && last - digits <= 18) {
        long long sum = 0;
        for (const char* c = digits; c != last; ++c) {
            if (*c < '0' || *c > '9') return false;
            sum = sum * 10 + (*c - '0');
        }
        number = negative ? -sum : sum;
        return true;
    }
    if (first != last && *first == '+') {
        ++first;
        if (first == last || *first == '-') return false;
    }
    const std::from_chars_result parsed = std::from_chars(first, last, number);
    return parsed.ec == std::errc() && parsed.ptr == last;
}

// Out of line, so that the check every bound integer passes stays lean.
[[noreturn]] __attribute__((noinline, cold)) void refuseAsInteger(const Field& field) {
    throw DBIException<dbiresult::DBI_SQL_ERROR>(std::string("integer column ") + field.getName() +
                                                  " holds a value that is not a decimal integer: \"" +
                                                  field.getValue() + "\"");
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
    return integer(integerOf(field));
}

long long BoundValue::integerOf(const Field& field) {
    long long number = 0;
    if (!parseDecimal(field.getValue(), number)) refuseAsInteger(field);
    return number;
}

bool BoundValue::operator==(const BoundValue& other) const {
    return kind == other.kind && number == other.number && characters == other.characters;
}

}  // namespace dbi
