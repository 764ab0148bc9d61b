#ifndef DBI_FIELD_H
#define DBI_FIELD_H

#include <string>
#include <utility>
#include <vector>

#include <boost/date_time/posix_time/ptime.hpp>
#include <boost/shared_array.hpp>

#include "dbi/Encoding.h"
#include "dbi/Export.h"

namespace dbi {

// The unknown marker (value of a field never assigned or read) and the
// marker that SQL receives bare so the database fills in the time.
static const std::string DBI_UNKNOWN = "DBI_UNKNOWN";
static const std::string CURRENT_TIMESTAMP = "CURRENT_TIMESTAMP";

// One column value of a record, held as SQL-ready text together with the
// column's name, its SQL type word and the text written around the value in
// SQL. Records own their fields by value; a field is not shared between
// threads. The name, type and prefix/suffix texts are static strings the
// field only points at.
class DBI_EXPORT Field {
public:
    static const char* default_presuf;  // "'": prefix and suffix of quoted columns

    Field(const char* name, const char* sqlType, const char* prefix, const char* suffix);
    // Copies everything but the stale flag: a copy is never stale.
    Field(const Field& other);
    Field& operator=(const Field&) = delete;

    // Changes the value; assigning the text already held changes nothing,
    // flags included. Any other text marks the field modified and stale.
    Field& operator=(const std::string& text);
    // Stores text read from the database: not modified, but stale.
    void load(const std::string& text);
    // Exchanges value and flags; name, type and prefix/suffix stay.
    void swap(Field& other);

    const char* getName() const { return name; }
    const char* getPrefix() const { return prefix; }
    const char* getSuffix() const { return suffix; }
    const char* getSqlType() const { return sqlType; }
    const std::string& getValue() const { return value; }
    bool isModified() const { return modified; }
    bool isStale() const { return stale; }
    bool isUnknown() const { return value == DBI_UNKNOWN; }

protected:
    void markDecoded() const { stale = false; }

private:
    const char* name;
    std::string value;
    const char* prefix;
    const char* suffix;
    bool modified;
    mutable bool stale;  // cleared by the array fields when they decode
    const char* sqlType;
};

class DBI_EXPORT IntegerField : public Field {
public:
    explicit IntegerField(const char* name) : Field(name, "integer", "", "") {}
    using Field::operator=;
    IntegerField& setIntValue(int value);
    int getIntValue() const;  // 0 when unknown or without digits; saturates beyond int
};

class DBI_EXPORT BigIntegerField : public Field {
public:
    explicit BigIntegerField(const char* name) : Field(name, "bigint", "", "") {}
    using Field::operator=;
    BigIntegerField& setIntValue(long long value);
    long long getIntValue() const;  // 0 when unknown
};

class DBI_EXPORT CharField : public Field {
public:
    explicit CharField(const char* name) : Field(name, "text", default_presuf, default_presuf) {}
    using Field::operator=;
};

class DBI_EXPORT BooleanField : public Field {
public:
    explicit BooleanField(const char* name) : Field(name, "boolean", default_presuf, default_presuf) {}
    using Field::operator=;
    BooleanField& operator=(bool value);
    bool getBoolValue() const { return getValue() == "t"; }
};

class DBI_EXPORT DateTimeField : public Field {
public:
    explicit DateTimeField(const char* name) : Field(name, "datetime", default_presuf, default_presuf) {}
    using Field::operator=;
    // Parses "2012-03-04T05:06:07", "20120304T050607" or "2012-03-04 05:06:07";
    // other text throws Boost's date-time or lexical-cast exception.
    operator boost::posix_time::ptime() const;
};

// Bytes held as base64 text; decoded lazily into a shared cache.
class DBI_EXPORT ByteArrayField : public Field {
public:
    explicit ByteArrayField(const char* name) : Field(name, "blob", default_presuf, default_presuf) {}
    using Field::operator=;
    // Throws std::bad_alloc when the encoder cannot allocate.
    ByteArrayField& operator=(const std::vector<unsigned char>& bytes);
    void swap(ByteArrayField& other);

    void unescapeBytes() const;
    unsigned int getLength() const;
    boost::shared_array<unsigned char> getBytes() const;  // shared, not copied

private:
    mutable unsigned int length = 0;
    mutable boost::shared_array<unsigned char> bytes;
};

// Numbers held as "1,2,3" and written into SQL as ARRAY[1,2,3].
template <class T>
class NumberArrayField : public Field {
public:
    using Data = std::vector<T>;
    using DataPtr = boost::shared_array<T>;

    explicit NumberArrayField(const char* name) : Field(name, "array", "ARRAY[", "]") {}
    NumberArrayField(const char* name, Data values) : NumberArrayField(name) { *this = values; }
    using Field::operator=;

    NumberArrayField& operator=(const Data& values) {
        Field::operator=(convertNumberArrayToString<T>(values));
        return *this;
    }

    void swap(NumberArrayField& other) {
        Field::swap(other);
        std::swap(count, other.count);
        numbers.swap(other.numbers);
    }

    unsigned int size() const {
        unescapeBytes();
        return count;
    }

    operator DataPtr() const {
        unescapeBytes();
        return numbers;
    }

    void unescapeBytes() const {
        if (numbers && !isStale()) return;
        const std::string& text = isUnknown() ? std::string() : getValue();
        numbers = convertStringToNumberArray<T>(text, count);
        markDecoded();
    }

private:
    mutable unsigned int count = 0;
    mutable DataPtr numbers;
};

// An integer column holding the id of a row of T's table.
template <class T>
class ForeignKey : public IntegerField {
public:
    explicit ForeignKey(const char* name) : IntegerField(name) {}
    using IntegerField::operator=;
};

}  // namespace dbi

#endif
