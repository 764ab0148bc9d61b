#include "dbi/Field.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <sstream>
#include <typeinfo>

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

// Text beyond int saturates, as strtol does where long is 32 bits (the
// controller), so every platform reads the same number.
int IntegerField::getIntValue() const {
    const long long number = std::strtoll(getValue().c_str(), nullptr, 10);
    return static_cast<int>(std::min<long long>(std::max<long long>(number, INT_MIN), INT_MAX));
}

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
