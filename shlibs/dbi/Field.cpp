#include "dbi/Field.h"

#include <cstdio>
#include <cstdlib>
#include <new>
#include <sstream>

#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/lexical_cast.hpp>

namespace dbi {

const char* Field::default_presuf = "'";

Field::Field(const char* name, const char* sqlType, const char* prefix, const char* suffix)
    : name(name), value(DBI_UNKNOWN), prefix(prefix), suffix(suffix), modified(false), stale(false),
      sqlType(sqlType) {}

Field::Field(const Field& other)
    : name(other.name), value(other.value), prefix(other.prefix), suffix(other.suffix), modified(other.modified),
      stale(false), sqlType(other.sqlType) {}

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

void Field::swap(Field& other) {
    value.swap(other.value);
    std::swap(modified, other.modified);
    std::swap(stale, other.stale);
}

IntegerField& IntegerField::setIntValue(int number) {
    char text[12];
    std::snprintf(text, sizeof text, "%d", number);
    *this = std::string(text);
    return *this;
}

int IntegerField::getIntValue() const { return static_cast<int>(std::strtol(getValue().c_str(), nullptr, 10)); }

BigIntegerField& BigIntegerField::setIntValue(long long number) {
    std::ostringstream text;
    text << number;
    *this = text.str();
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
    boost::shared_array<char> text = base64_enc(data.data(), static_cast<unsigned int>(data.size()));
    if (!text) throw std::bad_alloc();
    Field::operator=(std::string(text.get()));
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
