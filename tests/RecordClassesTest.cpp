// Every record class of the library, media, vigil and trend tables against
// the schema file.
#include <dbi/library.h>
#include <dbi/media.h>
#include <dbi/trend.h>
#include <dbi/vigil.h>

#include <boost/date_time/posix_time/ptime.hpp>
#include <cstdlib>
#include <tuple>
#include <type_traits>

#include "support/TestDatabase.h"

namespace library = dbi::library;
namespace media = dbi::media;
namespace trend = dbi::trend;
namespace vigil = dbi::vigil;

namespace {

// A record made by its full constructor, with the id text it must hold
// (unknown but for lookup rows) and the text each argument must leave in
// the columns after "id", in order.
template <class T>
struct Sample {
    T record;
    std::string id;
    std::vector<std::string> texts;
};

// The text a constructor argument leaves in its column.
template <class V>
std::string columnText(const V& value) {
    if constexpr (std::is_same<V, bool>::value)
        return value ? "t" : "f";
    else if constexpr (std::is_integral<V>::value || std::is_enum<V>::value)
        return std::to_string(value);
    else
        return value;
}

template <class T, class... Args>
Sample<T> sample(Args... args) {
    return {T(args...), dbi::DBI_UNKNOWN, {columnText(args)...}};
}

// Lookup rows take their well-known id as the first argument.
template <class T, class... Args>
Sample<T> keyedSample(int id, Args... args) {
    return {T(id, args...), std::to_string(id), {columnText(args)...}};
}

// Saves rowWith(keysByRowCount[n]) n times: only the key of the single row
// is found; the others fail with DBI_NOT_FOUND naming how many rows matched.
template <class T, class Key, class MakeRow>
void expectFinderNeedsExactlyOneRow(T (*find)(Key, dbi::Transaction&), MakeRow rowWith,
                                    const std::vector<Key>& keysByRowCount) {
    dbi::Transaction& transaction = dbi::Transaction::getDefaultTransaction();
    T single = rowWith(keysByRowCount.at(1));
    single.save(transaction);
    for (std::size_t rows = 2; rows < keysByRowCount.size(); ++rows)
        for (std::size_t copy = 0; copy < rows; ++copy) rowWith(keysByRowCount[rows]).save(transaction);
    EXPECT_EQ(single, find(keysByRowCount[1], transaction));
    for (std::size_t rows = 0; rows < keysByRowCount.size(); ++rows) {
        if (rows == 1) continue;
        const dbitest::Failure failure = dbitest::failureOf([&] { find(keysByRowCount[rows], transaction); });
        EXPECT_EQ(dbiresult::DBI_NOT_FOUND, failure.code);
        EXPECT_TRUE(dbitest::contains(failure.message, "returned [" + std::to_string(rows) + "] records."))
            << failure.message;
    }
}

const char* const archiveGuid = "7c9e6679-7425-40de-944b-e07fc1f90ae7";

// Distinct values per record, so that two arguments stored in each other's
// columns show; several exceed 32 bits. An unknown date or a scan that is
// not due stays empty.
auto samples() {
    const char* march = "2012-03-04 05:06:07";
    const char* april = "2012-04-05 06:07:08";
    const char* may = "2012-05-06 07:08:09";
    using library::CREndpoint;
    using library::CROperation;
    return std::make_tuple(
        // The descriptor bytes are held as base64 text, ending in a newline.
        Sample<library::Element>{
            library::Element(12, 1, 1, "1,2,3", "1,2,4", true, false, true, "ABC123L6", {0x00, 0xff, 0x27}, false),
            dbi::DBI_UNKNOWN,
            {"12", "1", "1", "1,2,3", "1,2,4", "t", "f", "t", "ABC123L6", "AP8n\n", "f"}},
        sample<library::Partition>(archiveGuid, "Archive", 2, false, true),
        sample<library::Event>("library_element", 7, "UPDATE", "old", "new", march),
        sample<library::CommandResponse>(CREndpoint::WEB_UI, CROperation::INVENTORY, "all", 4,
                                         CREndpoint::LIBRARY_MANAGER, "", march, 0, "", library::CRState::NEW),
        keyedSample<CREndpoint>(CREndpoint::VIGIL_SCANNER, "vigil scanner"),
        keyedSample<CROperation>(CROperation::MOVE_MEDIUM, "move medium"), keyedSample<library::CRState>(5, "held"),
        sample<media::Media>("HUM123L5", 5, "Maker", "", true),
        sample<media::Session>(march, april, 1, 2, 3, 4, 5, 6, true, false),
        sample<media::SessionDrive>(1, 7, 1, true, "blade-2", "DRV0042", 55, 3),
        sample<media::SessionResults>(1029, "HUM123L5", 1, 1, "drive-4", march, 2, 3, 4, 5, 1001, 6, 1002, 9),
        sample<media::SessionResultsMedia>(7),  // no session 7: a plain integer, not a reference
        sample<media::Settings>("x", 5),
        sample<media::ApplicationData>(1, "Vendor", "Backup", "4.2", "weekly", march, 3, "HUM123L5", "host-a",
                                       "pool-b"),
        sample<media::CartridgeStatus>(1, 4294967299LL, 2, 3, 8589934597LL),
        sample<media::DynamicData>(1, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24),
        sample<media::EODInformation>(1, 2, 3, 5000000000LL, 6000000000LL, 7, 8, 9),
        sample<media::ErrorUsage>(1, 1, "Maker", "DRV0042", 6, 4660, 2, 4, 7000000000LL, 8000000000LL, 10, 11, 12, 13,
                                  14, 15, 16, 17, 18, 19),
        sample<media::UsageInformation>(1, 48, "Maker", "DRV0042", 2, 4, 7000000000LL, 8000000000LL, 10, 11, 12, 13, 14,
                                        15),
        sample<media::WrapEntry>(1, 2, 3, 4, 5, 6, 7, 8, 9), sample<media::WritePass>(1, 10, 11, 12, 13, 14, 15, 16, 17),
        sample<vigil::ActionType>("mail", "1.2", "mails the operator"),
        sample<vigil::Action>("notify", 1, "alpha", 25, "beta", 587),
        sample<vigil::Policy>(2, 1, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, true, false),
        sample<vigil::Media>("SN1", "VT0001L6", 2, 3, march, april, may),
        sample<vigil::MediaPolicy>("SN2", "VT0002L6", "archive", 1, 2, 3, march, april, may),
        sample<vigil::ScanCandidate>("VT0003L6", 2, 7, 1042, 5), sample<vigil::NextScan>(""),
        sample<vigil::ConcurrentRemaining>(4), sample<vigil::Settings>("scan_window", 90),
        sample<trend::DriveStatistics>(3, march, "", "ABC123L6"),  // still mounted: no unmount time yet
        sample<trend::TapeAlert>("HU1234567", "ABC123L6", 20, may));
}

template <class T>
T sampleOf() {
    return std::get<Sample<T>>(samples()).record;
}

// The schema with the parent rows the samples refer to. Vigil partitions
// are referred to by number or name only.
class RecordClasses : public dbitest::TestDatabase {
protected:
    void SetUp() override {
        TestDatabase::SetUp();
        const std::string shell = "sqlite3 '" + path + "' < '" DBI_SCHEMA_FILE "'";
        ASSERT_EQ(0, std::system(shell.c_str()));  // the shell loads the schema file, then the library again
        loadSchema();
        library::Partition("partition-1", "Default", 0, true, true).save(autocommit());
        library::CREndpoint(library::CREndpoint::WEB_UI, "web ui").createOrUpdate(autocommit());
        library::CROperation(library::CROperation::INVENTORY, "inventory").createOrUpdate(autocommit());
        exec("INSERT INTO media_media (id) VALUES (1), (2), (3);"
             "INSERT INTO media_session (id) VALUES (1);"
             "INSERT INTO media_sessionresults (id, session_id, media_id) VALUES (1, 1, 1);"
             "INSERT INTO vigil_actiontype (id, name) VALUES (1, 'snmp');"
             "INSERT INTO vigil_action (id, name, action_type_id) VALUES (1, 'trap', 1);"
             "INSERT INTO vigil_policy (id, partition, action_id) VALUES (1, 1, 1);");
    }

    // The class describes its table exactly (names, order and type words),
    // the id is as given and each constructor argument lands in its own
    // column; a round trip keeps every column. Lookup rows are created
    // under their own id.
    template <class T>
    void expectSampleKept(const Sample<T>& made) {
        SCOPED_TRACE(T::m_tableName);
        std::string columns;
        std::vector<std::string> expected{made.id}, actual;
        expected.insert(expected.end(), made.texts.begin(), made.texts.end());
        dbi::detail::forEachColumn<T>([&](auto member) {
            const dbi::Field& field = made.record.*member;
            columns += std::string(columns.empty() ? "" : ",") + field.getName() + "|" + field.getSqlType();
            actual.push_back(field.getValue());
        });
        EXPECT_EQ(columns, outside("SELECT name || '|' || lower(type) FROM pragma_table_info('" + T::m_tableName + "')"));
        EXPECT_EQ(expected, actual);
        T record = made.record;
        if (record.m_id.isUnknown())
            record.save(autocommit(), false);
        else
            record.createOrUpdate(autocommit());
        EXPECT_EQ(record, T::get(record.m_id.getIntValue(), autocommit()));
    }

    // The journal entries of one row, oldest first, as "action:old:new".
    std::vector<std::string> journalOf(const std::string& table, const dbi::Field& rowId) {
        std::vector<library::Event> events;
        dbi::Query<library::Event>()
            .equals(library::Event::whichTable, table, library::Event::m_tableName)
            .equals(library::Event::rowId, rowId.getValue(), library::Event::m_tableName)
            .orderBy(library::Event::id)
            .execute(events, autocommit());
        std::vector<std::string> entries;
        for (const library::Event& event : events) {
            EXPECT_NO_THROW(boost::posix_time::ptime(event.m_eventTime)) << event.m_eventTime.getValue();
            entries.push_back(event.m_actionColumn.getValue() + ":" + event.m_oldValue.getValue() + ":" +
                              event.m_newValue.getValue());
        }
        return entries;
    }
};

// Rows of a cartridge's tables are found by its media id.
template <class T>
void expectMediaIdFinder() {
    const auto rowFor = [](int mediaId) {
        T row = sampleOf<T>();
        row.m_mediaId.setIntValue(mediaId);
        return row;
    };
    expectFinderNeedsExactlyOneRow(&T::getByMediaId, rowFor, std::vector<int>{4, 1, 2, 3});
}

}  // namespace

TEST_F(RecordClasses, everyRecordMatchesItsTableAndKeepsEachArgumentInItsColumn) {
    static_assert(std::tuple_size<decltype(samples())>::value == 32, "one sample per table");
    std::apply([this](const auto&... made) { (expectSampleKept(made), ...); }, samples());
}

TEST_F(RecordClasses, findersByAUniqueKeyOrMediaIdNeedExactlyOneRow) {
    expectMediaIdFinder<media::ApplicationData>();
    expectMediaIdFinder<media::CartridgeStatus>();
    expectMediaIdFinder<media::EODInformation>();
    expectMediaIdFinder<media::WritePass>();
    expectFinderNeedsExactlyOneRow(
        &library::Partition::getByGuid,
        [](const std::string& guid) { return library::Partition(guid, "Archive", 2, false, true); },
        std::vector<std::string>{"missing", archiveGuid, "twin"});
    expectFinderNeedsExactlyOneRow(
        &media::Settings::getByName, [](const std::string& name) { return media::Settings(name, 5); },
        std::vector<std::string>{"missing", "x", "twice", "thrice"});
    expectFinderNeedsExactlyOneRow(
        &vigil::Settings::getByName, [](const std::string& name) { return vigil::Settings(name, 30); },
        std::vector<std::string>{"absent", "window", "twice"});
}

// Commands are journalled by state only, elements on every change.
TEST_F(RecordClasses, insertsChangesAndDeletesAreJournalled) {
    library::CommandResponse command = sampleOf<library::CommandResponse>();
    command.save(autocommit());
    command.m_result.setIntValue(7);
    command.save(autocommit());
    command.m_stateId.setIntValue(library::CRState::ACCEPTED);
    command.save(autocommit());
    library::CommandResponse::deleteRow(command.m_id.getIntValue(), autocommit());
    EXPECT_EQ((std::vector<std::string>{"INSERT::", "state_id:1:2", "DELETE::"}),
              journalOf(library::CommandResponse::m_tableName, command.m_id));
    library::Element element = sampleOf<library::Element>();
    element.save(autocommit());
    element.m_elementFull = false;
    element.save(autocommit());
    library::Element::deleteRow(element.m_id.getIntValue(), autocommit());
    EXPECT_EQ((std::vector<std::string>{"INSERT::", "UPDATE::", "DELETE::"}),
              journalOf(library::Element::m_tableName, element.m_id));
}
