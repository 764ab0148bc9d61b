// dbictl: look at and drive an appliance database by hand: create one,
// watch its change journal, answer, send and post commands.
#include <signal.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <iomanip>
#include <iostream>
#include <sstream>

#include <boost/thread/future.hpp>
#include <boost/thread/thread.hpp>
#include <dbi/dbi.h>

#include "Arguments.h"
#include "Commands.h"

namespace dbictl {
extern const char* const kSchema;  // schema/schema.sql, embedded at build time
}

namespace {

using dbi::library::CommandResponse;
using dbi::library::CREndpoint;
using dbi::library::CROperation;

struct Subcommand {
    const char* name;
    const char* usage;
    const char* help;
    std::set<std::string> options;
    std::function<int(const dbictl::Arguments&)> run;
    std::set<std::string> flags = {};
    std::vector<std::string> operands = {};
};

// An existing, non-empty file that does not start with SQLite's header.
bool isForeignFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    char header[16] = {};
    if (!file.read(header, sizeof header)) return file.gcount() > 0;
    return std::string(header, sizeof header) != std::string("SQLite format 3\0", 16);
}

// Makes `path` the process's database, without opening it yet; it must
// exist unless `create`.
void useDatabase(const std::string& path, bool create) {
    struct stat info {};
    if (!create && stat(path.c_str(), &info) != 0) throw std::runtime_error("no such database file: " + path);
    if (isForeignFile(path)) throw std::runtime_error("not an SQLite database: " + path);
    int mode = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX;
    if (create) mode |= SQLITE_OPEN_CREATE;
    dbi::Configure::setOptions(path, mode);
    // Operators type arbitrary text (--arg "it's full"): values are bound.
    dbi::Configure::setBindValues(true);
}

// Opens this thread's connection; fails here, with SQLite's text, when the
// file is not a database.
void checkDatabase() {
    dbi::Transaction::getDefaultTransaction().execStatement("SELECT count(*) FROM sqlite_master");
}

void openDatabase(const std::string& path, bool create) {
    useDatabase(path, create);
    checkDatabase();
}

// Blocks until SIGINT or SIGTERM. Call blockStopSignals() before starting
// threads, so that only this wait receives them.
sigset_t stopSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

void blockStopSignals() {
    sigset_t signals = stopSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

void waitForStopSignal() {
    sigset_t signals = stopSignals();
    int received = 0;
    sigwait(&signals, &received);
}

// --wake MS: this process's dispatchers look for other processes' commits
// every MS milliseconds instead of only polling every 5 seconds.
// --wake commit: they sleep until the database files are written to.
void applyWakeOption(const dbictl::Arguments& args) {
    if (args.text("wake", "") == "commit") {
        dbi::Notify::setDefaultWakeOnCommit(true);
        return;
    }
    const int milliseconds = args.integer("wake", 0);
    if (milliseconds < 0) throw dbictl::UsageError("option '--wake' must not be negative");
    dbi::Notify::setDefaultWakeInterval(boost::posix_time::milliseconds(milliseconds));
}

// Runs `notify` on its own thread until a stop signal arrives.
void dispatchUntilStopped(dbi::Notify& notify) {
    boost::thread dispatcher(boost::ref(notify));
    waitForStopSignal();
    notify.stop();
    dispatcher.join();
}

// Runs `notify` on its own thread for as long as it lives. The thread opens
// its connection at once (reading the schema takes about a millisecond),
// while the caller registers the listeners; it dispatches after start().
class RunningDispatcher {
public:
    explicit RunningDispatcher(dbi::Notify& notify)
        : notify(notify), registered(go.get_future()), thread([this] { openThenRun(); }) {}
    ~RunningDispatcher() {
        notify.stop();
        start();
        thread.join();
    }
    RunningDispatcher(const RunningDispatcher&) = delete;
    RunningDispatcher& operator=(const RunningDispatcher&) = delete;

    void start() {
        if (!started.exchange(true)) go.set_value();
    }

private:
    void openThenRun() {
        try {
            dbi::DBManager::getConnection();
        } catch (const dbi::DBIBaseException&) {
            // The caller's own opening reports it.
        }
        registered.wait();
        notify.run();
    }

    dbi::Notify& notify;
    boost::promise<void> go;
    boost::unique_future<void> registered;
    std::atomic<bool> started{false};
    boost::thread thread;
};

// --clock: the monotonic clock, which every process shares, in seconds with
// microseconds, so that lines of two processes can be compared for timing.
std::string clockNow() {
    const boost::chrono::duration<double> since = boost::chrono::steady_clock::now().time_since_epoch();
    std::ostringstream out;
    out << std::fixed << std::setprecision(6) << since.count();
    return out.str();
}

std::string now() {
    const std::time_t seconds = std::time(nullptr);
    char text[32];
    std::strftime(text, sizeof text, "%H:%M:%S", std::localtime(&seconds));
    return text;
}

std::string describe(const CommandResponse& row) {
    std::ostringstream out;
    out << "#" << row.m_id.getValue() << " source " << row.m_sourceId.getValue() << " operation "
        << row.m_operationId.getValue() << " target " << row.m_targetId.getValue() << " state "
        << row.m_stateId.getValue() << " result " << row.m_result.getValue() << " \""
        << row.m_resultString.getValue() << "\" arguments \"" << row.m_stringArgument.getValue() << "\" "
        << row.m_intArgument.getValue();
    return out.str();
}

// The life of one command as the journal recorded it.
void printTimeline(int id) {
    std::vector<dbi::library::Event> events;
    dbi::Query<dbi::library::Event>()
        .equals(dbi::library::Event::whichTable, CommandResponse::m_tableName, dbi::library::Event::m_tableName)
        .equals(dbi::library::Event::rowId, id, dbi::library::Event::m_tableName)
        .orderBy(dbi::library::Event::id)
        .execute(events, dbi::Transaction::getDefaultTransaction());
    static const char* const stateNames[] = {"none", "sent", "accepted", "completed", "timed out"};
    for (const dbi::library::Event& event : events) {
        std::string what = event.m_actionColumn.getValue() == "INSERT" ? "sent" : event.m_actionColumn.getValue();
        if (event.m_actionColumn.getValue() == CommandResponse::stateId) {
            const int state = event.m_newValue.getValue().empty() ? 0 : std::stoi(event.m_newValue.getValue());
            what = state >= 0 && state <= 4 ? stateNames[state] : "state " + event.m_newValue.getValue();
        }
        std::cout << "  " << event.m_eventTime.getValue() << "  " << what << "\n";
    }
}

int init(const dbictl::Arguments& args) {
    openDatabase(args.database(), true);
    dbi::Transaction transaction(true);
    transaction.execStatement(dbictl::kSchema);
    // The lookup rows of the endpoints and operations this library names.
    const std::vector<std::pair<int, const char*>> endpoints = {
        {CREndpoint::LIBRARY_MANAGER, "library manager"}, {CREndpoint::MEDIA_MANAGER, "media manager"},
        {CREndpoint::VIGIL_SCANNER, "vigil scanner"},     {CREndpoint::WEB_UI, "web interface"},
        {CREndpoint::CLI, "command line"}};
    const std::vector<std::pair<int, const char*>> operations = {{CROperation::INVENTORY, "inventory"},
                                                                 {CROperation::MOVE_MEDIUM, "move medium"},
                                                                 {CROperation::START_MEDIA_SCAN, "start scan"},
                                                                 {CROperation::STOP_MEDIA_SCAN, "stop scan"}};
    for (const auto& endpoint : endpoints) CREndpoint(endpoint.first, endpoint.second).createOrUpdate(transaction);
    for (const auto& operation : operations) CROperation(operation.first, operation.second).createOrUpdate(transaction);
    transaction.release();
    std::cout << "created " << args.database() << "\n";
    return 0;
}

int watch(const dbictl::Arguments& args) {
    applyWakeOption(args);
    openDatabase(args.database(), false);
    blockStopSignals();
    std::vector<std::string> tables;
    if (args.has("table")) {
        tables.push_back(args.text("table", ""));
    } else {
        dbi::ResultTuple names = dbi::Transaction::getDefaultTransaction().execStatement(
            "SELECT name FROM sqlite_master WHERE type = 'table' AND name LIKE '%\\_%' ESCAPE '\\' "
            "AND name NOT LIKE 'sqlite%'");
        for (int row = 1; row <= names.get<1>(); ++row) tables.push_back(names.get<0>().get()[row]);
    }
    const bool clock = args.has("clock");
    dbi::Notify notify;
    for (const std::string& table : tables) {
        for (const char* action : {"INSERT", "UPDATE", "DELETE", "state_id"}) {
            notify.addListener(
                table,
                [table, action, clock](int row, const std::string& from, const std::string& to) {
                    std::cout << (clock ? clockNow() : now()) << "  " << table << " #" << row << " " << action;
                    if (!from.empty() || !to.empty()) std::cout << " " << from << " -> " << to;
                    std::cout << std::endl;
                },
                action);
        }
    }
    std::cout << "watching " << tables.size() << " tables of " << args.database() << "; Ctrl-C ends" << std::endl;
    dispatchUntilStopped(notify);
    return 0;
}

int respond(const dbictl::Arguments& args) {
    const int endpoint = args.integer("endpoint");
    const int operation = args.integer("operation");
    const int result = args.integer("result", 0);
    const std::string text = args.text("text", "done");
    applyWakeOption(args);
    openDatabase(args.database(), false);
    blockStopSignals();
    dbi::Notify notify;
    dbi::CommandResponseHelper helper;
    helper.registerWithNotify(notify);
    helper.registerListener(
        [&](const CommandResponse& accepted) {
            std::cout << now() << "  accepted  " << describe(accepted) << std::endl;
            CommandResponse answer(accepted);
            answer.m_result.setIntValue(result);
            answer.m_resultString = text;
            answer.m_endTime = dbi::CURRENT_TIMESTAMP;
            answer.m_stateId.setIntValue(dbi::library::CRState::COMPLETED);
            dbi::Transaction transaction(true);
            answer.save(transaction, false);
            transaction.release();
            std::cout << now() << "  completed #" << answer.m_id.getValue() << " result " << result << " \""
                      << text << "\"" << std::endl;
        },
        operation, static_cast<CREndpoint::enum_type>(endpoint));
    std::cout << "answering operation " << operation << " from endpoint " << endpoint << "; Ctrl-C ends"
              << std::endl;
    dispatchUntilStopped(notify);
    return 0;
}

// Shows the time spent waiting, on a terminal only.
class WaitingDisplay {
public:
    WaitingDisplay() : enabled(isatty(STDOUT_FILENO)) {
        if (enabled) ticker = boost::thread([this] { tick(); });
    }
    ~WaitingDisplay() {
        done = true;
        if (ticker.joinable()) ticker.join();
        if (enabled) std::cout << "\r\033[K" << std::flush;
    }

private:
    void tick() {
        const auto start = boost::chrono::steady_clock::now();
        while (!done) {
            const double seconds =
                boost::chrono::duration<double>(boost::chrono::steady_clock::now() - start).count();
            std::cout << "\rwaiting for an answer... " << std::fixed << std::setprecision(1) << seconds << " s"
                      << std::flush;
            boost::this_thread::sleep_for(boost::chrono::milliseconds(200));
        }
    }

    bool enabled;
    std::atomic<bool> done{false};
    boost::thread ticker;
};

int send(const dbictl::Arguments& args) {
    const int source = args.integer("source");
    const int operation = args.integer("operation");
    const int target = args.integer("target");
    CommandResponse command(source, operation, args.text("arg", ""), args.integer("int", 0), target, "",
                            dbi::CURRENT_TIMESTAMP, 0, "", 0);
    const int timeout = args.integer("timeout", 60);
    if (timeout < 0) throw dbictl::UsageError("option '--timeout' must not be negative");
    applyWakeOption(args);
    useDatabase(args.database(), false);
    // The dispatcher's connection opens beside this thread's, and it stops
    // after the answer is shown: the round trip is insert to answer.
    dbi::CommandResponseHelper helper;
    dbi::Notify notify;
    RunningDispatcher dispatcher(notify);
    checkDatabase();
    helper.registerWithNotify(notify);
    dispatcher.start();
    std::cout << now() << "  sending operation " << command.m_operationId.getValue() << " from endpoint "
              << command.m_sourceId.getValue() << " to " << command.m_targetId.getValue() << std::endl;
    CommandResponse response;
    const auto start = boost::chrono::steady_clock::now();
    {
        WaitingDisplay display;
        response = helper.sendCommand(command, boost::posix_time::seconds(timeout));
    }
    const boost::chrono::duration<double, boost::milli> roundTrip = boost::chrono::steady_clock::now() - start;
    response = CommandResponse::get(response.m_id.getIntValue(), dbi::Transaction::getDefaultTransaction());
    const bool completed = response.m_stateId.getIntValue() == dbi::library::CRState::COMPLETED;
    std::cout << now() << "  " << (completed ? "answered  " : "timed out ") << describe(response) << "\n";
    std::cout << "  round trip " << std::fixed << std::setprecision(1) << roundTrip.count() << " ms\n";
    printTimeline(response.m_id.getIntValue());
    return completed ? 0 : 3;
}

int event(const dbictl::Arguments& args) {
    const int source = args.integer("source");
    const int operation = args.integer("operation");
    const int count = args.integer("count", 1);
    if (count < 1) throw dbictl::UsageError("option '--count' must be at least 1");
    const int every = args.integer("every", 0);
    if (every < 0) throw dbictl::UsageError("option '--every' must not be negative");
    openDatabase(args.database(), false);
    auto next = boost::chrono::steady_clock::now();
    for (int posted = 0; posted < count; ++posted) {
        boost::this_thread::sleep_until(next);
        next += boost::chrono::milliseconds(every);
        dbi::CommandResponseHelper::sendEvent(static_cast<CROperation::enum_type>(operation),
                                              static_cast<CREndpoint::enum_type>(source), args.text("arg", ""),
                                              args.integer("int", 0));
        // Flushed: a reader of a pipe learns of each commit as it happens.
        if (args.has("clock")) std::cout << clockNow() << "  ";
        std::cout << "posted event #" << dbi::Transaction::getDefaultTransaction().lastRowId() << std::endl;
    }
    return 0;
}

const std::vector<Subcommand>& subcommands() {
    static const std::vector<Subcommand> all = {
        {"init", "init DB", "Creates DB from the schema, with the lookup rows of the known endpoints and operations.",
         {}, init},
        {"watch", "watch DB [--table T] [--wake MS|commit] [--clock]",
         "Prints journal events as a dispatcher delivers them, until interrupted.\n"
         "--clock stamps them with the monotonic clock (seconds), for timing against event --clock.",
         {"table", "wake"}, watch, {"clock"}},
        {"respond", "respond DB --endpoint N --operation M [--result R] [--text S] [--wake MS|commit]",
         "Accepts and completes commands from endpoint N asking for operation M, until interrupted.",
         {"endpoint", "operation", "result", "text", "wake"}, respond},
        {"send",
         "send DB --source N --operation M --target K [--arg S] [--int I] [--timeout SECONDS] [--wake MS|commit]",
         "Sends one command and waits for its answer (default time-out 60 s).\n"
         "Exit status: 0 answered, 3 timed out, 1 failed.",
         {"source", "operation", "target", "arg", "int", "timeout", "wake"}, send},
        {"event", "event DB --source N --operation M [--arg S] [--int I] [--count C [--every MS]] [--clock]",
         "Posts a one-way event, or C of them, each in its own commit, one every MS milliseconds.\n"
         "--clock stamps each with the monotonic clock (seconds) after its commit.",
         {"source", "operation", "arg", "int", "count", "every"}, event, {"clock"}},
        {"show", "show DB TABLE [--where CONDITION] [--order COLUMN] [--limit N] [--json]",
         "Prints the rows of TABLE (ordered by id unless --order is given) as an aligned table,\n"
         "or one JSON object per row with --json. CONDITION is an SQL condition on the table's columns.\n"
         "Byte arrays show as base64, NULL as empty (null in JSON).",
         {"where", "order", "limit"}, [](const dbictl::Arguments& args) { return dbictl::show(args, openDatabase); },
         {"json"}, {"table"}},
        {"check", "check DB [--backups DIR]",
         "Checks the file's integrity and references and reports its size, the journal, the write-ahead\n"
         "log and the command channel; with --backups, the age of the newest backup in DIR.\n"
         "Exit status: 0 healthy, 1 findings (listed) or failed.",
         {"backups"}, [](const dbictl::Arguments& args) { return dbictl::check(args, openDatabase); }},
        {"backup", "backup DB FILE",
         "Copies DB to FILE while other processes keep using it: one consistent snapshot, checked,\n"
         "renamed into place only when complete. Shows the pages copied and the rate.",
         {}, [](const dbictl::Arguments& args) { return dbictl::backup(args, openDatabase); }, {}, {"FILE"}},
        {"restore", "restore FILE DB",
         "Replaces DB with the backup FILE in one rename, after checking FILE (a database that passes\n"
         "integrity_check and holds every table of the schema). Refuses while any process has DB open.",
         {}, dbictl::restore, {}, {"DB"}},
    };
    return all;
}

void printUsage(std::ostream& out) {
    out << "usage: dbictl SUBCOMMAND DB [OPTIONS]   (dbictl SUBCOMMAND --help for details)\n"
        << "       dbictl --version\n";
    for (const Subcommand& subcommand : subcommands()) out << "  dbictl " << subcommand.usage << "\n";
}

int runSubcommand(const Subcommand& subcommand, const std::vector<std::string>& words) {
    for (const std::string& word : words) {
        if (word == "--help" || word == "-h") {
            std::cout << "usage: dbictl " << subcommand.usage << "\n" << subcommand.help << "\n";
            if (subcommand.options.count("wake"))
                std::cout << "--wake MS looks for other processes' commits every MS milliseconds, so each hop\n"
                             "takes milliseconds instead of up to 5 s (default 0: journal polls only).\n"
                             "--wake commit sleeps until the database is written to and wakes within a\n"
                             "millisecond of another process's commit, with no timer running meanwhile.\n";
            return 0;
        }
    }
    try {
        return subcommand.run(dbictl::Arguments(words, subcommand.options, subcommand.flags, subcommand.operands));
    } catch (const dbictl::UsageError& e) {
        std::cerr << "dbictl " << subcommand.name << ": " << e.what() << "\nusage: dbictl " << subcommand.usage
                  << "\n";
        return 2;
    } catch (const dbi::DBIBaseException& e) {
        std::cerr << "dbictl " << subcommand.name << ": database error " << e.getCode() << ": " << e.what() << "\n";
    } catch (const std::exception& e) {
        std::cerr << "dbictl " << subcommand.name << ": " << e.what() << "\n";
    }
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.empty() || words[0] == "--help" || words[0] == "-h") {
        printUsage(words.empty() ? std::cerr : std::cout);
        return words.empty() ? 2 : 0;
    }
    if (words[0] == "--version") {
        std::cout << dbi::version() << "\n";
        return 0;
    }
    for (const Subcommand& subcommand : subcommands())
        if (words[0] == subcommand.name) return runSubcommand(subcommand, {words.begin() + 1, words.end()});
    std::cerr << "dbictl: unknown subcommand '" << words[0] << "'\n";
    printUsage(std::cerr);
    return 2;
}
