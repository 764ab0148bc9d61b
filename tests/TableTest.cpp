#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/thread/thread.hpp>
#include <functional>

#include "support/Records.h"
#include "support/TestDatabase.h"

using dbitest::Gadget;
using dbitest::Owner;
using dbitest::Statements;
using dbitest::StatementTrace;

namespace {

class Records : public dbitest::BothModes {
protected:
    void SetUp() override {
        BothModes::SetUp();
        exec(dbitest::kGadgetSchema);
        exec("INSERT INTO test_owner VALUES (1, 'ann')");
    }

    // How a value appears in a statement the library writes.
    std::string value(const std::string& text) const { return bound() ? "?" : text; }
};
DBITEST_IN_BOTH_MODES(Records);

}  // namespace

TEST_P(Records, everyFieldKindSurvivesTheRoundTripAndIsStoredAlikeInBothModes) {
    Gadget gadget("probe", -3, 9000000000LL, true, "2012-03-04 05:06:07", {0, 1, 255, 10}, {-1, 70}, 1);
    if (bound()) {
        gadget.save(autocommit(), false);
    } else {
        // SQLite has no ARRAY[...] literal: a modified number array breaks
        // the text insert, so the array arrives as stored text instead.
        EXPECT_THROW(Gadget(gadget).save(autocommit(), false), dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
        gadget.m_readings.load(dbi::DBI_UNKNOWN);
        gadget.save(autocommit(), false);
        exec("UPDATE test_gadget SET readings = '-1,70'");
        gadget.m_readings.load("-1,70");
    }
    Gadget fetched = Gadget::get(gadget.m_id.getIntValue(), autocommit());
    EXPECT_EQ(gadget, fetched);

    fetched.m_count = std::string("007");  // an integer text SQL reads as 7
    fetched.m_enabled = false;
    fetched.m_name = std::string("probe!");
    fetched.save(autocommit());
    EXPECT_EQ("7|9000000000|'f'|'2012-03-04 05:06:07'|'AAH/Cg==\n'|'-1,70'|1|'probe!'",
              outside("SELECT quote(count), quote(serial), quote(enabled), quote(seen_at), quote(payload),"
                      " quote(readings), quote(owner_id), quote(name) FROM test_gadget"));
}

// What each operation writes: only modified columns, bare markers when
// bound, SQL values and caller-written clauses as they are; saving with
// create looks the id up first ("SELECT" stands for any query).
TEST_P(Records, operationsWriteOnlyModifiedColumnsInTheirExactTexts) {
    exec("INSERT INTO test_owner VALUES (2, 'b'), (3, 'c')");
    Owner fresh("bea"), keyed("cat"), stored = Owner::get(2, autocommit()), untouched = Owner::get(3, autocommit());
    keyed.m_id.setIntValue(7);
    Gadget gadget;
    gadget.m_seenAt = dbi::CURRENT_TIMESTAMP;
    gadget.m_count.setIntValue(4);
    gadget.m_name = std::string("n");
    const struct {
        std::function<void()> operation;
        Statements written;
    } operations[] = {
        {[&] { fresh.save(autocommit(), false); },
         {"INSERT INTO test_owner ( name ) VALUES ( " + value("'bea'") + " )"}},
        {[&] { stored.save(autocommit(), false); }, {}},
        {[&] {
             stored.m_name = std::string("amy");
             stored.save(autocommit(), false);
         },
         {"UPDATE test_owner SET name = " + value("'amy'") + " WHERE id = " + value("2")}},
        {[&] { gadget.save(autocommit(), false); },
         {"INSERT INTO test_gadget ( count, name, seen_at ) VALUES ( " + value("4") + ", " + value("'n'") +
          ", CURRENT_TIMESTAMP )"}},
        {[&] { keyed.createOrUpdate(autocommit()); },
         {"SELECT", "INSERT INTO test_owner ( id, name ) VALUES ( " + value("7") + ", " + value("'cat'") + " )"}},
        {[&] {
             keyed.m_name = std::string("cy");
             keyed.save(autocommit(), true);
         },
         {"SELECT",
          "UPDATE test_owner SET id = " + value("7") + ", name = " + value("'cy'") + " WHERE id = " + value("7")}},
        {[&] { untouched.save(autocommit(), true); }, {"SELECT"}},
        {[&] { Owner::deleteRow(2, autocommit()); }, {"DELETE FROM test_owner WHERE id = " + value("2")}},
        {[&] { Owner::deleteWhere(" WHERE name = 'c'", autocommit()); }, {"DELETE FROM test_owner WHERE name = 'c'"}},
        {[&] { Owner::deleteWhere("", autocommit()); }, {"DELETE FROM test_owner"}},
        {[&] { Owner::deleteAll(autocommit()); }, {"DELETE FROM test_owner"}},
    };
    for (const auto& row : operations) {
        StatementTrace trace;
        row.operation();
        Statements seen = trace.statements();
        for (std::string& sql : seen)
            if (sql.compare(0, 6, "SELECT") == 0) sql = "SELECT";
        EXPECT_EQ(row.written, seen);
    }
    EXPECT_EQ("4", fresh.m_id.getValue());
    EXPECT_THROW(Owner::truncate(autocommit()), dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
    EXPECT_EQ("0", outside("SELECT count(*) FROM test_owner"));
    EXPECT_NO_THROW(static_cast<boost::posix_time::ptime>(Gadget::get(1, autocommit()).m_seenAt));
}

// 2^32 + 1 is row 1 if cut to 32 bits.
TEST_P(Records, createOrUpdateWithAnIdBeyondIntIsNotMistakenForAnotherRow) {
    Owner far("far");
    far.m_id = std::string("4294967297");
    far.createOrUpdate(autocommit());
    EXPECT_EQ("1|ann,4294967297|far", outside("SELECT id, name FROM test_owner ORDER BY id"));
}

TEST_P(Records, quotedAndCraftedTextsBreakOnlyTextModeAndNeverWriteHalf) {
    const std::string texts[] = {"O'Brien", "x', 'f' ); DELETE FROM test_gadget; --"};
    exec("INSERT INTO test_gadget (id, name) VALUES (1, 'kept')");
    for (const std::string& text : texts) {
        SCOPED_TRACE(text);
        dbi::Transaction transaction(true);
        Owner fresh(text), keyed(text), existing = Owner::get(1, transaction);
        existing.m_name = text;
        keyed.m_id.setIntValue(9);
        if (bound()) {
            fresh.save(transaction);
            EXPECT_EQ(fresh, Owner::getByName(text, transaction));
            keyed.createOrUpdate(transaction);
            Owner::deleteRow(9, transaction);
            existing.save(transaction);
        } else {
            EXPECT_THROW(fresh.save(transaction), dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
            EXPECT_THROW(keyed.createOrUpdate(transaction), dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
            EXPECT_THROW(existing.save(transaction), dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
            EXPECT_THROW(Owner::getByName(text, transaction), dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
        }
        transaction.release();
    }
    EXPECT_EQ(bound() ? "1|" + texts[1] + ",2|" + texts[0] + ",3|" + texts[1] : "1|ann",
              outside("SELECT id, name FROM test_owner ORDER BY id"));
    EXPECT_EQ("kept", outside("SELECT name FROM test_gadget"));
}

// A NUL byte must not cut a statement short, e.g. an update before its
// where clause: text mode refuses it, bound mode refuses it in an integer
// before anything runs and stores a text whole, as it does 5 MB texts.
TEST_P(Records, nulBytesAndFiveMegabyteTextsAreStoredWholeOrRefusedButNeverCut) {
    exec("INSERT INTO test_gadget (id, name, count) VALUES (1, 'first', 5)");
    Gadget changed = Gadget::get(1, autocommit());
    changed.m_name = std::string("changed");
    changed.m_count = std::string("7\0", 2);
    StatementTrace trace;
    EXPECT_THROW(changed.save(autocommit(), false), dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
    EXPECT_TRUE(!bound() || trace.statements().empty());
    EXPECT_EQ("1|first|5", outside("SELECT id, name, count FROM test_gadget"));
    for (const std::string& text : {std::string("a\0b", 3), std::string(5 * 1024 * 1024, 'x')}) {
        SCOPED_TRACE(text.size());
        Gadget fresh;
        fresh.m_name = text;
        if (!bound() && text.size() == 3) {
            EXPECT_THROW(fresh.save(autocommit()), dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
            continue;
        }
        fresh.save(autocommit());
        EXPECT_EQ(std::to_string(text.size()),
                  outside("SELECT length(CAST(name AS blob)) FROM test_gadget WHERE id = " + fresh.m_id.getValue()));
        // Records are read from the statement, so the NUL comes back too.
        EXPECT_EQ(text, Gadget::get(fresh.m_id.getIntValue(), autocommit()).m_name.getValue());
    }
    EXPECT_EQ(bound() ? "3" : "2", outside("SELECT count(*) FROM test_gadget"));
}

TEST_P(Records, queriesAndFreeGetFillRecordsByColumnNameAndLeaveThemUnmodified) {
    exec("INSERT INTO test_owner VALUES (2, 'bob'), (3, NULL)");
    std::vector<Owner> owners;
    dbi::Query<Owner>().orderBy(Owner::id).execute(owners, autocommit());
    ASSERT_EQ(3u, owners.size());
    EXPECT_EQ("bob", owners[1].m_name.getValue());
    EXPECT_FALSE(owners[1].m_name.isModified());
    EXPECT_FALSE(owners[1].m_name.isStale());
    EXPECT_TRUE(owners[2].m_name.isUnknown());
    EXPECT_EQ(owners[1], dbi::Query<Owner>().equals(Owner::id, 2, Owner::m_tableName).get(autocommit()));
    // Result columns with or without the table's prefix fill the same field.
    dbi::ResultTuple result =
        exec("SELECT test_owner.id AS \"test_owner.id\", name, 'x' AS extra FROM test_owner WHERE id = 2");
    owners.clear();
    dbi::Query<Owner>().selectFrom(result, result.get<1>(), owners, autocommit());
    ASSERT_EQ(1u, owners.size());
    EXPECT_EQ(Owner::get(2, autocommit()), owners[0]);
    owners.clear();
    dbi::Query<Owner>().orderBy(Owner::id).setDescending(true).setLimit(1).setOffset(1).execute(owners, autocommit());
    EXPECT_EQ("2", owners.at(0).m_id.getValue());
    // An unsigned value beyond the signed range compares as its own number.
    owners.clear();
    dbi::Query<Owner>().compare(Owner::id, "<", ULLONG_MAX, Owner::m_tableName).execute(owners, autocommit());
    EXPECT_EQ(3u, owners.size());
    // The free get fills a record only when it finds the row.
    Owner owner("keep");
    EXPECT_FALSE(dbi::get(99, owner, autocommit()));
    EXPECT_EQ("keep", owner.m_name.getValue());
    EXPECT_TRUE(dbi::get(1, owner, autocommit()));
    EXPECT_EQ("ann", owner.m_name.getValue());
    exec("DROP TABLE test_gadget");
    Gadget gadget;
    EXPECT_THROW(dbi::get(1, gadget, autocommit()), dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
}

TEST(Record, fieldMapIsBuiltOnceUnderConcurrentFirstUse) {
    std::vector<boost::thread> threads;
    std::vector<std::size_t> sizes(8);
    for (std::size_t i = 0; i < sizes.size(); ++i)
        threads.emplace_back([&sizes, i] { sizes[i] = Owner::getFieldMap().size(); });
    for (boost::thread& thread : threads) thread.join();
    for (std::size_t size : sizes) EXPECT_EQ(Owner::columnCount, size);
}

// Awkward values read into the same records in both modes and through the
// text table; written back in this mode, the copies store what was read.
TEST_P(Records, recordsReadEitherWayAndTheirCopiesHoldTheSameValues) {
    exec("INSERT INTO test_gadget (id, name, count, serial, enabled, seen_at, payload, owner_id) VALUES"
         " (1, 'caf\xc3\xa9', 0, 9223372036854775807, 't', 2.5, '', 1),"
         " (2, '', -1, -9223372036854775807, NULL, 1e300, 'QUI=', NULL),"
         " (3, 'DBI_UNKNOWN', NULL, -9223372036854775808, 0.1, 'CURRENT_TIMESTAMP', x'', NULL)");
    dbi::Query<Gadget> all;
    all.orderBy("id");
    std::vector<Gadget> read[2], fromTable;
    for (bool bind : {false, true}) {
        dbi::Configure::setBindValues(bind);
        all.execute(read[bind], autocommit());
    }
    dbi::Configure::setBindValues(bound());
    const dbi::ResultTuple table = autocommit().execStatement(all.getQuery(false));
    all.selectFrom(table, table.get<1>(), fromTable, autocommit());
    ASSERT_EQ(3u, read[0].size());
    EXPECT_EQ(read[0], read[1]);
    EXPECT_EQ(read[0], fromTable);
    EXPECT_EQ("-9223372036854775808|0.1|CURRENT_TIMESTAMP",
              read[1][2].m_serial.getValue() + "|" + read[1][2].m_enabled.getValue() + "|" +
                  read[1][2].m_seenAt.getValue());
    EXPECT_TRUE(read[1][2].m_count.isUnknown() && !read[1][2].m_name.isModified());

    for (int row : {0, 1}) {
        Gadget copy(read[0][row]);
        for (auto& entry : Gadget::getFieldMap()) {
            dbi::Field& field = entry.second(&copy);
            const std::string value = field.getValue() + (field.getName() == std::string("id") ? "0" : "");
            if (field.isUnknown()) continue;
            field = value + "~";
            field = value;  // modified, so save() writes it
        }
        copy.save(autocommit(), true);
    }
    const std::string dump = "SELECT group_concat(quote(name) || quote(count) || quote(serial) || quote(enabled) ||"
                             " quote(seen_at) || quote(payload) || quote(owner_id), '|') FROM test_gadget WHERE id";
    EXPECT_EQ(outside(dump + " IN (1, 2)"), outside(dump + " IN (10, 20)"));
}
