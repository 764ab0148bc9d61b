#ifndef DBI_RECORD_H
#define DBI_RECORD_H

#include <atomic>
#include <cstddef>
#include <cstring>
#include <string>
#include <algorithm>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

#include <boost/function.hpp>
#include <boost/thread/lock_guard.hpp>

#include "dbi/DBManager.h"
#include "dbi/Field.h"

namespace dbi {

/// Hashes the key text (h = 5 * h + c), so a column name read from a result
/// set finds its field although it is another pointer than the constant.
struct hashstr {
    /// The hash of the NUL-terminated `text`.
    std::size_t operator()(const char* text) const {
        std::size_t h = 0;
        for (; *text; ++text) h = 5 * h + static_cast<unsigned char>(*text);
        return h;
    }
};

/// Compares keys by text, not by pointer, so that a column name read from a
/// result set equals its constant.
struct eqstr {
    /// True when both texts are equal.
    bool operator()(const char* a, const char* b) const { return std::strcmp(a, b) == 0; }
};

/// Column name -> accessor of that column's field in a record of type T.
template <class T>
using FieldMap = std::unordered_map<const char*, boost::function<Field&(T*)>, hashstr, eqstr>;

namespace detail {

/// Calls f with the member pointer of every column of T, in column order.
template <class T, class F>
void forEachColumn(F&& f) {
    std::apply([&](auto... members) { (f(members), ...); }, T::columns());
}

template <class T>
void swapColumns(T& a, T& b) {
    forEachColumn<T>([&](auto member) { (a.*member).swap(b.*member); });
}

template <class T>
bool equalColumns(const T& a, const T& b) {
    bool equal = true;
    forEachColumn<T>([&](auto member) { equal = equal && (a.*member).getValue() == (b.*member).getValue(); });
    return equal;
}

/// Fills T's field map once; concurrent first users meet at the mutex and
/// find it filled. The ready flag publishes the map to lock-free readers.
template <class T>
void buildFieldMap() {
    boost::lock_guard<boost::mutex> lock(DBManager::getFieldMapMutex());
    if (T::m_fieldMap.empty()) {
        const T prototype;
        forEachColumn<T>([&](auto member) {
            T::m_fieldMap.emplace((prototype.*member).getName(), [member](T* record) -> Field& {
                return record->*member;
            });
        });
    }
    T::m_fieldMapSize.store(T::m_fieldMap.size(), std::memory_order_release);
}

/// Builds T's field map on first use; afterwards a single atomic load.
template <class T>
FieldMap<T>& fieldMap() {
    if (T::m_fieldMapSize.load(std::memory_order_acquire) != T::columnCount) T::buildFieldMap();
    return T::m_fieldMap;
}

/// One column of T: its name and the accessor of its field in the field map.
template <class T>
struct Column {
    const char* name;
    const boost::function<Field&(T*)>* field;
};

/// What statements need of T's columns, worked out once per class.
template <class T>
struct ColumnLayout {
    /// Sorted by column name: the order INSERT and UPDATE texts write.
    std::vector<Column<T>> byName;
    /// In the field map's iteration order: the order of the SELECT's columns.
    std::vector<Column<T>> selected;
    /// " table.a, table.b" in the field map's iteration order: the column
    /// list of the SELECT a Query builds.
    std::string selectList;
    /// For each column in byName's order, where its field lies in a record:
    /// the byte distance from the record's start, the same in every record.
    std::vector<std::ptrdiff_t> fieldOffsetByName;

    /// The field of record `r` at position `i` of byName.
    const Field& fieldByName(const T& r, std::size_t i) const {
        return *reinterpret_cast<const Field*>(reinterpret_cast<const char*>(&r) + fieldOffsetByName[i]);
    }
};

template <class T>
ColumnLayout<T> makeColumnLayout() {
    ColumnLayout<T> layout;
    const FieldMap<T>& fields = fieldMap<T>();
    for (const auto& entry : fields) {
        layout.selected.push_back({entry.first, &entry.second});
        layout.selectList += " " + T::m_tableName + "." + entry.first;
        if (layout.selected.size() < fields.size()) layout.selectList += ",";
    }
    layout.byName = layout.selected;
    std::sort(layout.byName.begin(), layout.byName.end(),
              [](const Column<T>& a, const Column<T>& b) { return std::strcmp(a.name, b.name) < 0; });
    // Offsets rather than accessors: writing a record reads every field in
    // name order, and an accessor call per field costs more than the rest.
    const T prototype;
    const char* const start = reinterpret_cast<const char*>(&prototype);
    layout.fieldOffsetByName.resize(layout.byName.size());
    forEachColumn<T>([&](auto member) {
        const Field& field = prototype.*member;
        std::size_t rank = 0;
        while (std::strcmp(layout.byName[rank].name, field.getName()) != 0) ++rank;
        layout.fieldOffsetByName[rank] = reinterpret_cast<const char*>(&field) - start;
    });
    return layout;
}

template <class T>
const ColumnLayout<T>& columnLayout() {
    static const ColumnLayout<T> layout = makeColumnLayout<T>();
    return layout;
}

}  // namespace detail
}  // namespace dbi

// A record class states its columns once, in a list macro that applies a
// per-column macro COLUMN(C, FieldClass, constant, "column_name") to each
// column in table order; the first column is the integer key "id". The
// header declares the class with DBI_RECORD(Class, LIST) and the source
// defines its statics with DBI_RECORD_DEFINE(Class, "table_name", LIST).
// From that one list come the column-name constants (Class::geoLocation
// holding "geo_location"), the fields (m_geoLocation), the default, copy and move
// constructors, assignment, swap, equality, the field map and its column
// count, and per column a static descriptor (m_geoLocationColumn) that all
// its fields point at. tests/support/Records.h shows a complete record class.
#define DBI_DETAIL_COLUMN_CONSTANT(C, Type, name, text) \
    static const char* const name;                       \
    static const ::dbi::FieldDescriptor m_##name##Column;
#define DBI_DETAIL_COLUMN_FIELD(C, Type, name, text) ::dbi::Type m_##name{m_##name##Column};
#define DBI_DETAIL_COLUMN_COUNT(C, Type, name, text) +1
#define DBI_DETAIL_COLUMN_POINTER(C, Type, name, text) std::make_tuple(&C::m_##name),
#define DBI_DETAIL_COLUMN_UNFILLED(C, Type, name, text) , m_##name(m_##name##Column, tag)
#define DBI_DETAIL_COLUMN_DEFINE(C, Type, name, text) \
    const char* const C::name = text;                  \
    const ::dbi::FieldDescriptor C::m_##name##Column{&C::name, &::dbi::Type::kind};

#define DBI_RECORD(Class, COLUMNS)                                                       \
public:                                                                                  \
    COLUMNS(DBI_DETAIL_COLUMN_CONSTANT, Class)                                           \
    COLUMNS(DBI_DETAIL_COLUMN_FIELD, Class)                                              \
    static std::string m_tableName;                                                      \
    static ::dbi::FieldMap<Class> m_fieldMap;                                            \
    static std::atomic<std::size_t> m_fieldMapSize;                                      \
    static constexpr std::size_t columnCount = 0 COLUMNS(DBI_DETAIL_COLUMN_COUNT, Class); \
    static auto columns() { return std::tuple_cat(COLUMNS(DBI_DETAIL_COLUMN_POINTER, Class) std::tuple<>()); } \
    Class() = default;                                                                   \
    Class(const Class&) = default;                                                       \
    Class(Class&&) = default;                                                            \
    /* Every field empty, for a reader that stores all of them at once. */               \
    explicit Class(::dbi::detail::Unfilled tag)                                          \
        : ::dbi::Table<Class>() COLUMNS(DBI_DETAIL_COLUMN_UNFILLED, Class) {}            \
    Class& operator=(Class other) {                                                      \
        swap(other);                                                                     \
        return *this;                                                                    \
    }                                                                                    \
    void swap(Class& other) { ::dbi::detail::swapColumns(*this, other); }                \
    bool operator==(const Class& other) const { return ::dbi::detail::equalColumns(*this, other); } \
    bool operator!=(const Class& other) const { return !(*this == other); }              \
    static void buildFieldMap() { ::dbi::detail::buildFieldMap<Class>(); }

#define DBI_RECORD_DEFINE(Class, table, COLUMNS)    \
    COLUMNS(DBI_DETAIL_COLUMN_DEFINE, Class)        \
    std::string Class::m_tableName = table;         \
    ::dbi::FieldMap<Class> Class::m_fieldMap;       \
    std::atomic<std::size_t> Class::m_fieldMapSize{0};

#endif
