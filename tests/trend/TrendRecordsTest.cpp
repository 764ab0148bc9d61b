#include <dbi/trend.h>

#include <string>
#include <tuple>

#include "support/RecordChecks.h"
#include "support/TestDatabase.h"

using namespace dbi::trend;

namespace {

dbi::Transaction& db() {
    return dbi::Transaction::getDefaultTransaction();
}

class TrendDatabase : public dbitest::TestDatabase {
protected:
    void SetUp() override {
        TestDatabase::SetUp();
        loadSchema();
    }
};

template <class T>
T sample() {
    return std::get<T>(std::make_tuple(DriveStatistics(3, "2012-03-04 05:06:07", "2012-03-04 07:08:09", "ABC123L6"),
                                       TapeAlert("HU1234567", "ABC123L6", 20, "2012-03-04 05:06:07")));
}

template <class T>
class TrendRecordTest : public TrendDatabase {};

struct TableName {
    template <class T>
    static std::string GetName(int) {
        return T::m_tableName;
    }
};

using TrendRecords = ::testing::Types<DriveStatistics, TapeAlert>;
TYPED_TEST_SUITE(TrendRecordTest, TrendRecords, TableName);

TYPED_TEST(TrendRecordTest, describesItsTable) {
    dbitest::expectColumnsMatchSchema<TypeParam>();
}
// Also shows that records equal but for their id compare unequal.
TYPED_TEST(TrendRecordTest, storesAndReadsBack) {
    dbitest::expectRoundTrip(sample<TypeParam>());
}

TEST_F(TrendDatabase, mountInProgressKeepsEmptyUnmountTimeUntilUpdated) {
    DriveStatistics mount = dbitest::expectRoundTrip(DriveStatistics(3, "2012-03-04 05:06:07", "", "ABC123L6"));
    EXPECT_EQ("", mount.m_unmountTime.getValue());

    mount.m_unmountTime = "2012-03-04 07:08:09";
    mount.save(db());
    EXPECT_EQ(mount, DriveStatistics::get(mount.m_id.getIntValue(), db()));
}

}  // namespace
