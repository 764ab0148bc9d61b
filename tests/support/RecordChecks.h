#ifndef DBI_TESTS_RECORDCHECKS_H
#define DBI_TESTS_RECORDCHECKS_H

#include <gtest/gtest.h>
#include <strings.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include <dbi/dbi.h>

// Checks shared by the tests of every record class.
namespace dbitest {

struct ColumnInfo {
    std::string name;
    std::string type;
};

// The columns of a table as the database file declares them, in order.
inline std::vector<ColumnInfo> declaredColumns(const std::string& table) {
    dbi::ResultTuple info = dbi::Transaction::getDefaultTransaction().execStatement("PRAGMA table_info(" + table + ")");
    std::vector<ColumnInfo> columns;
    char** cells = info.get<0>().get();
    const int width = info.get<2>();
    for (int row = 1; row <= info.get<1>(); ++row) columns.push_back({cells[row * width + 1], cells[row * width + 2]});
    return columns;
}

// The record class describes its table exactly: names, order and type words.
template <class T>
void expectColumnsMatchSchema() {
    std::vector<ColumnInfo> declared = declaredColumns(T::m_tableName);
    ASSERT_EQ(T::columnCount, declared.size()) << T::m_tableName;
    const T prototype;
    std::size_t index = 0;
    dbi::detail::forEachColumn<T>([&](auto member) {
        const dbi::Field& field = prototype.*member;
        EXPECT_EQ(declared[index].name, field.getName()) << T::m_tableName << " column " << index;
        EXPECT_EQ(0, strcasecmp(declared[index].type.c_str(), field.getSqlType()))
            << T::m_tableName << "." << field.getName() << " is " << declared[index].type;
        ++index;
    });
    EXPECT_STREQ("id", T::id);
    EXPECT_EQ(T::m_tableName, T::tableName());
}

// Saves a record made by its full constructor, reads it back by id and
// expects an equal record; returns the saved record.
template <class T>
T expectRoundTrip(T record) {
    dbi::Transaction transaction(true);
    const T original = record;
    EXPECT_TRUE(record.m_id.isUnknown());
    record.save(transaction, false);
    EXPECT_FALSE(record.m_id.isUnknown());
    transaction.release();
    T fetched = T::get(record.m_id.getIntValue(), dbi::Transaction::getDefaultTransaction());
    EXPECT_EQ(record, fetched) << T::m_tableName;
    EXPECT_NE(original, fetched) << "ids differ, so the records must differ";
    return fetched;
}

// A record made by its full constructor, with the id text it must hold
// (unknown but for lookup rows) and the text each argument must leave in
// the columns after "id", in order.
template <class T>
struct Sample {
    T record;
    std::string id;
    std::vector<std::string> texts;
};

// The text a constructor argument leaves in its column.
template <class V>
std::string columnText(const V& value) {
    if constexpr (std::is_same<V, bool>::value)
        return value ? "t" : "f";
    else if constexpr (std::is_integral<V>::value || std::is_enum<V>::value)
        return std::to_string(value);
    else
        return value;
}

template <class T, class... Args>
Sample<T> sample(Args... args) {
    return {T(args...), dbi::DBI_UNKNOWN, {columnText(args)...}};
}

// Lookup rows take their well-known id as the first argument.
template <class T, class... Args>
Sample<T> keyedSample(int id, Args... args) {
    return {T(id, args...), std::to_string(id), {columnText(args)...}};
}

// The id is as given and each argument lands in its own column.
template <class T>
void expectConstructorFillsColumnsInOrder(const Sample<T>& made) {
    std::vector<std::string> expected{made.id}, columns;
    dbi::detail::forEachColumn<T>([&](auto member) { columns.push_back((made.record.*member).getValue()); });
    expected.insert(expected.end(), made.texts.begin(), made.texts.end());
    EXPECT_EQ(expected, columns);
}

// Schema, placement and a round trip keeping every column; lookup rows are
// created under their own id. Returns the record read back.
template <class T>
T expectSampleKept(const Sample<T>& made) {
    SCOPED_TRACE(T::m_tableName);
    expectColumnsMatchSchema<T>();
    expectConstructorFillsColumnsInOrder(made);
    if (made.record.m_id.isUnknown()) return expectRoundTrip(made.record);
    T record = made.record;
    record.createOrUpdate(dbi::Transaction::getDefaultTransaction());
    T fetched = T::get(record.m_id.getIntValue(), dbi::Transaction::getDefaultTransaction());
    EXPECT_EQ(made.record, fetched);
    return fetched;
}

template <class... T>
void expectEverySampleKept(const std::tuple<Sample<T>...>& samples) {
    std::apply([](const auto&... made) { (expectSampleKept(made), ...); }, samples);
}

// Saves rowWith(keysByRowCount[n]) n times: only the key of the single row
// is found; the others fail with DBI_NOT_FOUND naming how many rows matched.
template <class T, class Key, class MakeRow>
void expectFinderNeedsExactlyOneRow(T (*find)(Key, dbi::Transaction&), MakeRow rowWith,
                                    const std::vector<Key>& keysByRowCount) {
    dbi::Transaction& transaction = dbi::Transaction::getDefaultTransaction();
    T single = rowWith(keysByRowCount.at(1));
    single.save(transaction);
    for (std::size_t rows = 2; rows < keysByRowCount.size(); ++rows)
        for (std::size_t copy = 0; copy < rows; ++copy) rowWith(keysByRowCount[rows]).save(transaction);
    EXPECT_EQ(single, find(keysByRowCount[1], transaction));
    for (std::size_t rows = 0; rows < keysByRowCount.size(); ++rows) {
        if (rows == 1) continue;
        try {
            find(keysByRowCount[rows], transaction);
            ADD_FAILURE() << "found a key held by " << rows << " rows";
        } catch (const dbi::DBIException<dbiresult::DBI_NOT_FOUND>& error) {
            const std::string message = error.what(), ending = "returned [" + std::to_string(rows) + "] records.";
            EXPECT_EQ(ending, message.substr(message.size() - std::min(message.size(), ending.size())));
        }
    }
}

}  // namespace dbitest

#endif
