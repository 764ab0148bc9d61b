#include <dbi/media.h>

#include <algorithm>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "support/RecordChecks.h"
#include "support/TestDatabase.h"

namespace media = dbi::media;

namespace {

// A record made by its full constructor, with the text each argument must
// leave in its column (the columns after "id", in order).
template <class T>
struct Sample {
    T record;
    std::vector<std::string> texts;
};

std::string text(const char* value) {
    return value;
}
std::string text(bool value) {
    return value ? "t" : "f";
}
std::string text(int value) {
    return std::to_string(value);
}
std::string text(long long value) {
    return std::to_string(value);
}

template <class T, class... Args>
Sample<T> sample(Args... args) {
    return {T(args...), {text(args)...}};
}

// Distinct values per record, so that two arguments stored in each other's
// columns show. Parent rows: cartridges 1-3, session 1, session result 1.
auto samples() {
    const char* date = "2012-03-04 05:06:07";
    return std::make_tuple(
        sample<media::Media>("HUM123L5", 5, "Maker", date, true),
        sample<media::Session>(date, "2012-03-05 06:07:08", 1, 2, 3, 4, 5, 6, true, false),
        sample<media::SessionDrive>(1, 7, 1, true, "blade-2", "DRV0042", 55, 3),
        sample<media::SessionResults>(1029, "HUM123L5", 1, 1, "drive-4", date, 2, 3, 4, 5, 1001, 6, 1002, 9),
        sample<media::SessionResultsMedia>(7),  // no session 7: a plain integer, not a reference
        sample<media::Settings>("x", 5),
        sample<media::ApplicationData>(1, "Vendor", "Backup", "4.2", "weekly", date, 3, "HUM123L5", "host-a", "pool-b"),
        sample<media::CartridgeStatus>(1, 4294967299LL, 2, 3, 8589934597LL),  // beyond 32 bits
        sample<media::DynamicData>(1, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24),
        sample<media::EODInformation>(1, 2, 3, 5000000000LL, 6000000000LL, 7, 8, 9),
        sample<media::ErrorUsage>(1, 1, "Maker", "DRV0042", 6, 4660, 2, 4, 7000000000LL, 8000000000LL, 10, 11, 12, 13,
                                  14, 15, 16, 17, 18, 19),
        sample<media::UsageInformation>(1, 48, "Maker", "DRV0042", 2, 4, 7000000000LL, 8000000000LL, 10, 11, 12, 13, 14,
                                        15),
        sample<media::WrapEntry>(1, 2, 3, 4, 5, 6, 7, 8, 9),
        sample<media::WritePass>(1, 10, 11, 12, 13, 14, 15, 16, 17));
}

template <class T>
Sample<T> sampleOf() {
    return std::get<Sample<T>>(samples());
}

// Value texts of a record's columns after "id", in column order.
template <class T>
std::vector<std::string> valueTexts(const T& record) {
    std::vector<std::string> texts;
    dbi::detail::forEachColumn<T>([&](auto member) { texts.push_back((record.*member).getValue()); });
    texts.erase(texts.begin());
    return texts;
}

void expectNotFoundCounting(std::size_t rows, const std::function<void()>& find) {
    try {
        find();
        ADD_FAILURE() << "a record was found";
    } catch (const dbi::NotFoundError& error) {
        const std::string message = error.what();
        const std::string ending = "returned [" + std::to_string(rows) + "] records.";
        EXPECT_EQ(ending, message.substr(message.size() - std::min(message.size(), ending.size())));
    }
}

// keysByRowCount[n] is saved in n rows: only the key of a single row is
// found, and the others fail naming how many rows they matched.
template <class T, class Key, class MakeRow>
void expectFinderNeedsExactlyOneRow(T (*find)(Key, dbi::Transaction&), MakeRow rowWith,
                                    const std::vector<Key>& keysByRowCount) {
    dbi::Transaction& transaction = dbi::Transaction::getDefaultTransaction();
    for (std::size_t rows = 1; rows < keysByRowCount.size(); ++rows)
        for (std::size_t copy = 0; copy < rows; ++copy) rowWith(keysByRowCount[rows]).save(transaction);
    T single = find(keysByRowCount[1], transaction);
    EXPECT_EQ(valueTexts(rowWith(keysByRowCount[1])), valueTexts(single));
    EXPECT_FALSE(single.m_id.isUnknown());
    for (std::size_t rows = 0; rows < keysByRowCount.size(); ++rows)
        if (rows != 1) expectNotFoundCounting(rows, [&] { find(keysByRowCount[rows], transaction); });
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
class MediaRecord : public MediaDatabase {};
using MediaRecords = ::testing::Types<media::Media, media::Session, media::SessionDrive, media::SessionResults,
                                      media::SessionResultsMedia, media::Settings, media::ApplicationData,
                                      media::CartridgeStatus, media::DynamicData, media::EODInformation,
                                      media::ErrorUsage, media::UsageInformation, media::WrapEntry, media::WritePass>;
TYPED_TEST_SUITE(MediaRecord, MediaRecords);

template <class T>
class MediaIdFinder : public MediaDatabase {};
using MediaIdFinders =
    ::testing::Types<media::ApplicationData, media::CartridgeStatus, media::EODInformation, media::WritePass>;
TYPED_TEST_SUITE(MediaIdFinder, MediaIdFinders);

}  // namespace

TYPED_TEST(MediaRecord, matchesItsTableAndKeepsEachArgumentInItsColumnThroughARoundTrip) {
    dbitest::expectColumnsMatchSchema<TypeParam>();
    const Sample<TypeParam> made = sampleOf<TypeParam>();
    EXPECT_EQ(made.texts, valueTexts(made.record));
    EXPECT_EQ(made.texts, valueTexts(dbitest::expectRoundTrip(made.record)));
}

TYPED_TEST(MediaIdFinder, findsTheCartridgesRowOnlyWhenItIsTheOnlyOne) {
    auto rowFor = [](int mediaId) {
        TypeParam row = sampleOf<TypeParam>().record;
        row.m_mediaId.setIntValue(mediaId);
        return row;
    };
    expectFinderNeedsExactlyOneRow(&TypeParam::getByMediaId, rowFor, std::vector<int>{4, 1, 2, 3});
}

TEST_F(MediaDatabase, settingsFindTheirNameOnlyWhenItIsHeldByOneRow) {
    auto rowFor = [](const std::string& name) { return media::Settings(name, 5); };
    expectFinderNeedsExactlyOneRow(&media::Settings::getByName, rowFor,
                                   std::vector<std::string>{"missing", "x", "twice", "thrice"});
}

TEST_F(MediaDatabase, cartridgeKeepsAnEmptyManufactureDate) {
    const media::Media saved = dbitest::expectRoundTrip(media::Media("HUM999L5", 5, "Maker", "", false));
    EXPECT_EQ("", saved.m_manufactureDate.getValue());
}
