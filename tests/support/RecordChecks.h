#ifndef DBI_TESTS_RECORDCHECKS_H
#define DBI_TESTS_RECORDCHECKS_H

#include <gtest/gtest.h>
#include <strings.h>

#include <string>
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

}  // namespace dbitest

#endif
