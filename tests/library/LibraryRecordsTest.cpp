#include <dbi/library.h>

#include <algorithm>
#include <boost/date_time/posix_time/ptime.hpp>
#include <cstring>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "support/RecordChecks.h"
#include "support/TestDatabase.h"

using namespace dbi::library;

namespace {

dbi::Transaction& db() {
    return dbi::Transaction::getDefaultTransaction();
}

// The schema with the parent rows that the sample records refer to.
class LibraryDatabase : public dbitest::TestDatabase {
protected:
    void SetUp() override {
        TestDatabase::SetUp();
        loadSchema();
        Partition("partition-1", "Default", 0, true, true).save(db());
        CREndpoint(CREndpoint::WEB_UI, "web ui").createOrUpdate(db());
        CROperation(CROperation::INVENTORY, "inventory").createOrUpdate(db());
    }
};

// One record of each class, made by its full constructor.
auto samples() {
    return std::make_tuple(
        Element(12, 1, 1, "1,2,3", "1,2,4", true, false, true, "ABC123L6", {0x00, 0xff, 0x27}, false),
        Partition("7c9e6679-7425-40de-944b-e07fc1f90ae7", "Archive", 2, false, true),
        Event("library_element", 7, "UPDATE", "old", "new", "2012-03-04 05:06:07"),
        CommandResponse(CREndpoint::WEB_UI, CROperation::INVENTORY, "all", 4, CREndpoint::LIBRARY_MANAGER, "",
                        "2012-03-04 05:06:07", 0, "", CRState::NEW),
        CREndpoint(CREndpoint::VIGIL_SCANNER, "vigil scanner"), CROperation(CROperation::MOVE_MEDIUM, "move medium"),
        CRState(5, "held"));
}

template <class T>
T sample() {
    return std::get<T>(samples());
}

// The full constructor fills every column but id, each with its argument
// (a misnamed parameter would store the column constant's text instead).
template <class T>
void expectEveryColumnFilled(const T& record) {
    dbi::detail::forEachColumn<T>([&](auto member) {
        const dbi::Field& field = record.*member;
        if (std::strcmp(field.getName(), T::id) == 0) return;
        EXPECT_TRUE(field.isModified()) << T::m_tableName << "." << field.getName();
        EXPECT_NE(field.getName(), field.getValue()) << T::m_tableName;
    });
}

// Lookup rows carry their well-known id and are created under it.
template <class T>
void expectStored(T record) {
    if (record.m_id.isUnknown()) {
        dbitest::expectRoundTrip(record);
        return;
    }
    record.createOrUpdate(db());
    EXPECT_EQ(record, T::get(record.m_id.getIntValue(), db())) << T::m_tableName;
}

template <class T>
class LibraryRecordTest : public LibraryDatabase {};

struct TableName {
    template <class T>
    static std::string GetName(int) {
        return T::m_tableName;
    }
};

using LibraryRecords = ::testing::Types<Element, Partition, Event, CommandResponse, CREndpoint, CROperation, CRState>;
TYPED_TEST_SUITE(LibraryRecordTest, LibraryRecords, TableName);

TYPED_TEST(LibraryRecordTest, describesItsTable) {
    dbitest::expectColumnsMatchSchema<TypeParam>();
}
TYPED_TEST(LibraryRecordTest, fullConstructorFillsEveryColumn) {
    expectEveryColumnFilled(sample<TypeParam>());
}
TYPED_TEST(LibraryRecordTest, storesAndReadsBack) {
    expectStored(sample<TypeParam>());
}

TEST_F(LibraryDatabase, seededStatesAreTheChannelStates) {
    const std::pair<CRState::enum_type, const char*> states[] = {{CRState::NEW, "new"},
                                                                 {CRState::ACCEPTED, "accepted"},
                                                                 {CRState::COMPLETED, "completed"},
                                                                 {CRState::TIMED_OUT, "timed_out"}};
    for (const auto& state : states) EXPECT_EQ(state.second, CRState::get(state.first, db()).m_name.getValue());
}

TEST_F(LibraryDatabase, partitionIsFoundOnlyByAUniqueGuid) {
    Partition archive = dbitest::expectRoundTrip(sample<Partition>());
    Partition("twin", "A", 0, true, true).save(db());
    Partition("twin", "B", 0, true, true).save(db());

    EXPECT_EQ(archive, Partition::getByGuid(archive.m_guid.getValue(), db()));
    EXPECT_THROW(Partition::getByGuid("missing", db()), dbi::DBIException<dbiresult::DBI_NOT_FOUND>);
    try {
        Partition::getByGuid("twin", db());
        ADD_FAILURE() << "a duplicated guid was found";
    } catch (const dbi::DBIException<dbiresult::DBI_NOT_FOUND>& error) {
        const std::string message = error.what(), tail = "returned [2] records.";
        EXPECT_EQ(tail, message.substr(message.size() - std::min(message.size(), tail.size())));
    }
    // The guid is written into the statement unescaped.
    EXPECT_THROW(Partition::getByGuid("it's", db()), dbi::DBIException<dbiresult::DBI_SQL_ERROR>);
}

// The journal entries of one row, oldest first, as "action:old:new".
std::vector<std::string> journalOf(const std::string& table, const dbi::Field& rowId) {
    std::vector<Event> events;
    dbi::Query<Event>()
        .equals(Event::whichTable, table, Event::m_tableName)
        .equals(Event::rowId, rowId.getValue(), Event::m_tableName)
        .orderBy(Event::id)
        .execute(events, db());
    std::vector<std::string> entries;
    for (const Event& event : events) {
        EXPECT_NO_THROW(boost::posix_time::ptime(event.m_eventTime)) << "journal time " << event.m_eventTime.getValue();
        entries.push_back(event.m_actionColumn.getValue() + ":" + event.m_oldValue.getValue() + ":" +
                          event.m_newValue.getValue());
    }
    return entries;
}

TEST_F(LibraryDatabase, commandIsJournalledOnInsertStateChangeAndDelete) {
    CommandResponse command = dbitest::expectRoundTrip(sample<CommandResponse>());
    command.m_result.setIntValue(7);  // not journalled: commands are watched by state
    command.save(db());
    command.m_stateId.setIntValue(CRState::ACCEPTED);
    command.save(db());
    CommandResponse::deleteRow(command.m_id.getIntValue(), db());

    const std::vector<std::string> expected = {"INSERT::", "state_id:1:2", "DELETE::"};
    EXPECT_EQ(expected, journalOf(CommandResponse::m_tableName, command.m_id));
}

TEST_F(LibraryDatabase, elementIsJournalledOnEveryChange) {
    Element element = dbitest::expectRoundTrip(sample<Element>());
    element.m_elementFull = false;
    element.save(db());
    Element::deleteRow(element.m_id.getIntValue(), db());

    const std::vector<std::string> expected = {"INSERT::", "UPDATE::", "DELETE::"};
    EXPECT_EQ(expected, journalOf(Element::m_tableName, element.m_id));
}

}  // namespace
