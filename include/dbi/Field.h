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

/// The unknown marker (value of a field never assigned or read) and the
/// marker that SQL receives bare so the database fills in the time.
static const std::string DBI_UNKNOWN = "DBI_UNKNOWN";
static const std::string CURRENT_TIMESTAMP = "CURRENT_TIMESTAMP";

/// One column value of a record, held as SQL-ready text together with the
/// column's name, its SQL type word and the text written around the value in
/// SQL. Records own their fields by value; a field is not shared between
/// threads. The name, type and prefix/suffix texts are static strings the
/// field only points at.
class DBI_EXPORT Field {
public:
    static const char* default_presuf;  ///< "'": prefix and suffix of quoted columns

    /// A field holding the unknown marker. The four texts must outlive the field
    /// (string literals in practice); the field does not copy them.
    Field(const char* name, const char* sqlType, const char* prefix, const char* suffix);
    /// Copies everything but the stale flag: a copy is never stale.
    Field(const Field& other);
    Field& operator=(const Field&) = delete;

    /// Changes the value; assigning the text already held changes nothing,
    /// flags included. Any other text marks the field modified and stale.
    Field& operator=(const std::string& text);
    /// Stores text read from the database: not modified, but stale.
    void load(const std::string& text);
    /// Exchanges value and flags; name, type and prefix/suffix stay.
    void swap(Field& other);

    /// The column name.
    const char* getName() const { return name; }
    /// Text written before the value in SQL.
    const char* getPrefix() const { return prefix; }
    /// Text written after the value in SQL.
    const char* getSuffix() const { return suffix; }
    /// The column's SQL type word ("integer", "text", "blob", ...).
    const char* getSqlType() const { return sqlType; }
    /// The value as SQL-ready text; DBI_UNKNOWN when never assigned or read.
    const std::string& getValue() const { return value; }
    /// True once assigned a new value; save() writes only modified fields.
    bool isModified() const { return modified; }
    /// True while a decoded cache (byte and number arrays) lags behind the text.
    bool isStale() const { return stale; }
    /// True while the field holds the unknown marker.
    bool isUnknown() const { return value == DBI_UNKNOWN; }

protected:
    /// Called by array fields once their cache matches the text.
    void markDecoded() const { stale = false; }

private:
    const char* name;
    std::string value;
    const char* prefix;
    const char* suffix;
    bool modified;
    mutable bool stale;  ///< cleared by the array fields when they decode
    const char* sqlType;
};

/// An "integer" column.
class DBI_EXPORT IntegerField : public Field {
public:
    /// An unknown value of column `name`.
    explicit IntegerField(const char* name) : Field(name, "integer", "", "") {}
    using Field::operator=;
    /// Assigns the decimal text of `value`.
    IntegerField& setIntValue(int value);
    int getIntValue() const;  ///< 0 when unknown
};

/// A "bigint" column: 64-bit values such as journal ids.
class DBI_EXPORT BigIntegerField : public Field {
public:
    /// An unknown value of column `name`.
    explicit BigIntegerField(const char* name) : Field(name, "bigint", "", "") {}
    using Field::operator=;
    /// Assigns the decimal text of `value`.
    BigIntegerField& setIntValue(long long value);
    long long getIntValue() const;  ///< 0 when unknown
};

/// A "text" column, quoted in SQL.
class DBI_EXPORT CharField : public Field {
public:
    /// An unknown value of column `name`.
    explicit CharField(const char* name) : Field(name, "text", default_presuf, default_presuf) {}
    using Field::operator=;
};

/// A "boolean" column held as "t" or "f".
class DBI_EXPORT BooleanField : public Field {
public:
    /// An unknown value of column `name`.
    explicit BooleanField(const char* name) : Field(name, "boolean", default_presuf, default_presuf) {}
    using Field::operator=;
    /// Assigns "t" or "f".
    BooleanField& operator=(bool value);
    /// True for "t"; false for anything else, the unknown marker included.
    bool getBoolValue() const { return getValue() == "t"; }
};

/// A "datetime" column held as date-time text, or CURRENT_TIMESTAMP.
class DBI_EXPORT DateTimeField : public Field {
public:
    /// An unknown value of column `name`.
    explicit DateTimeField(const char* name) : Field(name, "datetime", default_presuf, default_presuf) {}
    using Field::operator=;
    /// Parses "2012-03-04T05:06:07", "20120304T050607" or "2012-03-04 05:06:07";
    /// other text throws Boost's date-time or lexical-cast exception.
    operator boost::posix_time::ptime() const;
};

/// Bytes held as base64 text; decoded lazily into a shared cache.
class DBI_EXPORT ByteArrayField : public Field {
public:
    /// An unknown value of column `name`.
    explicit ByteArrayField(const char* name) : Field(name, "blob", default_presuf, default_presuf) {}
    using Field::operator=;
    /// Throws std::bad_alloc when the encoder cannot allocate.
    ByteArrayField& operator=(const std::vector<unsigned char>& bytes);
    /// Exchanges value, flags and decoded cache.
    void swap(ByteArrayField& other);

    /// Decodes the base64 text into the cache, unless it is current.
    void unescapeBytes() const;
    /// The number of bytes (decoding first if needed); 0 when unknown.
    unsigned int getLength() const;
    boost::shared_array<unsigned char> getBytes() const;  ///< shared, not copied

private:
    mutable unsigned int length = 0;
    mutable boost::shared_array<unsigned char> bytes;
};

/// Numbers held as "1,2,3" and written into SQL as ARRAY[1,2,3].
template <class T>
class NumberArrayField : public Field {
public:
    /// The numbers as a vector.
    using Data = std::vector<T>;
    /// The decoded cache, shared with callers.
    using DataPtr = boost::shared_array<T>;

    /// An unknown value of column `name`.
    explicit NumberArrayField(const char* name) : Field(name, "array", "ARRAY[", "]") {}
    /// Column `name` holding `values`.
    NumberArrayField(const char* name, Data values) : NumberArrayField(name) { *this = values; }
    using Field::operator=;

    /// Assigns the numbers as "1,2,3".
    NumberArrayField& operator=(const Data& values) {
        Field::operator=(convertNumberArrayToString<T>(values));
        return *this;
    }

    /// Exchanges value, flags and decoded cache.
    void swap(NumberArrayField& other) {
        Field::swap(other);
        std::swap(count, other.count);
        numbers.swap(other.numbers);
    }

    /// The count of numbers (decoding first if needed).
    unsigned int size() const {
        unescapeBytes();
        return count;
    }

    /// The numbers, decoded once and shared, not copied; size() tells how many.
    operator DataPtr() const {
        unescapeBytes();
        return numbers;
    }

    /// Decodes the text into the cache, unless it is current.
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

/// An integer column holding the id of a row of T's table.
template <class T>
class ForeignKey : public IntegerField {
public:
    /// An unknown value of column `name`.
    explicit ForeignKey(const char* name) : IntegerField(name) {}
    using IntegerField::operator=;
};

}  // namespace dbi

#endif
