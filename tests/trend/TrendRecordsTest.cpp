#include <dbi/trend.h>

#include <tuple>

#include "support/RecordChecks.h"
#include "support/TestDatabase.h"

using namespace dbi::trend;
using dbitest::sample;

namespace {

class TrendDatabase : public dbitest::TestDatabase {
protected:
    void SetUp() override {
        TestDatabase::SetUp();
        loadSchema();
    }
};

TEST_F(TrendDatabase, everyRecordMatchesItsTableAndKeepsEachArgumentInItsColumn) {
    dbitest::expectEverySampleKept(std::make_tuple(
        sample<DriveStatistics>(3, "2012-03-04 05:06:07", "", "ABC123L6"),  // still mounted: no unmount time yet
        sample<TapeAlert>("HU1234567", "ABC123L6", 20, "2012-03-04 07:08:09")));
}

}  // namespace
