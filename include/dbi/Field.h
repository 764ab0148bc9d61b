#ifndef DBI_FIELD_H
#define DBI_FIELD_H

#include <cstddef>
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
    /// The column's type word in CREATE TABLE ("integer", "text", ...).
    const char* sqlType;
    /// Written before a value in SQL text. An empty prefix and suffix mark an
    /// integer kind: bound-values mode binds such fields as integers.
    const char* prefix;
    /// Written after a value in SQL text.
    const char* suffix;
};

/// What the fields of one column share: the record class's column-name
/// constant and the field kind. Record classes define one per column as a
/// static, so a field costs a single pointer for all of it.
struct FieldDescriptor {
    /// The record class's column-name constant, read through this pointer.
    const char* const* name;
    /// The field class's static kind.
    const FieldKind* kind;
};

namespace detail {
/// Selects the constructors that leave a field's value empty, for a reader
/// that stores every field of the record right after.
struct Unfilled {};
}  // namespace detail

/// One column value of a record, held as SQL-ready text together with a
/// pointer to its column's static descriptor. Records own their fields by
/// value; a field is not shared between threads.
class DBI_EXPORT Field {
public:
    /// The quote of the quoted kinds, as a static prefix and suffix for fields
    /// built with the four-text constructor.
    static const char* default_presuf;  // "'": prefix and suffix of quoted columns

    /// A field of a record class's column, holding DBI_UNKNOWN, neither
    /// modified nor stale. `column` must outlive the field; record classes
    /// pass a static.
    explicit Field(const FieldDescriptor& column)
        : column(&column), modified(false), stale(false), unknown(true) {}
    /// A field of a record class's column with an empty value, which the
    /// caller must store at once (RowReader::fill).
    Field(const FieldDescriptor& column, detail::Unfilled)
        : column(&column), modified(false), stale(false), unknown(false) {}
    /// A field outside a record class; the texts must be static strings.
    Field(const char* name, const char* sqlType, const char* prefix, const char* suffix);
    /// Copies everything but the stale flag: a copy is never stale.
    Field(const Field& other);
    /// Takes the value, flags included; `other` is left empty.
    Field(Field&& other) noexcept
        : column(other.column), value(std::move(other.value)), modified(other.modified), stale(other.stale),
          unknown(std::exchange(other.unknown, false)) {}
    Field& operator=(const Field&) = delete;

    /// Changes the value; assigning the text already held changes nothing,
    /// flags included. Any other text marks the field modified and stale.
    Field& operator=(const std::string& text);
    /// Stores text read from the database: not modified, but stale.
    void load(const std::string& text);
    /// Stores text read from the database into a record handed out as it
    /// stands: not modified and, like a copy, not stale.
    void loadSettled(const char* text);
    /// The same for `length` bytes at `text`, NUL bytes included.
    void loadSettled(const char* text, std::size_t length);
    /// Exchanges value and flags; name, type and prefix/suffix stay.
    void swap(Field& other);

    /// The column name; like the kind's texts below, a static string that
    /// outlives the field.
    const char* getName() const { return *column->name; }
    /// The text written before the value in SQL (FieldKind::prefix).
    const char* getPrefix() const { return column->kind->prefix; }
    /// The text written after the value in SQL.
    const char* getSuffix() const { return column->kind->suffix; }
    /// The column's type word (FieldKind::sqlType).
    const char* getSqlType() const { return column->kind->sqlType; }
    /// The value as SQL-ready text; DBI_UNKNOWN when never assigned or read.
    const std::string& getValue() const { return unknown ? unknownText : value; }
    /// True once an assignment changed the value, until a load; copies keep it.
    /// Table::save() writes only the modified fields and leaves the flag set.
    bool isModified() const { return modified; }
    /// Set by an assignment that changes the value and by load(); cleared by
    /// loadSettled(), by copying, and when an array field decodes the text.
    bool isStale() const { return stale; }
    /// True while the value is DBI_UNKNOWN.
    bool isUnknown() const { return unknown; }
    /// The two markers go into SQL bare; every other value between the
    /// column's prefix and suffix.
    bool isBareInSql() const { return unknown || value == CURRENT_TIMESTAMP; }
    /// True for the integer kinds, written into SQL without prefix or suffix:
    /// bound-values mode binds them as integers.
    bool bindsAsInteger() const { return *getPrefix() == '\0' && *getSuffix() == '\0'; }
    /// Appends the value as it appears in INSERT and UPDATE texts.
    void appendSqlValue(std::string& sql) const;

protected:
    /// A standalone field of `kind`, as the public four-text constructor makes
    /// it; `name` must be a static string.
    Field(const char* name, const FieldKind& kind);
    /// What operator= does, for `length` bytes at `text`.
    void assign(const char* text, std::size_t length);
    /// Clears the stale flag, once a derived field has decoded the current text.
    void markDecoded() const { stale = false; }

private:
    friend class StatementBuilder;  // stores a new row's id (assign)

    /// The text of DBI_UNKNOWN, which a field never assigned holds without a
    /// copy of its own.
    static const std::string unknownText;

    const FieldDescriptor* column;
    std::string value;  // empty while `unknown`, never the marker's text
    bool modified;
    mutable bool stale;  // cleared by the array fields when they decode
    bool unknown;        // never assigned or read: the value is DBI_UNKNOWN
};

/// An integer column, its value held as decimal text and written unquoted.
class DBI_EXPORT IntegerField : public Field {
public:
    /// The kind every field of this class shares; column descriptors point at it.
    static constexpr FieldKind kind{"integer", "", ""};
    /// A standalone field named `name`, a static string; holds DBI_UNKNOWN.
    explicit IntegerField(const char* name) : Field(name, kind) {}
    /// A field of a record class's column; `column` must outlive it.
    explicit IntegerField(const FieldDescriptor& column) : Field(column) {}
    /// The same, unfilled: a reader stores the value at once.
    IntegerField(const FieldDescriptor& column, detail::Unfilled tag) : Field(column, tag) {}
    using Field::operator=;
    /// Stores `value` as decimal text, as an assignment of that text would.
    IntegerField& setIntValue(int value);
    /// The leading decimal number of the text: 0 when unknown or without
    /// digits, clamped to the range of int beyond it, on every platform.
    int getIntValue() const;  // 0 when unknown or without digits; saturates beyond int
};

/// A 64-bit integer column, its value held as decimal text and written
/// unquoted.
class DBI_EXPORT BigIntegerField : public Field {
public:
    /// The kind every field of this class shares; column descriptors point at it.
    static constexpr FieldKind kind{"bigint", "", ""};
    /// A standalone field named `name`, a static string; holds DBI_UNKNOWN.
    explicit BigIntegerField(const char* name) : Field(name, kind) {}
    /// A field of a record class's column; `column` must outlive it.
    explicit BigIntegerField(const FieldDescriptor& column) : Field(column) {}
    /// The same, unfilled: a reader stores the value at once.
    BigIntegerField(const FieldDescriptor& column, detail::Unfilled tag) : Field(column, tag) {}
    using Field::operator=;
    /// Stores `value` as decimal text, as an assignment of that text would.
    BigIntegerField& setIntValue(long long value);
    /// The leading decimal number of the text: 0 when unknown or without
    /// digits, clamped to the range of long long beyond it.
    long long getIntValue() const;  // 0 when unknown
};

/// A text column. The value goes into SQL text between quotes as it stands:
/// a quote inside it breaks the statement unless values are bound.
class DBI_EXPORT CharField : public Field {
public:
    /// The kind every field of this class shares; column descriptors point at it.
    static constexpr FieldKind kind{"text", "'", "'"};
    /// A standalone field named `name`, a static string; holds DBI_UNKNOWN.
    explicit CharField(const char* name) : Field(name, kind) {}
    /// A field of a record class's column; `column` must outlive it.
    explicit CharField(const FieldDescriptor& column) : Field(column) {}
    /// The same, unfilled: a reader stores the value at once.
    CharField(const FieldDescriptor& column, detail::Unfilled tag) : Field(column, tag) {}
    using Field::operator=;
};

/// A boolean column held as "t" or "f".
class DBI_EXPORT BooleanField : public Field {
public:
    /// The kind every field of this class shares; column descriptors point at it.
    static constexpr FieldKind kind{"boolean", "'", "'"};
    /// A standalone field named `name`, a static string; holds DBI_UNKNOWN.
    explicit BooleanField(const char* name) : Field(name, kind) {}
    /// A field of a record class's column; `column` must outlive it.
    explicit BooleanField(const FieldDescriptor& column) : Field(column) {}
    /// The same, unfilled: a reader stores the value at once.
    BooleanField(const FieldDescriptor& column, detail::Unfilled tag) : Field(column, tag) {}
    using Field::operator=;
    /// Stores "t" or "f", as an assignment of that text would.
    BooleanField& operator=(bool value);
    /// True only for the text "t"; unknown reads false.
    bool getBoolValue() const { return getValue() == "t"; }
};

/// A date-time column held as text. Assigning CURRENT_TIMESTAMP lets the
/// database fill in the time when the record is written.
class DBI_EXPORT DateTimeField : public Field {
public:
    /// The kind every field of this class shares; column descriptors point at it.
    static constexpr FieldKind kind{"datetime", "'", "'"};
    /// A standalone field named `name`, a static string; holds DBI_UNKNOWN.
    explicit DateTimeField(const char* name) : Field(name, kind) {}
    /// A field of a record class's column; `column` must outlive it.
    explicit DateTimeField(const FieldDescriptor& column) : Field(column) {}
    /// The same, unfilled: a reader stores the value at once.
    DateTimeField(const FieldDescriptor& column, detail::Unfilled tag) : Field(column, tag) {}
    using Field::operator=;
    /// Parses "2012-03-04T05:06:07", "20120304T050607" or "2012-03-04 05:06:07";
    /// other text throws Boost's date-time or lexical-cast exception.
    operator boost::posix_time::ptime() const;
};

/// Bytes held as base64 text; decoded lazily into a shared cache.
class DBI_EXPORT ByteArrayField : public Field {
public:
    /// The kind every field of this class shares; column descriptors point at it.
    static constexpr FieldKind kind{"blob", "'", "'"};
    /// A standalone field named `name`, a static string; holds DBI_UNKNOWN.
    explicit ByteArrayField(const char* name) : Field(name, kind) {}
    /// A field of a record class's column; `column` must outlive it.
    explicit ByteArrayField(const FieldDescriptor& column) : Field(column) {}
    /// The same, unfilled: a reader stores the value at once.
    ByteArrayField(const FieldDescriptor& column, detail::Unfilled tag) : Field(column, tag) {}
    using Field::operator=;
    /// Throws std::bad_alloc when the encoder cannot allocate.
    ByteArrayField& operator=(const std::vector<unsigned char>& bytes);
    /// Exchanges value, flags and decoded bytes; the column stays.
    void swap(ByteArrayField& other);

    /// Decodes the text into the field's cache unless the cache is current;
    /// getLength() and getBytes() call it. Unknown decodes as no bytes.
    void unescapeBytes() const;
    /// The number of decoded bytes.
    unsigned int getLength() const;
    /// The decoded bytes, followed by one uncounted NUL. Shared with the cache,
    /// not copied: do not write into them. A later change of the value decodes
    /// into a new array, so bytes handed out before stay as they were.
    boost::shared_array<unsigned char> getBytes() const;  // shared, not copied

private:
    mutable unsigned int length = 0;
    mutable boost::shared_array<unsigned char> bytes;
};

/// Numbers held as "1,2,3" and written into SQL as ARRAY[1,2,3].
template <class T>
class NumberArrayField : public Field {
public:
    /// The numbers as callers pass them in.
    using Data = std::vector<T>;
    /// The decoded numbers as the field hands them out.
    using DataPtr = boost::shared_array<T>;

    /// The kind every field of this class shares; column descriptors point at it.
    static constexpr FieldKind kind{"array", "ARRAY[", "]"};
    /// A standalone field named `name`, a static string; holds DBI_UNKNOWN.
    explicit NumberArrayField(const char* name) : Field(name, kind) {}
    /// A field of a record class's column; `column` must outlive it.
    explicit NumberArrayField(const FieldDescriptor& column) : Field(column) {}
    /// The same, unfilled: a reader stores the value at once.
    NumberArrayField(const FieldDescriptor& column, detail::Unfilled tag) : Field(column, tag) {}
    /// A standalone field named `name` holding `values`, modified.
    NumberArrayField(const char* name, Data values) : NumberArrayField(name) { *this = values; }
    using Field::operator=;

    /// Stores the numbers as "1,2,3", as an assignment of that text would.
    NumberArrayField& operator=(const Data& values) {
        Field::operator=(convertNumberArrayToString<T>(values));
        return *this;
    }

    /// Exchanges value, flags and decoded numbers; the column stays.
    void swap(NumberArrayField& other) {
        Field::swap(other);
        std::swap(count, other.count);
        numbers.swap(other.numbers);
    }

    /// The number of decoded numbers.
    unsigned int size() const {
        unescapeBytes();
        return count;
    }

    /// The decoded numbers, shared with the cache, not copied: do not write
    /// into them. A later change of the value decodes into a new array.
    operator DataPtr() const {
        unescapeBytes();
        return numbers;
    }

    /// Decodes the text into the field's cache unless the cache is current;
    /// size() and the conversion call it. Unknown decodes as no numbers; a
    /// token without digits reads as 0.
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
    /// A standalone field named `name`, a static string; holds DBI_UNKNOWN.
    explicit ForeignKey(const char* name) : IntegerField(name) {}
    /// A field of a record class's column; `column` must outlive it.
    explicit ForeignKey(const FieldDescriptor& column) : IntegerField(column) {}
    /// The same, unfilled: a reader stores the value at once.
    ForeignKey(const FieldDescriptor& column, detail::Unfilled tag) : IntegerField(column, tag) {}
    using IntegerField::operator=;
};

}  // namespace dbi

#endif
