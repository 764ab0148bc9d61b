#include "dbi/CommandResponseHelper.h"

#include <cstdlib>

#include <boost/bind/bind.hpp>
#include <boost/lexical_cast.hpp>
#include <boost/make_shared.hpp>
#include <boost/thread/thread.hpp>

#include "dbi/Table.h"

namespace dbi {

using dbi::library::CommandResponse;
using dbi::library::CREndpoint;
using dbi::library::CROperation;
using dbi::library::CRState;

namespace {

const int kNoState = 0;  // sendCommand sets the real state
const int kTimedOutResult = 16;

int number(const IntegerField& field) { return field.getIntValue(); }

// A new command row as the convenience operations send it.
CommandResponse newCommand(CREndpoint::enum_type source, CROperation::enum_type operation,
                           const std::string& stringArgument, int intArgument, CREndpoint::enum_type target) {
    return CommandResponse(source, operation, stringArgument, intArgument, target, "", CURRENT_TIMESTAMP, 0, "",
                           kNoState);
}

std::pair<int, std::string> resultOf(const CommandResponse& response) {
    return std::make_pair(number(response.m_result), response.m_resultString.getValue());
}

// Waits for the answer; false when `limit` passed first.
bool waitFor(boost::unique_future<CommandResponse>& answer, boost::posix_time::time_duration limit) {
    if (limit.is_pos_infinity()) {
        answer.wait();
        return true;
    }
    if (limit.is_special() || limit.is_negative()) return answer.is_ready();
    return answer.wait_for(boost::chrono::microseconds(limit.total_microseconds())) ==
           boost::future_status::ready;
}

// Marks the row timed out unless a responder finished it meanwhile.
CommandResponse giveUp(int id) {
    Transaction transaction(true);
    CommandResponse row = CommandResponse::get(id, transaction);
    const int state = number(row.m_stateId);
    if (state != CRState::COMPLETED && state != CRState::TIMED_OUT) {
        row.m_stateId.setIntValue(CRState::TIMED_OUT);
        row.m_endTime = CURRENT_TIMESTAMP;
        row.m_result.setIntValue(kTimedOutResult);
        row.m_resultString = std::string("Timed out");
        row.save(transaction, false);
    }
    transaction.release();
    return row;
}

}  // namespace

bool match_cr_field(int model, int value) { return model == 0 || model == value; }

bool matches_command_response_model(const CommandResponse& model, const CommandResponse& row) {
    return match_cr_field(number(model.m_id), number(row.m_id)) &&
           match_cr_field(number(model.m_sourceId), number(row.m_sourceId)) &&
           match_cr_field(number(model.m_operationId), number(row.m_operationId)) &&
           match_cr_field(number(model.m_stateId), number(row.m_stateId)) &&
           match_cr_field(number(model.m_targetId), number(row.m_targetId));
}

void commandIn(CommandSignal& commands, int rowId) {
    CommandResponse row;
    if (get(rowId, row, Transaction::getDefaultTransaction())) commands(row);
}

void commandUpdated(CommandSignal& commands, int rowId, const std::string& oldValue, const std::string& newValue) {
    const int from = boost::lexical_cast<int>(oldValue);
    const int to = boost::lexical_cast<int>(newValue);
    if (from != CRState::ACCEPTED || to != CRState::COMPLETED) return;
    commandIn(commands, rowId);
}

ResponseTask::ResponseTask(const CommandResponse& model, CommandCallback callback)
    : model(model), callback(callback) {}

void ResponseTask::notify(const CommandResponse& row) {
    if (!matches_command_response_model(model, row)) return;
    Transaction transaction(true);
    CommandResponse accepted(row);
    accepted.m_stateId.setIntValue(CRState::ACCEPTED);
    accepted.save(transaction, false);
    transaction.release();
    callback(accepted);
}

CommandTask::CommandTask(int id) : id(id) {}

void CommandTask::notify(const CommandResponse& row) {
    if (number(row.m_id) != id || number(row.m_stateId) != CRState::COMPLETED) return;
    promise.set_value(row);
}

void CommandResponseHelper::registerWithNotify(Notify& notify) {
    using namespace boost::placeholders;
    notify.addListener(CommandResponse::m_tableName, boost::bind(&commandUpdated, boost::ref(commands), _1, _2, _3),
                       Notify::UPDATE, CommandResponse::stateId);
    notify.addListener(CommandResponse::m_tableName, boost::bind(&commandIn, boost::ref(commands), _1),
                       Notify::INSERT, "");
}

boost::signals2::connection CommandResponseHelper::registerListener(boost::shared_ptr<ResponseListener> listener) {
    using namespace boost::placeholders;
    CommandSignal::slot_type slot(&ResponseListener::notify, listener.get(), _1);
    return commands.connect(slot.track(listener));
}

boost::signals2::connection CommandResponseHelper::registerListener(CommandCallback callback, int operation,
                                                                    CREndpoint::enum_type endpoint) {
    using namespace boost::placeholders;
    CommandResponse model(endpoint, operation, "", 0, 0, "", "", 0, "", CRState::NEW);
    model.m_id.setIntValue(0);
    ResponseTask task(model, callback);
    return commands.connect(boost::bind(&ResponseTask::notify, task, _1));
}

CommandResponse CommandResponseHelper::sendCommand(CommandResponse& command,
                                                   boost::posix_time::time_duration timeout) {
    using namespace boost::placeholders;
    static const boost::posix_time::time_duration acceptanceWait(0, 0, 10);

    Transaction transaction(true);
    command.m_stateId.setIntValue(CRState::NEW);
    command.save(transaction, false);
    const int id = number(command.m_id);
    // Listen before the row becomes visible, so no answer can be missed.
    boost::shared_ptr<CommandTask> task = boost::make_shared<CommandTask>(id);
    boost::unique_future<CommandResponse> answer = task->getFuture();
    registerListener(task);
    transaction.release();

    if (waitFor(answer, acceptanceWait)) return answer.get();
    const CommandResponse sent = CommandResponse::get(id, Transaction::getDefaultTransaction());
    if (number(sent.m_stateId) != CRState::NEW && waitFor(answer, timeout - acceptanceWait)) return answer.get();
    return giveUp(id);
}

std::pair<int, std::string> CommandResponseHelper::sendCommand(CREndpoint::enum_type source,
                                                               CROperation::enum_type operation,
                                                               const std::string& stringArgument, int intArgument,
                                                               CREndpoint::enum_type target) {
    CommandResponse command = newCommand(source, operation, stringArgument, intArgument, target);
    return resultOf(sendCommand(command, boost::posix_time::pos_infin));
}

void CommandResponseHelper::sendEvent(CROperation::enum_type operation, CREndpoint::enum_type source,
                                      const std::string& stringArgument, int intArgument) {
    Transaction transaction(true);
    CommandResponse event(source, operation, stringArgument, intArgument, 0, "", CURRENT_TIMESTAMP, 0, "", CRState::NEW);
    event.save(transaction, false);
    transaction.release();
}

namespace {

// Runs a Notify on its own thread for as long as it lives.
class DispatcherThread {
public:
    explicit DispatcherThread(Notify& notify) : notify(notify), thread(boost::ref(notify)) {}
    ~DispatcherThread() {
        notify.stop();
        thread.join();
    }
    DispatcherThread(const DispatcherThread&) = delete;
    DispatcherThread& operator=(const DispatcherThread&) = delete;

private:
    Notify& notify;
    boost::thread thread;
};

}  // namespace

CommandResponse sendCommand(CommandResponse& command, boost::posix_time::time_duration timeout) {
    Notify notify;
    CommandResponseHelper helper;
    helper.registerWithNotify(notify);
    DispatcherThread dispatcher(notify);
    return helper.sendCommand(command, timeout);
}

std::pair<int, std::string> sendCommand(CREndpoint::enum_type source, CROperation::enum_type operation,
                                        const std::string& stringArgument, int intArgument,
                                        CREndpoint::enum_type target) {
    CommandResponse command = newCommand(source, operation, stringArgument, intArgument, target);
    return resultOf(sendCommand(command, boost::posix_time::pos_infin));
}

}  // namespace dbi
