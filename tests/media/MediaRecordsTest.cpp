#include <dbi/media.h>

#include <string>
#include <tuple>
#include <vector>

#include "support/RecordChecks.h"
#include "support/TestDatabase.h"

namespace media = dbi::media;
using dbitest::Sample;
using dbitest::sample;

namespace {

// Distinct values per record, so that two arguments stored in each other's
// columns show; several exceed 32 bits. Parent rows: cartridges 1-3,
// session 1, session result 1.
auto samples() {
    const char* date = "2012-03-04 05:06:07";
    return std::make_tuple(
        sample<media::Media>("HUM123L5", 5, "Maker", "", true),  // an unknown manufacture date stays empty
        sample<media::Session>(date, "2012-03-05 06:07:08", 1, 2, 3, 4, 5, 6, true, false),
        sample<media::SessionDrive>(1, 7, 1, true, "blade-2", "DRV0042", 55, 3),
        sample<media::SessionResults>(1029, "HUM123L5", 1, 1, "drive-4", date, 2, 3, 4, 5, 1001, 6, 1002, 9),
        sample<media::SessionResultsMedia>(7),  // no session 7: a plain integer, not a reference
        sample<media::Settings>("x", 5),
        sample<media::ApplicationData>(1, "Vendor", "Backup", "4.2", "weekly", date, 3, "HUM123L5", "host-a", "pool-b"),
        sample<media::CartridgeStatus>(1, 4294967299LL, 2, 3, 8589934597LL),
        sample<media::DynamicData>(1, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24),
        sample<media::EODInformation>(1, 2, 3, 5000000000LL, 6000000000LL, 7, 8, 9),
        sample<media::ErrorUsage>(1, 1, "Maker", "DRV0042", 6, 4660, 2, 4, 7000000000LL, 8000000000LL, 10, 11, 12, 13,
                                  14, 15, 16, 17, 18, 19),
        sample<media::UsageInformation>(1, 48, "Maker", "DRV0042", 2, 4, 7000000000LL, 8000000000LL, 10, 11, 12, 13, 14,
                                        15),
        sample<media::WrapEntry>(1, 2, 3, 4, 5, 6, 7, 8, 9),
        sample<media::WritePass>(1, 10, 11, 12, 13, 14, 15, 16, 17));
}

class MediaDatabase : public dbitest::TestDatabase {
protected:
    void SetUp() override {
        TestDatabase::SetUp();
        loadSchema();
        exec(
            "INSERT INTO media_media (id) VALUES (1), (2), (3);"
            "INSERT INTO media_session (id) VALUES (1);"
            "INSERT INTO media_sessionresults (id, session_id, media_id) VALUES (1, 1, 1);");
    }
};

template <class T>
class MediaIdFinder : public MediaDatabase {};
using MediaIdFinders =
    ::testing::Types<media::ApplicationData, media::CartridgeStatus, media::EODInformation, media::WritePass>;
TYPED_TEST_SUITE(MediaIdFinder, MediaIdFinders);

}  // namespace

TEST_F(MediaDatabase, everyRecordMatchesItsTableAndKeepsEachArgumentInItsColumn) {
    dbitest::expectEverySampleKept(samples());
}

TYPED_TEST(MediaIdFinder, findsTheCartridgesRowOnlyWhenItIsTheOnlyOne) {
    auto rowFor = [](int mediaId) {
        TypeParam row = std::get<Sample<TypeParam>>(samples()).record;
        row.m_mediaId.setIntValue(mediaId);
        return row;
    };
    dbitest::expectFinderNeedsExactlyOneRow(&TypeParam::getByMediaId, rowFor, std::vector<int>{4, 1, 2, 3});
}

TEST_F(MediaDatabase, settingsFindTheirNameOnlyWhenItIsHeldByOneRow) {
    auto rowFor = [](const std::string& name) { return media::Settings(name, 5); };
    dbitest::expectFinderNeedsExactlyOneRow(&media::Settings::getByName, rowFor,
                                            std::vector<std::string>{"missing", "x", "twice", "thrice"});
}
