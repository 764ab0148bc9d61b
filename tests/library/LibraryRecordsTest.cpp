#include <dbi/library.h>

#include <boost/date_time/posix_time/ptime.hpp>
#include <string>
#include <tuple>
#include <vector>

#include "support/RecordChecks.h"
#include "support/TestDatabase.h"

using namespace dbi::library;
using dbitest::keyedSample;
using dbitest::Sample;
using dbitest::sample;

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

const char* const archiveGuid = "7c9e6679-7425-40de-944b-e07fc1f90ae7";

// The descriptor bytes are held as base64 text, ending in a newline.
auto samples() {
    const char* date = "2012-03-04 05:06:07";
    return std::make_tuple(
        Sample<Element>{Element(12, 1, 1, "1,2,3", "1,2,4", true, false, true, "ABC123L6", {0x00, 0xff, 0x27}, false),
                        dbi::DBI_UNKNOWN,
                        {"12", "1", "1", "1,2,3", "1,2,4", "t", "f", "t", "ABC123L6", "AP8n\n", "f"}},
        sample<Partition>(archiveGuid, "Archive", 2, false, true),
        sample<Event>("library_element", 7, "UPDATE", "old", "new", date),
        sample<CommandResponse>(CREndpoint::WEB_UI, CROperation::INVENTORY, "all", 4, CREndpoint::LIBRARY_MANAGER, "",
                                date, 0, "", CRState::NEW),
        keyedSample<CREndpoint>(CREndpoint::VIGIL_SCANNER, "vigil scanner"),
        keyedSample<CROperation>(CROperation::MOVE_MEDIUM, "move medium"), keyedSample<CRState>(5, "held"));
}

template <class T>
T sampleOf() {
    return std::get<Sample<T>>(samples()).record;
}

TEST_F(LibraryDatabase, everyRecordMatchesItsTableAndKeepsEachArgumentInItsColumn) {
    dbitest::expectEverySampleKept(samples());
}

TEST_F(LibraryDatabase, seededStatesAreTheChannelStates) {
    EXPECT_EQ("new", CRState::get(CRState::NEW, db()).m_name.getValue());
    EXPECT_EQ("accepted", CRState::get(CRState::ACCEPTED, db()).m_name.getValue());
    EXPECT_EQ("completed", CRState::get(CRState::COMPLETED, db()).m_name.getValue());
    EXPECT_EQ("timed_out", CRState::get(CRState::TIMED_OUT, db()).m_name.getValue());
}

TEST_F(LibraryDatabase, partitionIsFoundOnlyByAUniqueGuid) {
    auto rowFor = [](const std::string& guid) { return Partition(guid, "Archive", 2, false, true); };
    dbitest::expectFinderNeedsExactlyOneRow(&Partition::getByGuid, rowFor,
                                            std::vector<std::string>{"missing", archiveGuid, "twin"});
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
    CommandResponse command = dbitest::expectRoundTrip(sampleOf<CommandResponse>());
    command.m_result.setIntValue(7);  // not journalled: commands are watched by state
    command.save(db());
    command.m_stateId.setIntValue(CRState::ACCEPTED);
    command.save(db());
    CommandResponse::deleteRow(command.m_id.getIntValue(), db());
    const std::vector<std::string> expected = {"INSERT::", "state_id:1:2", "DELETE::"};
    EXPECT_EQ(expected, journalOf(CommandResponse::m_tableName, command.m_id));
}

TEST_F(LibraryDatabase, elementIsJournalledOnEveryChange) {
    Element element = dbitest::expectRoundTrip(sampleOf<Element>());
    element.m_elementFull = false;
    element.save(db());
    Element::deleteRow(element.m_id.getIntValue(), db());
    const std::vector<std::string> expected = {"INSERT::", "UPDATE::", "DELETE::"};
    EXPECT_EQ(expected, journalOf(Element::m_tableName, element.m_id));
}

}  // namespace
