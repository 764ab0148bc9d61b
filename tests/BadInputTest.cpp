#include <climits>
#include <string>
#include <vector>

#include <boost/date_time/posix_time/posix_time.hpp>

#include "support/TestDatabase.h"

namespace {

class BadInput : public dbitest::TestDatabase {};

dbi::library::Event journalRow(const std::string& rowId) {
    dbi::library::Event event;
    event.m_whichTable = std::string("library_element");
    event.m_actionColumn = std::string("INSERT");
    event.m_rowId = rowId;
    return event;
}

}  // namespace

// Stored date-times are read in the ISO, compact, space-separated and
// named-month forms; garbage throws. The last three garbage texts once
// overflowed a signed integer inside Boost's conversion of a component that
// mixes digits with other characters.
TEST_F(BadInput, dateTimesAreReadInTheirFormsAndGarbageThrowsWithoutOverflowingInTheParser) {
    const std::pair<std::string, const char*> texts[] = {
        {"2012-03-04T05:06:07", "2012-03-04 05:06:07"},         {"20120304T050607", "2012-03-04 05:06:07"},
        {"2012-03-04 05:06:07.250", "2012-03-04 05:06:07.250"}, {"2012-Mar-04 +5:06:07", "2012-03-04 05:06:07"},
        {"2040-01-02T03:04:05", "2040-01-02 03:04:05"},  // past the 32-bit time_t limit
        {"", nullptr}, {"garbage", nullptr}, {"2012-13-45 99:99:99", nullptr}, {"20121304T050607", nullptr},
        {"2012-03-04Tnoon", nullptr}, {std::string("2r01\0\x12" "0005628-1", 15), nullptr},
        {"3-2012-02:+20120- ", nullptr}, {"2012-03-04 05:06:#1234567", nullptr}};
    for (const auto& [text, time] : texts) {
        dbi::DateTimeField field("at");
        field = text;
        if (time)
            EXPECT_EQ(boost::posix_time::time_from_string(time), static_cast<boost::posix_time::ptime>(field)) << text;
        else
            EXPECT_THROW((void)static_cast<boost::posix_time::ptime>(field), std::exception) << text;
    }
}

// A bound text must hold one statement: a second one, after a NUL byte or
// a semicolon, gets the text refused whole, not run up to the first's end.
TEST_F(BadInput, boundTextsWithASecondStatementAreRefusedWhole) {
    exec("CREATE TABLE t (a integer); INSERT INTO t VALUES (1)");
    const char nul[] = "UPDATE t SET a = 9 WHERE a = ?\0DELETE FROM t";
    const std::string refused[] = {std::string(nul, sizeof nul - 1), "UPDATE t SET a = 9 WHERE a = ?; DELETE FROM t",
                                   "UPDATE t SET a = 9 WHERE a = ?; garbage"};
    for (const std::string& text : refused)
        EXPECT_THROW(autocommit().execStatement(text, {dbi::BoundValue::integer(1)}),
                     dbi::DBIException<dbiresult::DBI_SQL_ERROR>)
            << text;
    autocommit().execStatement("INSERT INTO t VALUES (?); -- a comment\n ;  ", {dbi::BoundValue::integer(2)});
    EXPECT_EQ(0, autocommit().execStatement(" -- nothing to run", dbi::BoundValues()).get<1>());
    EXPECT_EQ("1,2", outside("SELECT group_concat(a) FROM t"));
}

TEST_F(BadInput, journalRowIdsWithoutDigitsGiveZeroAndHugeOnesSaturate) {
    loadSchema();
    const std::pair<std::string, int> rows[] = {
        {"abc", 0}, {"", 0}, {"99999999999999999999", INT_MAX}, {"-99999999999999999999", INT_MIN},
        {"4294967297", INT_MAX}, {"12", 12},
        // SQLite keeps an integer text beyond 64 bits as a real: 1.0e+20.
        {"1.0e+20", INT_MAX}, {"-1.0e+20", INT_MIN},
    };
    dbi::Notify notify;
    std::vector<int> heard, expected;
    std::vector<dbi::library::Event> events;
    for (const auto& [text, rowId] : rows) {
        events.push_back(journalRow(text));
        expected.push_back(rowId);
    }
    notify.addListener(
        "library_element", [&](int rowId, const std::string&, const std::string&) { heard.push_back(rowId); },
        dbi::Notify::INSERT, "");
    notify.notifyListeners(events);
    EXPECT_EQ(expected, heard);
}
