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

/// What every field of one kind writes into SQL: the column's type word and
/// the texts around a value ("'" for quoted kinds, "ARRAY[" and "]").
struct FieldKind {
    const char* sqlType;
    const char* prefix;
    const char* suffix;
};

/// What the fields of one column share: the record class's column-name
/// constant and the field kind. Record classes define one per column as a
/// static, so a field costs a single pointer for all of it.
struct FieldDescriptor {
    const char* const* name;
    const FieldKind* kind;
};

/// One column value of a record, held as SQL-ready text together with a
/// pointer to its column's static descriptor. Records own their fields by
/// value; a field is not shared between threads.
class DBI_EXPORT Field {
public:
    static const char* default_presuf;  // "'": prefix and suffix of quoted columns

    explicit Field(const FieldDescriptor& column);
    /// A field outside a record class; the texts must be static strings.
    Field(const char* name, const char* sqlType, const char* prefix, const char* suffix);
    /// Copies everything but the stale flag: a copy is never stale.
    Field(const Field& other);
    Field& operator=(const Field&) = delete;

    /// Changes the value; assigning the text already held changes nothing,
    /// flags included. Any other text marks the field modified and stale.
    Field& operator=(const std::string& text);
    /// Stores text read from the database: not modified, but stale.
    void load(const std::string& text);
    /// Stores text read from the database into a record handed out as it
    /// stands: not modified and, like a copy, not stale.
    void loadSettled(const char* text);
    /// Exchanges value and flags; name, type and prefix/suffix stay.
    void swap(Field& other);

    const char* getName() const { return *column->name; }
    const char* getPrefix() const { return column->kind->prefix; }
    const char* getSuffix() const { return column->kind->suffix; }
    const char* getSqlType() const { return column->kind->sqlType; }
    const std::string& getValue() const { return value; }
    bool isModified() const { return modified; }
    bool isStale() const { return stale; }
    bool isUnknown() const { return value == DBI_UNKNOWN; }
    /// The two markers go into SQL bare; every other value between the
    /// column's prefix and suffix.
    bool isBareInSql() const { return value == DBI_UNKNOWN || value == CURRENT_TIMESTAMP; }
    /// Appends the value as it appears in INSERT and UPDATE texts.
    void appendSqlValue(std::string& sql) const;

protected:
    Field(const char* name, const FieldKind& kind);
    void markDecoded() const { stale = false; }

private:
    const FieldDescriptor* column;
    std::string value;
    bool modified;
    mutable bool stale;  // cleared by the array fields when they decode
};

class DBI_EXPORT IntegerField : public Field {
public:
    static constexpr FieldKind kind{"integer", "", ""};
    explicit IntegerField(const char* name) : Field(name, kind) {}
    explicit IntegerField(const FieldDescriptor& column) : Field(column) {}
    using Field::operator=;
    IntegerField& setIntValue(int value);
    int getIntValue() const;  // 0 when unknown or without digits; saturates beyond int
};

class DBI_EXPORT BigIntegerField : public Field {
public:
    static constexpr FieldKind kind{"bigint", "", ""};
    explicit BigIntegerField(const char* name) : Field(name, kind) {}
    explicit BigIntegerField(const FieldDescriptor& column) : Field(column) {}
    using Field::operator=;
    BigIntegerField& setIntValue(long long value);
    long long getIntValue() const;  // 0 when unknown
};

class DBI_EXPORT CharField : public Field {
public:
    static constexpr FieldKind kind{"text", "'", "'"};
    explicit CharField(const char* name) : Field(name, kind) {}
    explicit CharField(const FieldDescriptor& column) : Field(column) {}
    using Field::operator=;
};

class DBI_EXPORT BooleanField : public Field {
public:
    static constexpr FieldKind kind{"boolean", "'", "'"};
    explicit BooleanField(const char* name) : Field(name, kind) {}
    explicit BooleanField(const FieldDescriptor& column) : Field(column) {}
    using Field::operator=;
    BooleanField& operator=(bool value);
    bool getBoolValue() const { return getValue() == "t"; }
};

class DBI_EXPORT DateTimeField : public Field {
public:
    static constexpr FieldKind kind{"datetime", "'", "'"};
    explicit DateTimeField(const char* name) : Field(name, kind) {}
    explicit DateTimeField(const FieldDescriptor& column) : Field(column) {}
    using Field::operator=;
    /// Parses "2012-03-04T05:06:07", "20120304T050607" or "2012-03-04 05:06:07";
    /// other text throws Boost's date-time or lexical-cast exception.
    operator boost::posix_time::ptime() const;
};

/// Bytes held as base64 text; decoded lazily into a shared cache.
class DBI_EXPORT ByteArrayField : public Field {
public:
    static constexpr FieldKind kind{"blob", "'", "'"};
    explicit ByteArrayField(const char* name) : Field(name, kind) {}
    explicit ByteArrayField(const FieldDescriptor& column) : Field(column) {}
    using Field::operator=;
    /// Throws std::bad_alloc when the encoder cannot allocate.
    ByteArrayField& operator=(const std::vector<unsigned char>& bytes);
    void swap(ByteArrayField& other);

    void unescapeBytes() const;
    unsigned int getLength() const;
    boost::shared_array<unsigned char> getBytes() const;  // shared, not copied

private:
    mutable unsigned int length = 0;
    mutable boost::shared_array<unsigned char> bytes;
};

/// Numbers held as "1,2,3" and written into SQL as ARRAY[1,2,3].
template <class T>
class NumberArrayField : public Field {
public:
    using Data = std::vector<T>;
    using DataPtr = boost::shared_array<T>;

    static constexpr FieldKind kind{"array", "ARRAY[", "]"};
    explicit NumberArrayField(const char* name) : Field(name, kind) {}
    explicit NumberArrayField(const FieldDescriptor& column) : Field(column) {}
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

/// An integer column holding the id of a row of T's table.
template <class T>
class ForeignKey : public IntegerField {
public:
    explicit ForeignKey(const char* name) : IntegerField(name) {}
    explicit ForeignKey(const FieldDescriptor& column) : IntegerField(column) {}
    using IntegerField::operator=;
};

}  // namespace dbi

#endif
