// The operator's subcommands of dbictl, run as a separate process on a
// database this test fills through the library, and dbictl as the other
// process that commands and commits come from.
#include <signal.h>
#include <spawn.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/erase.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/chrono.hpp>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <set>

#include "support/ChannelSupport.h"

extern char** environ;

namespace {

using Clock = boost::chrono::steady_clock;
using dbi::library::CREndpoint;
using dbi::library::CROperation;

// A dbictl process whose output and errors, on one pipe, the test reads;
// ended by finish().
class DbictlProcess {
public:
    explicit DbictlProcess(std::vector<std::string> arguments) {
        std::vector<std::string> words;
        boost::split(words, std::string(DBICTL_COMMAND), boost::is_any_of("|"));
        words.insert(words.end(), arguments.begin(), arguments.end());
        std::vector<char*> argv;
        for (std::string& word : words) argv.push_back(&word[0]);
        argv.push_back(nullptr);
        int pipeEnds[2];
        if (pipe(pipeEnds) != 0) throw std::runtime_error("pipe");
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDERR_FILENO);
        posix_spawn_file_actions_addclose(&actions, pipeEnds[0]);
        const int failed = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        close(pipeEnds[1]);
        if (failed) throw std::runtime_error("cannot start " + words[0]);
        output = fdopen(pipeEnds[0], "r");
    }

    // The next line it printed; false once it closed its output.
    bool readLine(std::string& line) {
        char text[512];
        if (!fgets(text, sizeof text, output)) return false;
        line = text;
        return true;
    }

    // True once it printed a line holding `text`.
    bool waitFor(const std::string& text) {
        for (std::string line; readLine(line);)
            if (dbitest::contains(line, text)) return true;
        return false;
    }

    // Its exit status once it ends (-1 if killed), after SIGTERM if told to stop.
    int finish(bool stop = false) {
        if (stop) kill(pid, SIGTERM);
        int status = 0;
        waitpid(pid, &status, 0);
        fclose(output);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t pid = 0;
    FILE* output = nullptr;
};

struct Outcome {
    int status;
    std::string output;  // standard output and error together
};

using dbitest::contains;

class Dbictl : public dbitest::SchemaDatabase {
protected:
    void TearDown() override {
        dbi::Notify::setDefaultWakeOnCommit(false);
        SchemaDatabase::TearDown();
    }

    // Runs dbictl to its end; arguments starting "DB" name the test's
    // database, or a file beside it.
    Outcome dbictl(std::vector<std::string> arguments) {
        for (std::string& argument : arguments)
            if (argument.compare(0, 2, "DB") == 0) argument = path + argument.substr(2);
        DbictlProcess process(arguments);
        std::string output;
        for (std::string line; process.readLine(line);) output += line;
        return {process.finish(), output};
    }

    // Another process that runs `sql` on a connection of its own and keeps
    // it, transaction and all, until destroyed; then it dies without closing.
    std::unique_ptr<dbitest::ChildProcess> holding(const std::string& sql) {
        auto holder = std::make_unique<dbitest::ChildProcess>([&](dbitest::ChildProcess& self) {
            const dbitest::OtherConnection db = openOther();
            self.tell(sqlite3_exec(db.get(), sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK ? '1' : '0');
            pause();
        });
        EXPECT_EQ('1', holder->heard()) << sql;
        return holder;
    }

    // Two elements of one partition; the second has NULL columns. Returns
    // the first one's bytes in base64, on one line.
    std::string addElements() {
        dbi::Transaction transaction(true);
        dbi::library::Partition partition("guid-1", "left", 0, true, true);
        partition.save(transaction);
        dbi::library::Element element(7, partition.m_id.getIntValue(), 1, "L1", "", true, false, true, "ABC123L8",
                                      {0x00, 0xff, 0x10, 0x41}, false);
        element.save(transaction);
        transaction.execStatement("INSERT INTO library_element (id, slot_number, partition_id) VALUES (9, 3, " +
                                  partition.m_id.getValue() + ")");
        transaction.release();
        return boost::algorithm::erase_all_copy(element.m_addDescriptor.getValue(), "\n");
    }
};

// Each run's exit status (0 done, 1 failed, 2 misused), texts its output
// holds and lacks; runs go in order, each after its SQL from outside.
TEST_F(Dbictl, runsExitWithTheirStatusAndSayWhy) {
    const std::string base64 = addElements();
    std::vector<std::string> lines;  // show aligns the columns of its table
    boost::split(lines, dbictl({"show", "DB", "library_element"}).output, boost::is_any_of("\n"));
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(lines[0].find("volser"), lines[2].find("ABC123L8")) << lines[0] << "\n" << lines[2];
    ASSERT_EQ(0, mkdir((path + ".backups").c_str(), 0755));
    exec(
        "INSERT INTO library_commandresponse (source_id, operation_id, target_id, start_time, state_id) "
        "VALUES (1, 1, 2, datetime('now', '-5 minutes'), 3)");
    const struct {
        std::vector<std::string> arguments;
        int status;
        std::vector<std::string> says;
        std::vector<std::string> lacks = {};
        std::string sqlBefore = "";
    } runs[] = {
        {{"show", "DB", "library_element"}, 0, {"id  slot_number  partition_id", "ABC123L8", base64, "\n(2 rows)\n"}},
        {{"show", "DB", "library_element", "--json"},
         0,
         {"{\"id\":1,\"slot_number\":7,", "\"element_full\":true", "\"add_descriptor\":\"" + base64 + "\"",
          "}\n{\"id\":9,\"slot_number\":3,", "\"volser\":null"}},
        {{"show", "DB", "library_element", "--where", "volser IS NULL OR slot_number > 5", "--order", "slot_number",
          "--limit", "1", "--json"},
         0,
         {"{\"id\":9,"},
         {"\"id\":1,"}},
        {{"show", "DB", "library_elements"}, 2, {"library_element\n", "vigil_settings\n"}},
        {{"show", "DB", "library_element", "--order", "slot"}, 2, {"slot_number"}},
        {{"show", "DB"}, 2, {}},
        {{"show", "DB", "library_element", "--limit", "-1"}, 2, {}},
        {{"show", "DB", "library_element", "--where", "no_such_column = 1"}, 1, {}},
        {{"show", "DB.missing", "library_element"}, 1, {}},
        {{"check", "DB"}, 0, {"integrity: ok\n", "commands: 1 completed\n", " rows, newest id ", "\nhealthy\n"}},
        {{"backup", "DB", "DB.backups/first.db"}, 0, {" pages copied, ", "backed up " + path}},
        {{"check", "DB", "--backups", "DB.backups"},
         0,
         {" pages of ", "\nnewest backup: " + path + ".backups/first.db, "}},
        {{"event", "DB", "--source", "1", "--operation", "1", "--arg", "it's full"}, 0, {}},  // stored as typed
        {{"show", "DB", "library_commandresponse"}, 0, {" it's full "}},
        {{"init", "DB.new"}, 0, {}},
        {{"--version"}, 0, {std::string(dbi::version()) + "\n"}},
        {{"--help"}, 0, {"usage: dbictl "}},
        {{"send", "--help"}, 0, {"--wake commit sleeps"}},
        {{"nosuch"}, 2, {"unknown subcommand 'nosuch'"}},
        // Commands 3 to 6: one still accepted, one of an unknown operation.
        {{"check", "DB", "--backups", "DB.none"},
         1,
         {"5 findings:\n", "backup directory " + path + ".none: No such file", "command #3 still accepted since",
          "library_commandresponse row 6 refers to a missing library_croperation row",
          "library_crstate lacks the row of state 4", "table vigil_settings is missing"},
         {},
         "INSERT INTO library_commandresponse (source_id, operation_id, target_id, start_time, state_id) VALUES "
         "(1, 1, 2, datetime('now', '-2 minutes'), 2), (1, 1, 2, datetime('now'), 1), "
         "(1, 1, 0, datetime('now', '-2 minutes'), 1), (1, 9, 2, datetime('now'), 3);"
         "DELETE FROM library_crstate WHERE id = 4; DROP TABLE vigil_settings;"},
    };
    for (const auto& run : runs) {
        if (!run.sqlBefore.empty()) outside(run.sqlBefore);
        const Outcome outcome = dbictl(run.arguments);
        SCOPED_TRACE(boost::algorithm::join(run.arguments, " ") + ": " + outcome.output);
        EXPECT_EQ(run.status, outcome.status);
        for (const std::string& part : run.says) EXPECT_TRUE(contains(outcome.output, part)) << part;
        for (const std::string& part : run.lacks) EXPECT_FALSE(contains(outcome.output, part)) << part;
    }
}

TEST_F(Dbictl, restoreRefusesABadBackupOrADatabaseInUseAndOtherwiseReplacesItWithoutTheOldLog) {
    addElements();
    const std::string good = directory + "/good.db";
    const std::string partial = directory + "/partial.db";
    ASSERT_EQ(0, dbictl({"backup", "DB", good}).status);
    ASSERT_EQ(0, dbictl({"backup", "DB", partial}).status);
    outside("DROP TABLE vigil_settings", partial);
    const std::string text = directory + "/notes.txt";
    std::ofstream(text) << "not a database\n";

    const struct {
        std::string file;
        const char* holderSql;  // what another process keeps running on the database, if any
        const char* refusal;
    } cases[] = {
        {text, nullptr, "not a usable backup: file is not a database"},
        {partial, nullptr, "the schema's tables vigil_settings are missing"},
        {directory + "/none.db", nullptr, "no such backup file"},
        {good, "BEGIN; SELECT count(*) FROM library_element;", "a reader is in a"},
        {good, "BEGIN IMMEDIATE; DELETE FROM library_element;", "a writer or checkpoint"},
        {good, "SELECT count(*) FROM library_element;", "has it open in WAL mode"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.refusal);
        dbi::DBManager::swapConnection(boost::shared_ptr<sqlite3>());  // only the holder has the file open
        const std::unique_ptr<dbitest::ChildProcess> holder = c.holderSql ? holding(c.holderSql) : nullptr;
        const std::string before = dbitest::readFile(path);
        const std::set<std::string> names = dbitest::listing(directory);
        const Outcome run = dbictl({"restore", c.file, "DB"});
        EXPECT_EQ(1, run.status) << run.output;
        EXPECT_TRUE(contains(run.output, "refused: ") && contains(run.output, c.refusal)) << run.output;
        EXPECT_EQ(before, dbitest::readFile(path));
        EXPECT_EQ(names, dbitest::listing(directory));
    }
    // Deletes the elements and dies: the deletion is only in the log, which
    // the restore must not replay over the backup.
    holding("PRAGMA wal_autocheckpoint = 0; DELETE FROM library_element;");
    ASSERT_GT(dbitest::readFile(path + "-wal").size(), 0u);
    const Outcome run = dbictl({"restore", good, "DB"});
    EXPECT_EQ(0, run.status) << run.output;
    EXPECT_EQ("2", scalar("SELECT count(*) FROM library_element"));
    EXPECT_EQ(0u, dbitest::listing(directory).count("test.db.restoring"));
    EXPECT_EQ(0, dbictl({"check", "DB"}).status);
}

// Both ways between processes, each side waking its own way: the responder
// every 5 ms, this process and the sender on commit, well within one poll;
// a watcher prints every journalled change until stopped.
TEST_F(Dbictl, aCommandIsAnsweredByAnotherProcessAndWatched) {
    DbictlProcess watcher({"watch", path, "--wake", "commit", "--clock"});
    ASSERT_TRUE(watcher.waitFor("watching "));
    DbictlProcess answering({"respond", path, "--endpoint", "1", "--operation", "1", "--result", "7", "--text",
                             "from afar", "--wake", "5"});
    ASSERT_TRUE(answering.waitFor("answering"));
    dbi::Notify::setDefaultWakeOnCommit(true);
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(std::make_pair(7, std::string("from afar")),
              dbi::sendCommand(CREndpoint::LIBRARY_MANAGER, CROperation::INVENTORY, "", 0, CREndpoint::MEDIA_MANAGER));
    EXPECT_LT(Clock::now() - start, boost::chrono::seconds(3));
    const Outcome sent =
        dbictl({"send", "DB", "--source", "1", "--operation", "1", "--target", "2", "--wake", "commit"});
    EXPECT_EQ(0, sent.status) << sent.output;
    EXPECT_TRUE(contains(sent.output, "answered") && contains(sent.output, "from afar")) << sent.output;
    EXPECT_EQ(0, answering.finish(true));
    EXPECT_TRUE(watcher.waitFor(" library_commandresponse #2 INSERT"));
    EXPECT_EQ(0, watcher.finish(true));
}

// Each commit of a busy writer in another process arrives once, in order,
// and none waits for the 5-second poll.
TEST_F(Dbictl, everyCommitOfAnotherProcessWakesTheDispatcher) {
    const int kCommits = 1000;
    dbi::Notify notify;
    notify.setWakeOnCommit(true);
    std::map<int, Clock::time_point> committed, delivered;  // each written by one thread only
    dbitest::Inbox order;
    notify.addListener(
        "library_commandresponse",
        [&](int row, const std::string&, const std::string&) {
            delivered[row] = Clock::now();
            order.add(std::to_string(row));
        },
        dbi::Notify::INSERT, "");
    {
        dbitest::RunningNotify running(notify);
        DbictlProcess writer({"event", path, "--source", "1", "--operation", "1", "--count", std::to_string(kCommits)});
        for (std::string line; writer.readLine(line);)
            if (contains(line, "#")) committed[std::stoi(line.substr(line.find('#') + 1))] = Clock::now();
        EXPECT_EQ(0, writer.finish());
        EXPECT_TRUE(order.waitFor(kCommits, 60));
    }
    std::vector<std::string> expected;
    Clock::duration slowest = Clock::duration::zero();
    for (const auto& [row, time] : committed) {
        expected.push_back(std::to_string(row));
        slowest = std::max(slowest, delivered[row] - time);
    }
    EXPECT_EQ(expected, order.texts());
    EXPECT_LT(slowest, boost::chrono::seconds(2));
}

}  // namespace
