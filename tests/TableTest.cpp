#include <boost/date_time/posix_time/posix_time.hpp>

#include "support/Records.h"
#include "support/TestDatabase.h"

using dbitest::Gadget;
using dbitest::Owner;
using dbitest::StatementTrace;
using Statements = std::vector<std::string>;

namespace {

class TableOps : public dbitest::TestDatabase {
protected:
    void SetUp() override {
        TestDatabase::SetUp();
        exec(dbitest::kGadgetSchema);
        exec("INSERT INTO test_owner VALUES (1, 'ann')");
    }

    dbi::Transaction& autocommit() { return dbi::Transaction::getDefaultTransaction(); }
};

}  // namespace

TEST_F(TableOps, everyFieldKindSurvivesTheRoundTrip) {
    Gadget gadget("probe", -3, 9000000000LL, true, "2012-03-04 05:06:07", {0, 1, 255, 10}, {-1, 70}, 1);
    // SQLite has no ARRAY[...] literal: a modified number array breaks the
    // insert, so the array arrives as stored text instead.
    EXPECT_THROW(Gadget(gadget).save(autocommit(), false), dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
    gadget.m_readings.load("DBI_UNKNOWN");
    gadget.save(autocommit(), false);
    exec("UPDATE test_gadget SET readings = '-1,70'");
    gadget.m_readings.load("-1,70");
    const Gadget fetched = Gadget::get(gadget.m_id.getIntValue(), autocommit());
    EXPECT_EQ(gadget, fetched);
    EXPECT_EQ(9000000000LL, fetched.m_serial.getIntValue());
    EXPECT_TRUE(fetched.m_enabled.getBoolValue());
    EXPECT_EQ(boost::posix_time::time_from_string("2012-03-04 05:06:07"),
              static_cast<boost::posix_time::ptime>(fetched.m_seenAt));
    ASSERT_EQ(4u, fetched.m_payload.getLength());
    EXPECT_EQ(255, fetched.m_payload.getBytes()[2]);
    ASSERT_EQ(2u, fetched.m_readings.size());
    EXPECT_EQ(70, static_cast<boost::shared_array<short>>(fetched.m_readings)[1]);
    EXPECT_EQ(1, fetched.m_ownerId.getIntValue());
}

TEST_F(TableOps, insertListsModifiedColumnsByNameAndTakesTheNewId) {
    Owner owner("bea");
    StatementTrace trace;
    owner.save(autocommit(), false);
    EXPECT_EQ(Statements{"INSERT INTO test_owner ( name ) VALUES ( 'bea' )"}, trace.statements());
    EXPECT_EQ("2", owner.m_id.getValue());

    Gadget gadget;
    gadget.m_seenAt = dbi::CURRENT_TIMESTAMP;
    gadget.m_count.setIntValue(4);
    gadget.m_name = std::string("n");
    trace.clear();
    gadget.save(autocommit(), false);
    EXPECT_EQ(Statements{"INSERT INTO test_gadget ( count, name, seen_at ) VALUES ( 4, 'n', CURRENT_TIMESTAMP )"},
              trace.statements());
    EXPECT_NO_THROW(static_cast<boost::posix_time::ptime>(Gadget::get(1, autocommit()).m_seenAt));
}

TEST_F(TableOps, saveUpdatesARecordWithAnIdAndWritesNothingUnmodified) {
    Owner owner = Owner::get(1, autocommit());
    StatementTrace trace;
    owner.save(autocommit(), false);
    EXPECT_TRUE(trace.statements().empty());
    owner.m_name = std::string("amy");
    owner.save(autocommit(), false);
    EXPECT_EQ(Statements{"UPDATE test_owner SET name = 'amy' WHERE id = 1"}, trace.statements());
}

TEST_F(TableOps, createLooksTheIdUpFirstAndInsertsUnderItWhenMissing) {
    Owner owner("cat");
    owner.m_id.setIntValue(7);
    StatementTrace trace;
    owner.createOrUpdate(autocommit());
    ASSERT_EQ(2u, trace.statements().size());
    EXPECT_EQ(0u, trace.statements()[0].find("SELECT"));
    EXPECT_EQ("INSERT INTO test_owner ( id, name ) VALUES ( 7, 'cat' )", trace.statements()[1]);
    owner.m_name = std::string("cy");
    trace.clear();
    owner.save(autocommit(), true);
    EXPECT_EQ("UPDATE test_owner SET id = 7, name = 'cy' WHERE id = 7", trace.statements().back());
    EXPECT_EQ("cy", Owner::get(7, autocommit()).m_name.getValue());

    Owner untouched = Owner::get(7, autocommit());
    trace.clear();
    untouched.save(autocommit(), true);
    EXPECT_EQ(1u, trace.statements().size()) << "the existence check still runs";
}

TEST_F(TableOps, deletesAndEmptyingUseTheirExactTexts) {
    exec("INSERT INTO test_owner VALUES (2, 'b'), (3, 'c'), (4, 'd')");
    StatementTrace trace;
    Owner::deleteRow(2, autocommit());
    Owner::deleteWhere(" WHERE name = 'c'", autocommit());
    Owner::deleteWhere("", autocommit());
    Owner::deleteAll(autocommit());
    EXPECT_THROW(Owner::truncate(autocommit()), dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
    EXPECT_EQ((Statements{"DELETE FROM test_owner WHERE id = 2", "DELETE FROM test_owner WHERE name = 'c'",
                          "DELETE FROM test_owner", "DELETE FROM test_owner"}),
              trace.statements());
    EXPECT_EQ("0", scalar("SELECT count(*) FROM test_owner"));
}

TEST_F(TableOps, tempTableCopiesTheColumnsAndShadowsTheRealOne) {
    StatementTrace trace;
    Owner::createTempTable(autocommit());
    const std::string sql = trace.statements().at(0);
    EXPECT_TRUE(sql == "CREATE TEMP TABLE test_owner ( id integer PRIMARY KEY,name text )" ||
                sql == "CREATE TEMP TABLE test_owner ( name text,id integer PRIMARY KEY )")
        << sql;
    EXPECT_EQ("0", scalar("SELECT count(*) FROM test_owner"));
}

TEST_F(TableOps, freeGetReportsOnlyNotFoundAsFalse) {
    Owner owner("keep");
    EXPECT_FALSE(dbi::get(99, owner, autocommit()));
    EXPECT_EQ("keep", owner.m_name.getValue());
    EXPECT_TRUE(dbi::get(1, owner, autocommit()));
    EXPECT_EQ("ann", owner.m_name.getValue());
    exec("DROP TABLE test_gadget");
    Gadget gadget;
    EXPECT_THROW(dbi::get(1, gadget, autocommit()), dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
}

TEST_F(TableOps, aBrokenStatementInsideATransactionLeavesNothingBehind) {
    {
        dbi::Transaction transaction(true);
        Owner("fine").save(transaction, false);
        EXPECT_THROW(Owner("it's").save(transaction, false), dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
    }
    EXPECT_EQ("1", scalar("SELECT count(*) FROM test_owner"));
}
