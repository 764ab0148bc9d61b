#include <boost/lexical_cast.hpp>
#include <memory>

#include "support/ChannelSupport.h"

using dbi::library::CommandResponse;
using dbi::library::CREndpoint;
using dbi::library::CROperation;
using dbitest::Inbox;
using dbitest::RunningNotify;

namespace {

CommandResponse command(int operation) {
    return CommandResponse(CREndpoint::LIBRARY_MANAGER, operation, "slot 12", 12, CREndpoint::MEDIA_MANAGER, "",
                           dbi::CURRENT_TIMESTAMP, 0, "", 0);
}

class Channel : public dbitest::SchemaDatabase {
protected:
    // A responder on its own dispatcher: answers operation 1 from endpoint
    // 1 with result 7, unless told to leave commands accepted only.
    void startResponder(bool answer) {
        helper.registerWithNotify(notify);
        helper.registerListener(
            [this, answer](const CommandResponse& accepted) {
                accepted_.add(accepted.m_stateId.getValue());
                if (!answer) return;
                CommandResponse done(accepted);
                done.m_result.setIntValue(7);
                done.m_resultString = std::string("moved");
                done.m_stateId.setIntValue(3);
                done.save(dbi::Transaction::getDefaultTransaction(), false);
            },
            CROperation::INVENTORY, CREndpoint::LIBRARY_MANAGER);
        running = std::make_unique<RunningNotify>(notify);
    }

    void TearDown() override {
        running.reset();
        SchemaDatabase::TearDown();
    }

    dbi::Notify notify;
    dbi::CommandResponseHelper helper;
    std::unique_ptr<RunningNotify> running;
    Inbox accepted_;
};

}  // namespace

TEST_F(Channel, onlyTheChangeFromAcceptedToCompletedIsEmitted) {
    CommandResponse stored = command(CROperation::INVENTORY);
    stored.m_stateId.setIntValue(dbi::library::CRState::NEW);
    stored.save(dbi::Transaction::getDefaultTransaction(), false);
    const int id = stored.m_id.getIntValue();
    dbi::CommandSignal commands;
    Inbox emitted;
    commands.connect([&](const CommandResponse& r) { emitted.add(r.m_id.getValue()); });
    dbi::commandUpdated(commands, id, "1", "2");
    dbi::commandUpdated(commands, id, "2", "4");
    dbi::commandUpdated(commands, 999, "2", "3");
    EXPECT_TRUE(emitted.texts().empty());
    dbi::commandUpdated(commands, id, "2", "3");
    dbi::commandIn(commands, id);
    dbi::commandIn(commands, 999);
    EXPECT_EQ((std::vector<std::string>{stored.m_id.getValue(), stored.m_id.getValue()}), emitted.texts());
    EXPECT_THROW(dbi::commandUpdated(commands, id, "", "3"), boost::bad_lexical_cast);
}

// A round trip between threads, in the convenience form. Between processes
// and with fast wake: ProcessChannelModes.
TEST_F(Channel, aCommandIsAnsweredBetweenThreads) {
    startResponder(true);
    const std::pair<int, std::string> answer =
        dbi::sendCommand(CREndpoint::LIBRARY_MANAGER, CROperation::INVENTORY, "", 0, CREndpoint::MEDIA_MANAGER);
    EXPECT_EQ(std::make_pair(7, std::string("moved")), answer);
    EXPECT_EQ(std::vector<std::string>{"2"}, accepted_.texts());
    EXPECT_EQ("3", scalar("SELECT state_id FROM library_commandresponse"));
}

// A command nobody accepts times out after the acceptance wait; one
// accepted but left unanswered is given up when its own wait ends.
TEST_F(Channel, unansweredCommandsTimeOut) {
    const struct {
        bool accepted;
        boost::posix_time::time_duration wait;
    } cases[] = {{false, boost::posix_time::pos_infin}, {true, boost::posix_time::seconds(12)}};
    startResponder(false);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.accepted ? "accepted" : "not accepted");
        CommandResponse sent = command(c.accepted ? CROperation::INVENTORY : CROperation::MOVE_MEDIUM);
        const CommandResponse answer = dbi::sendCommand(sent, c.wait);
        EXPECT_EQ("4|16|Timed out|1", scalar("SELECT state_id || '|' || result || '|' || result_string || '|' || "
                                             "(end_time IS NOT NULL) FROM library_commandresponse WHERE id = " +
                                             answer.m_id.getValue()));
        EXPECT_EQ("16", answer.m_result.getValue());
    }
    EXPECT_EQ(std::vector<std::string>{"2"}, accepted_.texts());
}

// Events are one-way rows in state new.
TEST_F(Channel, aFailedInsertLeavesNoRowAndStopsTheDispatcherAndEventsAreRowsInStateNew) {
    CommandResponse unknownOperation = command(99);
    EXPECT_THROW(dbi::sendCommand(unknownOperation, boost::posix_time::seconds(1)),
                 dbi::DBIException<dbiresult::DBI_CONSTRAINT_VIOLATION>);
    EXPECT_EQ("0", scalar("SELECT count(*) FROM library_commandresponse"));
    dbi::CommandResponseHelper::sendEvent(CROperation::INVENTORY, CREndpoint::LIBRARY_MANAGER, "scan", 3);
    EXPECT_EQ("1|1|0|1|scan|3|1",
              scalar("SELECT source_id || '|' || operation_id || '|' || target_id || '|' || state_id || '|' || "
                     "string_argument || '|' || int_argument || '|' || (start_time IS NOT NULL) "
                     "FROM library_commandresponse"));
}
