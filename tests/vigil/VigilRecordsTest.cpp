#include <dbi/vigil.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/RecordChecks.h"
#include "support/TestDatabase.h"

using namespace dbi::vigil;

namespace {

// A record made by its full constructor, and the value texts that must
// land in its columns, in column order after "id".
template <class T>
struct Sample;

template <>
struct Sample<ActionType> {
    static ActionType make() { return ActionType("mail", "1.2", "mails the operator"); }
    static std::vector<std::string> texts() { return {"mail", "1.2", "mails the operator"}; }
};

template <>
struct Sample<Action> {
    static Action make() { return Action("notify", 1, "alpha", 25, "beta", 587); }
    static std::vector<std::string> texts() { return {"notify", "1", "alpha", "25", "beta", "587"}; }
};

template <>
struct Sample<Policy> {
    static Policy make() { return Policy(2, 1, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, true, false); }
    static std::vector<std::string> texts() {
        return {"2", "1", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12", "13", "14", "t", "f"};
    }
};

template <>
struct Sample<Media> {
    static Media make() {
        return Media("SN1", "VT0001L6", 2, 3, "2012-03-04 05:06:07", "2012-04-05 06:07:08", "2012-05-06 07:08:09");
    }
    static std::vector<std::string> texts() {
        return {"SN1", "VT0001L6", "2", "3", "2012-03-04 05:06:07", "2012-04-05 06:07:08", "2012-05-06 07:08:09"};
    }
};

template <>
struct Sample<MediaPolicy> {
    static MediaPolicy make() {
        return MediaPolicy("SN2", "VT0002L6", "archive", 1, 2, 3, "2012-03-04 05:06:07", "2012-04-05 06:07:08",
                           "2012-05-06 07:08:09");
    }
    static std::vector<std::string> texts() {
        return {"SN2", "VT0002L6", "archive", "1", "2", "3",
                "2012-03-04 05:06:07", "2012-04-05 06:07:08", "2012-05-06 07:08:09"};
    }
};

template <>
struct Sample<ScanCandidate> {
    static ScanCandidate make() { return ScanCandidate("VT0003L6", 2, 7, 1042, 5); }
    static std::vector<std::string> texts() { return {"VT0003L6", "2", "7", "1042", "5"}; }
};

template <>
struct Sample<NextScan> {
    static NextScan make() { return NextScan("2012-03-04 05:06:07"); }
    static std::vector<std::string> texts() { return {"2012-03-04 05:06:07"}; }
};

template <>
struct Sample<ConcurrentRemaining> {
    static ConcurrentRemaining make() { return ConcurrentRemaining(4); }
    static std::vector<std::string> texts() { return {"4"}; }
};

template <>
struct Sample<Settings> {
    static Settings make() { return Settings("scan_window", 90); }
    static std::vector<std::string> texts() { return {"scan_window", "90"}; }
};

template <class T>
std::vector<std::string> columnTexts(const T& record) {
    std::vector<std::string> texts;
    dbi::detail::forEachColumn<T>([&](auto member) { texts.push_back((record.*member).getValue()); });
    return texts;
}

// The schema with the parent rows the foreign keys of the samples point at
// (type 1, action 1, policy 1). Partitions are referred to by number or
// name only, so no partition rows are needed.
class VigilDatabase : public dbitest::TestDatabase {
protected:
    void SetUp() override {
        TestDatabase::SetUp();
        loadSchema();
        exec("INSERT INTO vigil_actiontype (id, name) VALUES (1, 'snmp');"
             "INSERT INTO vigil_action (id, name, action_type_id) VALUES (1, 'trap', 1);"
             "INSERT INTO vigil_policy (id, partition, action_id) VALUES (1, 1, 1);");
    }
};

template <class T>
class VigilRecord : public VigilDatabase {};

using VigilRecords =
    ::testing::Types<ActionType, Action, Policy, Media, MediaPolicy, ScanCandidate, NextScan, ConcurrentRemaining, Settings>;
TYPED_TEST_SUITE(VigilRecord, VigilRecords);

}  // namespace

TYPED_TEST(VigilRecord, columnsMatchTheSchema) { dbitest::expectColumnsMatchSchema<TypeParam>(); }

TYPED_TEST(VigilRecord, fullConstructorFillsEveryColumnButIdInOrder) {
    std::vector<std::string> expected{dbi::DBI_UNKNOWN};
    for (const std::string& text : Sample<TypeParam>::texts()) expected.push_back(text);
    EXPECT_EQ(expected, columnTexts(Sample<TypeParam>::make()));
}

TYPED_TEST(VigilRecord, roundTripKeepsEveryColumn) { dbitest::expectRoundTrip(Sample<TypeParam>::make()); }

TEST_F(VigilDatabase, nextScanFromEmptyTextKeepsMomentEmpty) {
    const NextScan fetched = dbitest::expectRoundTrip(NextScan(""));
    EXPECT_EQ("", fetched.m_moment.getValue());
}

TEST_F(VigilDatabase, settingsByNameFindsTheSingleRowOnly) {
    exec("INSERT INTO vigil_settings (name, value) VALUES ('window', 30), ('twice', 1), ('twice', 2)");
    dbi::Transaction& transaction = dbi::Transaction::getDefaultTransaction();
    EXPECT_EQ(30, Settings::getByName("window", transaction).m_value.getIntValue());
    EXPECT_THROW(Settings::getByName("absent", transaction), dbi::DBIException<dbiresult::DBI_NOT_FOUND>);
    try {
        Settings::getByName("twice", transaction);
        FAIL() << "a duplicated name must not be found";
    } catch (const dbi::DBIException<dbiresult::DBI_NOT_FOUND>& e) {
        const std::string message = e.what();
        const std::string tail = "returned [2] records.";
        EXPECT_EQ(tail, message.substr(message.size() - std::min(message.size(), tail.size()))) << message;
    }
}
