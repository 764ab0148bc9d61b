#include <sqlite3.h>

#include <algorithm>
#include <boost/thread/thread.hpp>

#include "support/Records.h"
#include "support/TestDatabase.h"

using dbitest::Gadget;
using dbitest::Owner;
using dbitest::StatementTrace;
using Statements = std::vector<std::string>;

namespace {

const std::string kCrafted = "x', 'f' ); DELETE FROM library_element; --";

class BoundRecords : public dbitest::TestDatabase {
protected:
    void SetUp() override {
        TestDatabase::SetUp();
        exec(dbitest::kGadgetSchema);
        exec("CREATE TABLE library_element (id integer PRIMARY KEY, name text)");
        exec("INSERT INTO library_element VALUES (1, 'arm')");
        exec("INSERT INTO test_owner VALUES (1, 'ann')");
        dbi::Configure::setBindValues(true);
    }
    void TearDown() override {
        dbi::Configure::setBindValues(false);
        TestDatabase::TearDown();
    }

    dbi::Transaction& autocommit() { return dbi::Transaction::getDefaultTransaction(); }

    // Rows of `sql` read through a connection of its own, cells joined by "|".
    std::vector<std::string> independently(const std::string& sql) {
        sqlite3* other = nullptr;
        EXPECT_EQ(SQLITE_OK, sqlite3_open_v2(path.c_str(), &other, SQLITE_OPEN_READONLY, nullptr));
        std::vector<std::string> rows;
        sqlite3_exec(
            other, sql.c_str(),
            [](void* out, int columns, char** cells, char**) {
                std::string row;
                for (int i = 0; i < columns; ++i) row += std::string(i ? "|" : "") + (cells[i] ? cells[i] : "NULL");
                static_cast<std::vector<std::string>*>(out)->push_back(row);
                return 0;
            },
            &rows, nullptr);
        sqlite3_close(other);
        return rows;
    }

    static bool has(const Statements& statements, const std::string& sql) {
        return std::find(statements.begin(), statements.end(), sql) != statements.end();
    }

    // A gadget with a value in every column text mode can write; `marker`
    // tells the copies apart.
    static Gadget sample(const std::string& marker) {
        Gadget gadget(marker + " plain", -3, 9000000000LL, true, "2012-03-04 05:06:07", {0, 1, 255, 10}, {}, 1);
        gadget.m_readings.load(dbi::DBI_UNKNOWN);
        return gadget;
    }
};

const char* const kDump =
    "SELECT quote(count), quote(serial), quote(enabled), quote(seen_at), quote(payload), quote(readings),"
    " quote(owner_id), quote(substr(name, 2)) FROM test_gadget ORDER BY id";

}  // namespace

TEST_F(BoundRecords, craftedAndQuotedTextsAreStoredVerbatim) {
    Owner crafted(kCrafted);
    crafted.save(autocommit());
    Owner quoted("O'Brien");
    quoted.m_id.setIntValue(9);
    quoted.createOrUpdate(autocommit());
    EXPECT_EQ(std::vector<std::string>{"O'Brien"}, independently("SELECT name FROM test_owner WHERE id = 9"));
    quoted.m_name = kCrafted + "2";
    quoted.save(autocommit());
    EXPECT_EQ((std::vector<std::string>{"1|ann", "2|" + kCrafted, "9|" + kCrafted + "2"}),
              independently("SELECT id, name FROM test_owner ORDER BY id"));
    EXPECT_EQ(std::vector<std::string>{"1|arm"}, independently("SELECT id, name FROM library_element"));
    // Finders and deletes bind their values too.
    EXPECT_EQ("2", Owner::getByName(kCrafted, autocommit()).m_id.getValue());
    Owner::deleteRow(9, autocommit());
    EXPECT_EQ(2u, independently("SELECT id FROM test_owner").size());
}

TEST_F(BoundRecords, bothModesStoreEveryColumnKindAlike) {
    const auto saveBoth = [&](Gadget& gadget) {
        gadget.save(autocommit());
        gadget.m_count = std::string("007");  // an integer text SQL reads as 7
        gadget.m_enabled = false;
        gadget.m_name = gadget.m_name.getValue() + "!";
        gadget.save(autocommit());
    };
    dbi::Configure::setBindValues(false);
    Gadget text = sample("a");
    saveBoth(text);
    dbi::Configure::setBindValues(true);
    Gadget bound = sample("b");
    saveBoth(bound);
    const std::vector<std::string> dump = independently(kDump);
    ASSERT_EQ(2u, dump.size());
    EXPECT_EQ(dump[0], dump[1]);
    EXPECT_EQ("7|9000000000|'f'|'2012-03-04 05:06:07'|'AAH/Cg==\n'|NULL|1|' plain!'", dump[1]);
}

TEST_F(BoundRecords, numberArraysAndTheTimeMarkerAreStored) {
    Gadget gadget = sample("c");
    gadget.m_readings = std::vector<short>{-1, 70};
    gadget.m_seenAt = dbi::CURRENT_TIMESTAMP;
    gadget.save(autocommit());
    const Gadget fetched = Gadget::get(gadget.m_id.getIntValue(), autocommit());
    ASSERT_EQ(2u, fetched.m_readings.size());
    EXPECT_EQ(70, static_cast<boost::shared_array<short>>(fetched.m_readings)[1]);
    EXPECT_NO_THROW(static_cast<boost::posix_time::ptime>(fetched.m_seenAt));
}

TEST_F(BoundRecords, statementsCarryPlaceholdersAndBareMarkers) {
    StatementTrace trace;
    Owner owner("bea");
    owner.save(autocommit());
    owner.m_name = std::string("bee");
    owner.save(autocommit());
    Owner::get(1, autocommit());
    Owner::getByName("ann", autocommit());
    Owner::deleteRow(2, autocommit());
    Gadget gadget;
    gadget.m_seenAt = dbi::CURRENT_TIMESTAMP;
    gadget.m_count.setIntValue(4);
    gadget.save(autocommit());
    const Statements& seen = trace.statements();
    EXPECT_TRUE(has(seen, "INSERT INTO test_owner ( name ) VALUES ( ? )"));
    EXPECT_TRUE(has(seen, "UPDATE test_owner SET id = ?, name = ? WHERE id = ?"));
    EXPECT_TRUE(has(seen, "DELETE FROM test_owner WHERE id = ?"));
    EXPECT_TRUE(has(seen, "INSERT INTO test_gadget ( count, seen_at ) VALUES ( ?, CURRENT_TIMESTAMP )"));
    const auto endsWith = [&](const std::string& tail) {
        return std::count_if(seen.begin(), seen.end(), [&](const std::string& sql) {
            return sql.size() > tail.size() && sql.compare(sql.size() - tail.size(), tail.size(), tail) == 0;
        });
    };
    EXPECT_EQ(1, endsWith(" FROM test_owner WHERE test_owner.id = ? "));
    EXPECT_EQ(1, endsWith(" FROM test_owner WHERE test_owner.name = ? "));
    for (const std::string& sql : seen) EXPECT_EQ(std::string::npos, sql.find('\'')) << sql;
    // Caller-written SQL stays text.
    trace.clear();
    Owner::deleteWhere(" WHERE name = 'zz'", autocommit());
    EXPECT_EQ(Statements{"DELETE FROM test_owner WHERE name = 'zz'"}, trace.statements());
}

TEST_F(BoundRecords, nonIntegerTextInAnIntegerColumnIsRefusedBeforeAnythingRuns) {
    Owner owner = Owner::get(1, autocommit());
    StatementTrace trace;
    Gadget gadget = sample("d");
    gadget.m_count = std::string("1 + 1");
    EXPECT_THROW(gadget.save(autocommit()), dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
    owner.m_name = std::string("changed");
    owner.m_id = std::string("1 OR 1");
    EXPECT_THROW(owner.save(autocommit(), true), dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
    EXPECT_TRUE(trace.statements().empty());
    EXPECT_EQ(std::vector<std::string>{"0"}, independently("SELECT count(*) FROM test_gadget"));
    EXPECT_EQ(std::vector<std::string>{"ann"}, independently("SELECT name FROM test_owner"));
}

TEST_F(BoundRecords, aStorageFailureInsideATransactionLosesItWhole) {
    {
        dbi::Transaction transaction(true);
        Owner("a").save(transaction);
        boost::shared_ptr<sqlite3> held = dbi::DBManager::getConnection();
        ASSERT_EQ(SQLITE_OK, sqlite3_exec(held.get(), "PRAGMA query_only = 1", nullptr, nullptr, nullptr));
        EXPECT_THROW(Owner("b").save(transaction), dbi::DBIException<dbiresult::DBI_STORAGE_ERROR>);
        EXPECT_EQ(nullptr, sqlite3_next_stmt(held.get(), nullptr));
        EXPECT_THROW(transaction.release(), dbi::DBIException<dbiresult::DBI_STORAGE_ERROR>);
    }
    EXPECT_EQ(std::vector<std::string>{"ann"}, independently("SELECT name FROM test_owner"));
}

TEST_F(BoundRecords, busySaveIsRetriedUntilTheWriterLetsGo) {
    sqlite3* writer = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(path.c_str(), &writer));
    ASSERT_EQ(SQLITE_OK, sqlite3_exec(writer, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr));
    boost::thread releaser([writer] {
        boost::this_thread::sleep_for(boost::chrono::milliseconds(2000));
        sqlite3_exec(writer, "COMMIT", nullptr, nullptr, nullptr);
    });
    StatementTrace trace;
    Owner("late").save(autocommit());
    releaser.join();
    sqlite3_close(writer);
    // Tries at 0 s, 0 s and 1 s meet the lock; the one at 3 s gets through.
    EXPECT_EQ(4, std::count(trace.statements().begin(), trace.statements().end(),
                            "INSERT INTO test_owner ( name ) VALUES ( ? )"));
    EXPECT_EQ(std::vector<std::string>{"late"}, independently("SELECT name FROM test_owner WHERE id = 2"));
}
