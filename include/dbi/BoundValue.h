#ifndef DBI_BOUNDVALUE_H
#define DBI_BOUNDVALUE_H

#include <string>
#include <vector>

#include "dbi/Export.h"

namespace dbi {

class Field;

/// One value handed to a statement as a bound parameter ("?") rather than
/// written into its text: SQL NULL, a 64-bit integer or a text.
class DBI_EXPORT BoundValue {
public:
    /// Which value a BoundValue holds; only that kind's getter is meaningful.
    enum class Kind { Null, Integer, Text };

    BoundValue() = default;  // SQL NULL
    /// Binds as a 64-bit integer.
    static BoundValue integer(long long number);
    /// Binds as text of its full length, NUL bytes included (which SQL text
    /// would refuse).
    static BoundValue text(std::string text);

    /// The value a field stores, as the text form of the statement would store
    /// it: integer columns bind as integers, every other kind binds its text.
    /// Throws DBIException<10> when an integer column holds anything but a
    /// decimal integer (nothing has run then).
    static BoundValue of(const Field& field);
    /// The integer a field of an integer column binds as; DBIException<10>
    /// as above when it holds anything but a decimal integer.
    static long long integerOf(const Field& field);

    /// Which value this is.
    Kind getKind() const { return kind; }
    /// The integer; 0 unless getKind() is Kind::Integer.
    long long getInteger() const { return number; }
    /// The text; empty unless getKind() is Kind::Text.
    const std::string& getText() const { return characters; }

    /// Same kind and same value.
    bool operator==(const BoundValue& other) const;

private:
    Kind kind = Kind::Null;
    long long number = 0;
    std::string characters;
};

/// The values of one statement's "?" parameters, in order of appearance.
using BoundValues = std::vector<BoundValue>;

}  // namespace dbi

#endif
