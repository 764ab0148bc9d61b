#include <regex>

#include "support/Records.h"
#include "support/TestDatabase.h"

using dbitest::Owner;

namespace {

bool matches(const std::string& text, const std::string& pattern) {
    return std::regex_match(text, std::regex(pattern));
}

}  // namespace

TEST(QueryText, withoutConditionsSelectsEveryColumn) {
    const std::string sql = dbi::Query<Owner>().getQuery(false);
    EXPECT_TRUE(matches(sql, "SELECT test_owner\\.(id|name), test_owner\\.(id|name) FROM test_owner")) << sql;
    EXPECT_NE(sql.find("test_owner.id"), std::string::npos);
    EXPECT_NE(sql.find("test_owner.name"), std::string::npos);
}

TEST(QueryText, filtersOrderingAndPagingComeInTheirOrder) {
    dbi::Query<Owner> query;
    query.equals(Owner::id, 1, Owner::m_tableName)
        .equals(Owner::name, std::string("b"), Owner::m_tableName)
        .orderBy("a")
        .orderBy("b")
        .setDescending(true)
        .setLimit(5)
        .setOffset(2)
        .setJoin("other", "o");
    std::ostringstream tail;
    query.getFilters(tail, false);
    EXPECT_EQ(", other AS o WHERE test_owner.id = '1' AND test_owner.name = 'b'  ORDER BY  a , b  DESC  LIMIT 5 OFFSET 2",
              tail.str());
}

TEST(QueryText, groupByItemsReplaceTheColumnListAndZeroPagingIsOmitted) {
    dbi::Query<Owner> query;
    query.addGroupBy("name").setOffset(0).setLimit(0).setFlag(true);
    EXPECT_EQ("SELECTname FROM test_owner GROUP BY name", query.getQuery(false));
    dbi::Query<Owner> negative;
    negative.setOffset(-3);
    std::ostringstream tail;
    negative.getFilters(tail, true);
    EXPECT_EQ("", tail.str());
}

class QueryRows : public dbitest::TestDatabase {
protected:
    void SetUp() override {
        TestDatabase::SetUp();
        exec(dbitest::kGadgetSchema);
        exec("INSERT INTO test_owner VALUES (1, 'ann'), (2, 'bob'), (3, 'bob'), (4, NULL)");
    }
};

TEST_F(QueryRows, getReturnsTheSingleMatchOrThrowsNotFoundWithTheCount) {
    EXPECT_EQ("ann", Owner::getByName("ann", dbi::Transaction::getDefaultTransaction()).m_name.getValue());
    for (const std::string& name : {std::string("bob"), std::string("carl")}) {
        try {
            Owner::getByName(name, dbi::Transaction::getDefaultTransaction());
            FAIL() << name;
        } catch (const dbi::DBIException<dbiresult::DBI_NOT_FOUND>& e) {
            const std::string count = name == "bob" ? "2" : "0";
            EXPECT_TRUE(matches(e.what(), "Query: \\| SELECT .* FROM test_owner WHERE test_owner.name = '" + name +
                                              "'  \\| returned \\[" + count + "\\] records\\."))
                << e.what();
        }
    }
}

TEST_F(QueryRows, executeFillsRecordsByColumnNameAndKeepsNullUnknown) {
    std::vector<Owner> owners;
    dbi::Query<Owner>().orderBy(Owner::id).execute(owners, dbi::Transaction::getDefaultTransaction());
    ASSERT_EQ(4u, owners.size());
    EXPECT_EQ("bob", owners[1].m_name.getValue());
    EXPECT_FALSE(owners[1].m_name.isModified());
    EXPECT_TRUE(owners[3].m_name.isUnknown());
}

TEST_F(QueryRows, resultColumnsWithOrWithoutTablePrefixFillTheSameField) {
    dbi::ResultTuple result = exec("SELECT test_owner.id AS \"test_owner.id\", name, 'x' AS extra FROM test_owner "
                                   "WHERE id = 2");
    std::vector<Owner> owners;
    dbi::Query<Owner>().selectFrom(result, result.get<1>(), owners, dbi::Transaction::getDefaultTransaction());
    ASSERT_EQ(1u, owners.size());
    EXPECT_EQ("2", owners[0].m_id.getValue());
    EXPECT_EQ("bob", owners[0].m_name.getValue());
}

TEST_F(QueryRows, aQuoteInsideAValueBreaksTheStatement) {
    EXPECT_THROW(Owner::getByName("o'neil", dbi::Transaction::getDefaultTransaction()),
                 dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
}

TEST(QueryText, comparedValuesAreWrittenAsAStreamWritesThem) {
    auto clause = [](auto value) {
        dbi::Query<Owner> query;
        query.equals("c", value, "t");
        std::ostringstream tail;
        query.getFilters(tail, false);
        return tail.str();
    };
    EXPECT_EQ(" WHERE t.c = '-42' ", clause(-42));
    EXPECT_EQ(" WHERE t.c = '9000000000' ", clause(9000000000LL));
    EXPECT_EQ(" WHERE t.c = '4294967295' ", clause(4294967295u));
    EXPECT_EQ(" WHERE t.c = '1' ", clause(true));
    EXPECT_EQ(" WHERE t.c = 'x' ", clause('x'));
    EXPECT_EQ(" WHERE t.c = '1.5' ", clause(1.5));
    EXPECT_EQ(" WHERE t.c = 'ann' ", clause("ann"));
    EXPECT_EQ(" WHERE t.c = 't' ", clause(dbi::sqlite_bool(true)));
}

TEST_F(QueryRows, fetchedRecordsAreNeitherModifiedNorStaleAndCompareEqualToTheirCopies) {
    std::vector<Owner> owners;
    dbi::Query<Owner>().equals(Owner::id, 2, Owner::m_tableName).execute(owners, dbi::Transaction::getDefaultTransaction());
    ASSERT_EQ(1u, owners.size());
    const dbi::Field* fields[] = {&owners[0].m_id, &owners[0].m_name};
    for (const dbi::Field* field : fields) {
        EXPECT_FALSE(field->isModified()) << field->getName();
        EXPECT_FALSE(field->isStale()) << field->getName();
    }
    EXPECT_EQ(owners[0], Owner(owners[0]));
}
