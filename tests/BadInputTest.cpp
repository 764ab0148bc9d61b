#include <sqlite3.h>

#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include <boost/date_time/posix_time/posix_time.hpp>

#include "support/Records.h"
#include "support/TestDatabase.h"

using dbitest::Gadget;

namespace {

class BadInput : public dbitest::TestDatabase {
protected:
    void SetUp() override {
        TestDatabase::SetUp();
        exec(dbitest::kGadgetSchema);
        exec("INSERT INTO test_gadget (id, name, count) VALUES (1, 'first', 5), (2, 'second', 5)");
    }

    // One value read by a connection of its own, as another process sees it.
    std::string outside(const std::string& sql) {
        sqlite3* db = nullptr;
        EXPECT_EQ(SQLITE_OK, sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr));
        sqlite3_stmt* statement = nullptr;
        std::string value = "no row";
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK &&
            sqlite3_step(statement) == SQLITE_ROW)
            value = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
        sqlite3_finalize(statement);
        sqlite3_close(db);
        return value;
    }

    std::string rowsOutside() {
        return outside("SELECT group_concat(id || ':' || name || ':' || count) FROM test_gadget");
    }

    dbi::Transaction& autocommit() { return dbi::Transaction::getDefaultTransaction(); }
};

dbi::library::Event journalRow(const std::string& rowId) {
    dbi::library::Event event;
    event.m_whichTable = std::string("library_element");
    event.m_actionColumn = std::string("INSERT");
    event.m_rowId = rowId;
    return event;
}

}  // namespace

TEST_F(BadInput, quoteInAValueFailsAsSqlErrorAndWritesNothing) {
    const std::string before = rowsOutside();
    Gadget fresh;
    fresh.m_name = std::string("O'Brien");
    EXPECT_THROW(fresh.save(autocommit()), dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
    Gadget existing = Gadget::get(1, autocommit());
    existing.m_name = std::string("it's");
    EXPECT_THROW(existing.save(autocommit()), dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
    EXPECT_EQ(before, rowsOutside());
}

TEST_F(BadInput, nulByteCannotCutAnUpdateShortOfItsWhereClause) {
    const std::string before = rowsOutside();
    Gadget existing = Gadget::get(1, autocommit());
    existing.m_count = std::string("7\0", 2);
    EXPECT_THROW(existing.save(autocommit()), dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
    Gadget fresh;
    fresh.m_name = std::string("a\0b", 3);
    EXPECT_THROW(fresh.save(autocommit()), dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
    // A bound text is refused whole too, not run up to the NUL.
    const std::string cut("UPDATE test_gadget SET count = 9 WHERE id = ?\0DELETE FROM test_gadget", 69);
    EXPECT_THROW(autocommit().execStatement(cut, {dbi::BoundValue::integer(1)}),
                 dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
    EXPECT_EQ(before, rowsOutside());
}

TEST_F(BadInput, fiveMegabyteTextIsStoredWhole) {
    Gadget big;
    big.m_name = std::string(5 * 1024 * 1024, 'x');
    big.save(autocommit());
    EXPECT_EQ(std::to_string(5 * 1024 * 1024), outside("SELECT length(name) FROM test_gadget WHERE id = 3"));
    EXPECT_EQ(big.m_name.getValue(), Gadget::get(3, autocommit()).m_name.getValue());
}

TEST_F(BadInput, garbageDateTimesThrowWithoutOverflowingInTheParser) {
    // The last three once overflowed a signed integer inside Boost's
    // conversion of a component that mixes digits with other characters.
    const std::vector<std::string> garbage = {"", "garbage", "2012-13-45 99:99:99", "2012-03-04Tnoon",
                                              std::string("2r01\0\x12" "0005628-1", 15), "3-2012-02:+20120- ",
                                              "2012-03-04 05:06:#1234567"};
    for (const std::string& text : garbage) {
        dbi::DateTimeField field("at");
        field = text;
        EXPECT_THROW((void)static_cast<boost::posix_time::ptime>(field), std::exception) << text;
    }
    dbi::DateTimeField named("at");
    named = std::string("2012-Mar-04 +5:06:07");
    EXPECT_EQ(boost::posix_time::time_from_string("2012-03-04 05:06:07"),
              static_cast<boost::posix_time::ptime>(named));
}

TEST_F(BadInput, createOrUpdateWithAnIdBeyondIntIsNotMistakenForAnotherRow) {
    Gadget far;
    far.m_id = std::string("4294967297");  // 2^32 + 1: row 1 if cut to 32 bits
    far.m_name = std::string("far");
    far.createOrUpdate(autocommit());
    EXPECT_EQ("far", outside("SELECT name FROM test_gadget WHERE id = 4294967297"));
    EXPECT_EQ("first", outside("SELECT name FROM test_gadget WHERE id = 1"));
}

TEST_F(BadInput, malformedBase64AndNumberArraysDecodeLeniently) {
    for (const char* text : {"!!!!", "QUJD\n====\n", "Q", "\n\n\n", "QUJD$$$$RUZH\n"}) {
        unsigned int length = 99;
        const boost::shared_array<unsigned char> bytes = dbi::base64_dec(text, length);
        EXPECT_LE(length, std::strlen(text)) << text;
        EXPECT_EQ('\0', bytes[length]) << text;
    }
    unsigned int count = 0;
    const boost::shared_array<int> numbers = dbi::convertStringToNumberArray<int>(" 7 ,x, -2}{", count);
    ASSERT_EQ(3u, count);
    EXPECT_EQ(7, numbers[0]);
    EXPECT_EQ(0, numbers[1]);
    EXPECT_EQ(-2, numbers[2]);
    dbi::convertStringToNumberArray<short>("{,}", count);
    EXPECT_EQ(0u, count);
}

TEST_F(BadInput, journalRowIdsWithoutDigitsGiveZeroAndHugeOnesSaturate) {
    loadSchema();
    dbi::Notify notify;
    std::vector<int> heard;
    notify.addListener(
        "library_element", [&](int rowId, const std::string&, const std::string&) { heard.push_back(rowId); },
        dbi::Notify::INSERT, "");
    // SQLite keeps an integer text beyond 64 bits as a real: 1.0e+20.
    notify.notifyListeners({journalRow("abc"), journalRow(""), journalRow("99999999999999999999"),
                            journalRow("-99999999999999999999"), journalRow("4294967297"), journalRow("12"),
                            journalRow("1.0e+20"), journalRow("-1.0e+20")});
    EXPECT_EQ((std::vector<int>{0, 0, INT_MAX, INT_MIN, INT_MAX, 12, INT_MAX, INT_MIN}), heard);
}
