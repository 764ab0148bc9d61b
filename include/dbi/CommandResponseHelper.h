#ifndef DBI_COMMANDRESPONSEHELPER_H
#define DBI_COMMANDRESPONSEHELPER_H

#include <string>
#include <utility>

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/function.hpp>
#include <boost/noncopyable.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/signals2/signal.hpp>
#include <boost/thread/future.hpp>

#include "dbi/Export.h"
#include "dbi/Notify.h"
#include "dbi/library/CREndpoint.h"
#include "dbi/library/CRState.h"
#include "dbi/library/CROperation.h"
#include "dbi/library/CommandResponse.h"

// The command/response channel: one process inserts a command row into
// library_commandresponse and waits; another, whose dispatcher sees the
// insert, accepts it (state 2), acts and saves its answer (state 3).
// A command nobody accepts within 10 seconds, or that is not answered
// within the sender's time-out, is marked timed out (state 4, result 16).
namespace dbi {

/// Carries the command rows a CommandResponseHelper's dispatcher sees.
using CommandSignal = boost::signals2::signal<void(const dbi::library::CommandResponse&)>;
/// A responder's handler; called on the dispatcher thread with the accepted row.
using CommandCallback = boost::function<void(const dbi::library::CommandResponse&)>;

/// True when `model` is 0 (the only wildcard) or equals `value`.
DBI_EXPORT bool match_cr_field(int model, int value);
/// Compares id, source, operation, state and target of `row` with `model`.
DBI_EXPORT bool matches_command_response_model(const dbi::library::CommandResponse& model,
                                               const dbi::library::CommandResponse& row);

/// Dispatcher adapters: emit the row `rowId` on `commands` when it was
/// inserted, or when its state went from accepted (2) to completed (3).
DBI_EXPORT void commandIn(CommandSignal& commands, int rowId);
/// Update adapter: emits row `rowId` when its state went from 2 to 3.
DBI_EXPORT void commandUpdated(CommandSignal& commands, int rowId, const std::string& oldValue,
                               const std::string& newValue);

/// Receives the rows the channel emits, on the dispatcher thread.
class DBI_EXPORT ResponseListener {
public:
    /// Called on the dispatcher thread with each emitted row. An exception
    /// reaches the dispatcher, which reports it and delivers the batch again.
    virtual void notify(const dbi::library::CommandResponse& row) = 0;

protected:
    ~ResponseListener() = default;
};

/// A responder: for each new row matching the model, saves it as accepted
/// (state 2) and calls the callback with the saved row. The callback answers
/// by saving the row with state 3 and its result.
class DBI_EXPORT ResponseTask final : public ResponseListener {
public:
    /// Responds to rows matching `model` (0 fields match anything) with `callback`.
    ResponseTask(const dbi::library::CommandResponse& model, CommandCallback callback);
    /// When `row` matches the model, saves it as accepted and calls the
    /// callback with it. Exceptions of either reach the dispatcher.
    void notify(const dbi::library::CommandResponse& row) override;

private:
    dbi::library::CommandResponse model;
    CommandCallback callback;
};

/// A waiting sender: fulfils its promise when row `id` is completed.
class DBI_EXPORT CommandTask final : public ResponseListener {
public:
    /// Waits for the completion of command row `id`.
    explicit CommandTask(int id);
    /// Fulfils the promise when `row` is row `id`, completed.
    void notify(const dbi::library::CommandResponse& row) override;
    /// The completed row, once; call at most once.
    boost::unique_future<dbi::library::CommandResponse> getFuture() { return promise.get_future(); }

private:
    int id;
    boost::promise<dbi::library::CommandResponse> promise;
};

/// Connects a Notify to the command rows and offers both roles. It must
/// outlive every Notify it is registered with. Registration happens before the
/// dispatcher starts; listeners then run on the dispatcher thread, while
/// sendCommand() may be called from any other thread.
class DBI_EXPORT CommandResponseHelper : private boost::noncopyable {
public:
    /// Adds the completion and insert listeners; call before notify's
    /// thread starts.
    void registerWithNotify(Notify& notify);

    /// The slot disconnects itself when the listener is destroyed.
    boost::signals2::connection registerListener(boost::shared_ptr<ResponseListener> listener);
    /// Responds to new commands from `endpoint` asking for `operation`.
    boost::signals2::connection registerListener(CommandCallback callback, int operation,
                                                 dbi::library::CREndpoint::enum_type endpoint);

    /// Inserts `command` (state 1; its id is set) and waits for the answer.
    /// Returns the completed row, or the row marked timed out (state 4,
    /// result 16, "Timed out") when nobody accepted it within 10 seconds or
    /// the answer did not come within `timeout`. Database failures throw and
    /// leave no row behind.
    dbi::library::CommandResponse sendCommand(dbi::library::CommandResponse& command,
                                              boost::posix_time::time_duration timeout);
    /// Sends without a time-out; returns the answer's result and text.
    std::pair<int, std::string> sendCommand(dbi::library::CREndpoint::enum_type source,
                                            dbi::library::CROperation::enum_type operation,
                                            const std::string& stringArgument, int intArgument,
                                            dbi::library::CREndpoint::enum_type target);

    /// Posts a one-way event (target 0); nothing waits for it.
    static void sendEvent(dbi::library::CROperation::enum_type operation, dbi::library::CREndpoint::enum_type source,
                          const std::string& stringArgument, int intArgument);

private:
    CommandSignal commands;
};

/// For callers without a running dispatcher: each call runs its own Notify
/// thread for the one command, stopped and joined on every way out.
DBI_EXPORT dbi::library::CommandResponse sendCommand(dbi::library::CommandResponse& command,
                                                     boost::posix_time::time_duration timeout);
/// Sends without a time-out on its own dispatcher; returns the answer's result
/// and text. Throws as the other sendCommand does.
DBI_EXPORT std::pair<int, std::string> sendCommand(dbi::library::CREndpoint::enum_type source,
                                                   dbi::library::CROperation::enum_type operation,
                                                   const std::string& stringArgument, int intArgument,
                                                   dbi::library::CREndpoint::enum_type target);

}  // namespace dbi

#endif
