#include "dbi/Field.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <sstream>
#include <typeinfo>

#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/lexical_cast.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "Base64.h"

namespace dbi {

const char* Field::default_presuf = "'";
const std::string Field::unknownText = DBI_UNKNOWN;

namespace {

// Descriptors of fields made outside record classes, one per distinct set
// of (static) texts, kept for the life of the process.
struct StandaloneColumn {
    const char* name;
    FieldKind kind;
    FieldDescriptor descriptor{&name, &kind};
};

const FieldDescriptor& standaloneColumn(const char* name, const char* sqlType, const char* prefix,
                                        const char* suffix) {
    static boost::mutex mutex;
    static std::map<std::array<const char*, 4>, std::unique_ptr<StandaloneColumn>> columns;
    boost::lock_guard<boost::mutex> lock(mutex);
    std::unique_ptr<StandaloneColumn>& column = columns[{name, sqlType, prefix, suffix}];
    if (!column) column.reset(new StandaloneColumn{name, FieldKind{sqlType, prefix, suffix}});
    return column->descriptor;
}

// Stores `length` bytes at `text` in `value` and returns false; for the
// unknown marker, which a field keeps as a flag, empties it and returns true.
inline bool storeValue(std::string& value, const char* text, std::size_t length) {
    // DBI_UNKNOWN spelled out: a fixed-length compare runs on every store.
    if (length == 11 && std::memcmp(text, "DBI_UNKNOWN", 11) == 0) {
        value.clear();
        return true;
    }
    // Emptied and appended to: a plain copy, without assign's overlap checks,
    // unless the text lies within the value itself.
    if (text >= value.data() && text <= value.data() + value.size()) {
        value.assign(text, length);
    } else {
        value.clear();
        value.append(text, length);
    }
    return false;
}

}  // namespace

Field::Field(const char* name, const char* sqlType, const char* prefix, const char* suffix)
    : Field(standaloneColumn(name, sqlType, prefix, suffix)) {}

Field::Field(const char* name, const FieldKind& kind) : Field(name, kind.sqlType, kind.prefix, kind.suffix) {}

Field::Field(const Field& other)
    : column(other.column), value(other.value), modified(other.modified), stale(false), unknown(other.unknown) {}

Field& Field::operator=(const std::string& text) {
    assign(text.data(), text.size());
    return *this;
}

void Field::assign(const char* text, std::size_t length) {
    const std::string& current = getValue();
    if (current.size() == length && current.compare(0, length, text, length) == 0) return;
    unknown = storeValue(value, text, length);
    modified = true;
    stale = true;
}

void Field::load(const std::string& text) {
    unknown = storeValue(value, text.data(), text.size());
    stale = true;
    modified = false;
}

void Field::loadSettled(const char* text) { loadSettled(text, std::strlen(text)); }

void Field::loadSettled(const char* text, std::size_t length) {
    unknown = storeValue(value, text, length);
    stale = false;
    modified = false;
}

void Field::appendSqlValue(std::string& sql) const {
    if (isBareInSql()) {
        sql += getValue();
        return;
    }
    sql += getPrefix();
    sql += value;
    sql += getSuffix();
}

void Field::swap(Field& other) {
    value.swap(other.value);
    std::swap(unknown, other.unknown);
    std::swap(modified, other.modified);
    std::swap(stale, other.stale);
}

IntegerField& IntegerField::setIntValue(int number) {
    char text[24];
    assign(text, static_cast<std::size_t>(std::to_chars(text, text + sizeof text, number).ptr - text));
    return *this;
}

// Text beyond int saturates, as strtol does where long is 32 bits (the
// controller), so every platform reads the same number.
int IntegerField::getIntValue() const {
    const long long number = std::strtoll(getValue().c_str(), nullptr, 10);
    return static_cast<int>(std::min<long long>(std::max<long long>(number, INT_MIN), INT_MAX));
}

BigIntegerField& BigIntegerField::setIntValue(long long number) {
    char text[24];
    assign(text, static_cast<std::size_t>(std::to_chars(text, text + sizeof text, number).ptr - text));
    return *this;
}

long long BigIntegerField::getIntValue() const { return std::strtoll(getValue().c_str(), nullptr, 10); }

BooleanField& BooleanField::operator=(bool flag) {
    assign(flag ? "t" : "f", 1);
    return *this;
}

namespace {

// A date or time component that is digits, optionally after a "+", or has
// no digit at all (a month name).
bool plainComponent(const std::string& component) {
    const std::string::size_type first = component.compare(0, 1, "+") == 0 ? 1 : 0;
    const bool hasDigit = component.find_first_of("0123456789") != std::string::npos;
    return !hasDigit || component.find_first_not_of("0123456789", first) == std::string::npos;
}

// Boost's conversion of a component such as "x1234567" overflows a signed
// integer (undefined behaviour) before it refuses it; such components are
// refused here first, with the exception Boost itself would throw.
void refuseMixedComponents(const std::string& text, const char* separators) {
    for (std::string::size_type start = 0; start <= text.size();) {
        const std::string::size_type end = std::min(text.find_first_of(separators, start), text.size());
        if (!plainComponent(text.substr(start, end - start)))
            throw boost::bad_lexical_cast(typeid(std::string), typeid(unsigned short));
        start = end + 1;
    }
}

boost::posix_time::ptime fromSpaceSeparated(const std::string& text) {
    // Split as the parser splits: the date before the first blank, the time
    // of day after it, each with its own separators.
    const std::string::size_type blank = text.find(' ');
    refuseMixedComponents(text.substr(0, blank), ",-./");
    if (blank != std::string::npos) refuseMixedComponents(text.substr(blank + 1), "-:,.");
    return boost::posix_time::time_from_string(text);
}

}  // namespace

DateTimeField::operator boost::posix_time::ptime() const {
    const std::string& text = getValue();
    std::string compact;
    for (char c : text)
        if (c != '-' && c != ':') compact += c;
    try {
        return boost::posix_time::from_iso_string(compact);
    } catch (const boost::bad_lexical_cast&) {
        return fromSpaceSeparated(text);
    } catch (const std::out_of_range&) {
        // "2012-03-04 05:06:07" loses its separators and no longer splits
        // into date and time; such text is read in its delimited form.
        if (text.find(' ') == std::string::npos) throw;
        return fromSpaceSeparated(text);
    }
}

// A short text is encoded on the stack, as the field copies it anyway.
ByteArrayField& ByteArrayField::operator=(const std::vector<unsigned char>& data) {
    char onStack[256];
    const std::size_t length = base64Length(data.size());
    if (length > sizeof onStack) {
        Field::operator=(base64Text(data.data(), data.size()));
        return *this;
    }
    base64Into(data.data(), data.size(), onStack);
    assign(onStack, length);
    return *this;
}

void ByteArrayField::swap(ByteArrayField& other) {
    Field::swap(other);
    std::swap(length, other.length);
    bytes.swap(other.bytes);
}

void ByteArrayField::unescapeBytes() const {
    if (bytes && !isStale()) return;
    const std::string text = isUnknown() ? std::string() : getValue();
    bytes = base64_dec(text.c_str(), length);
    markDecoded();
}

unsigned int ByteArrayField::getLength() const {
    unescapeBytes();
    return length;
}

boost::shared_array<unsigned char> ByteArrayField::getBytes() const {
    unescapeBytes();
    return bytes;
}

}  // namespace dbi
