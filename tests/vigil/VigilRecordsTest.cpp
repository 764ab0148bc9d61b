#include <dbi/vigil.h>

#include <string>
#include <tuple>
#include <vector>

#include "support/RecordChecks.h"
#include "support/TestDatabase.h"

using namespace dbi::vigil;
using dbitest::sample;

namespace {

// Distinct values per record, so that swapped arguments show. A scan that
// is not due has an empty moment, which must stay empty.
auto samples() {
    const char* march = "2012-03-04 05:06:07";
    const char* april = "2012-04-05 06:07:08";
    const char* may = "2012-05-06 07:08:09";
    return std::make_tuple(sample<ActionType>("mail", "1.2", "mails the operator"),
                           sample<Action>("notify", 1, "alpha", 25, "beta", 587),
                           sample<Policy>(2, 1, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, true, false),
                           sample<Media>("SN1", "VT0001L6", 2, 3, march, april, may),
                           sample<MediaPolicy>("SN2", "VT0002L6", "archive", 1, 2, 3, march, april, may),
                           sample<ScanCandidate>("VT0003L6", 2, 7, 1042, 5), sample<NextScan>(""),
                           sample<ConcurrentRemaining>(4), sample<Settings>("scan_window", 90));
}

// The parent rows the samples point at (type 1, action 1, policy 1).
// Partitions are referred to by number or name only.
class VigilDatabase : public dbitest::TestDatabase {
protected:
    void SetUp() override {
        TestDatabase::SetUp();
        loadSchema();
        exec(
            "INSERT INTO vigil_actiontype (id, name) VALUES (1, 'snmp');"
            "INSERT INTO vigil_action (id, name, action_type_id) VALUES (1, 'trap', 1);"
            "INSERT INTO vigil_policy (id, partition, action_id) VALUES (1, 1, 1);");
    }
};

TEST_F(VigilDatabase, everyRecordMatchesItsTableAndKeepsEachArgumentInItsColumn) {
    dbitest::expectEverySampleKept(samples());
}

TEST_F(VigilDatabase, settingsFindTheirNameOnlyWhenItIsHeldByOneRow) {
    auto rowFor = [](const std::string& name) { return Settings(name, 30); };
    dbitest::expectFinderNeedsExactlyOneRow(&Settings::getByName, rowFor,
                                            std::vector<std::string>{"absent", "window", "twice"});
}

}  // namespace
