#include "dbi/Field.h"

#include <array>
#include <charconv>
#include <cstdlib>
#include <map>
#include <memory>

#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/lexical_cast.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "Base64.h"

namespace dbi {

const char* Field::default_presuf = "'";

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

}  // namespace

Field::Field(const FieldDescriptor& column) : column(&column), value(DBI_UNKNOWN), modified(false), stale(false) {}

Field::Field(const char* name, const char* sqlType, const char* prefix, const char* suffix)
    : Field(standaloneColumn(name, sqlType, prefix, suffix)) {}

Field::Field(const char* name, const FieldKind& kind) : Field(name, kind.sqlType, kind.prefix, kind.suffix) {}

Field::Field(const Field& other)
    : column(other.column), value(other.value), modified(other.modified), stale(false) {}

Field& Field::operator=(const std::string& text) {
    if (text == value) return *this;
    value = text;
    modified = true;
    stale = true;
    return *this;
}

void Field::load(const std::string& text) {
    value = text;
    stale = true;
    modified = false;
}

void Field::loadSettled(const char* text) {
    value.assign(text);
    stale = false;
    modified = false;
}

void Field::appendSqlValue(std::string& sql) const {
    if (isBareInSql()) {
        sql += value;
        return;
    }
    sql += getPrefix();
    sql += value;
    sql += getSuffix();
}

void Field::swap(Field& other) {
    value.swap(other.value);
    std::swap(modified, other.modified);
    std::swap(stale, other.stale);
}

namespace {

template <class Number>
std::string decimal(Number number) {
    char text[24];
    return std::string(text, std::to_chars(text, text + sizeof text, number).ptr);
}

}  // namespace

IntegerField& IntegerField::setIntValue(int number) {
    *this = decimal(number);
    return *this;
}

int IntegerField::getIntValue() const { return static_cast<int>(std::strtol(getValue().c_str(), nullptr, 10)); }

BigIntegerField& BigIntegerField::setIntValue(long long number) {
    *this = decimal(number);
    return *this;
}

long long BigIntegerField::getIntValue() const { return std::strtoll(getValue().c_str(), nullptr, 10); }

BooleanField& BooleanField::operator=(bool flag) {
    *this = std::string(flag ? "t" : "f");
    return *this;
}

namespace {

boost::posix_time::ptime fromSpaceSeparated(const std::string& text) {
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

ByteArrayField& ByteArrayField::operator=(const std::vector<unsigned char>& data) {
    Field::operator=(base64Text(data.data(), data.size()));
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
