// The operator's subcommands of dbictl, run as a separate process on a
// database this test fills through the library, and dbictl as the other
// process that commands and commits come from.
#include <signal.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/chrono.hpp>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <set>

#include "support/ChannelSupport.h"

namespace {

using Clock = boost::chrono::steady_clock;

// A dbictl process whose output and errors the test reads; ended by finish().
class DbictlProcess {
public:
    explicit DbictlProcess(std::vector<std::string> arguments) {
        std::vector<std::string> words;
        boost::split(words, std::string(DBICTL_COMMAND), boost::is_any_of("|"));
        words.insert(words.end(), arguments.begin(), arguments.end());
        output = dbitest::spawnReadingOutput(words, pid);
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

    // Its wait status once it ends, after SIGTERM if told to stop.
    int finish(bool stop = false) {
        if (stop) kill(pid, SIGTERM);
        int status = 0;
        waitpid(pid, &status, 0);
        fclose(output);
        return status;
    }

private:
    pid_t pid = 0;
    FILE* output = nullptr;
};

struct Outcome {
    int status;
    std::string output;  // standard output and error together
};

Outcome dbictl(const std::vector<std::string>& arguments) {
    DbictlProcess process(arguments);
    Outcome run{0, ""};
    for (std::string line; process.readLine(line);) run.output += line;
    const int status = process.finish();
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

using dbitest::contains;

class Dbictl : public dbitest::SchemaDatabase {
protected:
    // Another process that runs `sql` on a connection of its own and keeps
    // it, transaction and all, until destroyed; then it dies without closing.
    std::unique_ptr<dbitest::ChildProcess> holding(const std::string& sql) {
        auto holder = std::make_unique<dbitest::ChildProcess>([&](dbitest::ChildProcess& self) {
            sqlite3* db = nullptr;
            const bool ran = sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK &&
                             sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
            self.tell(ran ? '1' : '0');
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
        std::string base64 = element.m_addDescriptor.getValue();
        base64.erase(std::remove(base64.begin(), base64.end(), '\n'), base64.end());
        return base64;
    }
};

TEST_F(Dbictl, showPrintsAnAlignedTableOrJsonThroughTheRecordClassFilteredOrderedAndLimited) {
    const std::string base64 = addElements();

    const Outcome table = dbictl({"show", path, "library_element"});
    EXPECT_EQ(0, table.status) << table.output;
    std::vector<std::string> lines;
    boost::split(lines, table.output, boost::is_any_of("\n"));
    ASSERT_GE(lines.size(), 5u) << table.output;
    EXPECT_EQ(0u, lines[0].find("id  slot_number  partition_id")) << lines[0];
    EXPECT_TRUE(contains(lines[2], "ABC123L8") && contains(lines[2], base64)) << lines[2];
    EXPECT_EQ(lines[0].find("volser"), lines[2].find("ABC123L8")) << "columns are aligned";
    EXPECT_EQ("(2 rows)", lines[4]);

    const Outcome json = dbictl({"show", path, "library_element", "--json"});
    EXPECT_EQ(0, json.status) << json.output;
    EXPECT_TRUE(contains(json.output, "{\"id\":1,\"slot_number\":7,") &&
                contains(json.output, "\"element_full\":true") &&
                contains(json.output, "\"add_descriptor\":\"" + base64 + "\"") &&
                contains(json.output, "{\"id\":9,\"slot_number\":3,") && contains(json.output, "\"volser\":null"))
        << json.output;
    EXPECT_EQ(2, std::count(json.output.begin(), json.output.end(), '\n'));

    const Outcome some = dbictl({"show", path, "library_element", "--where", "volser IS NULL OR slot_number > 5",
                                 "--order", "slot_number", "--limit", "1", "--json"});
    EXPECT_EQ(0, some.status) << some.output;
    EXPECT_EQ(0u, some.output.find("{\"id\":9,")) << some.output;
    EXPECT_EQ(1, std::count(some.output.begin(), some.output.end(), '\n')) << some.output;
}

// Each run's exit status (0 done, 1 failed, 2 misused) and the texts its
// output holds; "DB" stands for the test's database, runs go in order.
TEST_F(Dbictl, runsExitWithTheirStatusAndSayWhy) {
    ASSERT_EQ(0, mkdir((path + ".backups").c_str(), 0755));
    exec(
        "INSERT INTO library_commandresponse (source_id, operation_id, target_id, start_time, state_id) "
        "VALUES (1, 1, 2, datetime('now', '-5 minutes'), 3)");
    const struct {
        std::vector<std::string> arguments;
        int status;
        std::vector<std::string> says;
    } runs[] = {
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
    };
    for (const auto& run : runs) {
        std::vector<std::string> arguments = run.arguments;
        for (std::string& argument : arguments)
            if (argument.compare(0, 2, "DB") == 0) argument = path + argument.substr(2);
        const Outcome outcome = dbictl(arguments);
        SCOPED_TRACE(boost::algorithm::join(run.arguments, " ") + ": " + outcome.output);
        EXPECT_EQ(run.status, outcome.status);
        for (const std::string& part : run.says) EXPECT_TRUE(contains(outcome.output, part)) << part;
    }
}

TEST_F(Dbictl, checkListsWhatIsWrong) {
    exec("PRAGMA foreign_keys = OFF");
    exec(
        "INSERT INTO library_commandresponse (source_id, operation_id, target_id, start_time, state_id) VALUES "
        "(1, 1, 2, datetime('now', '-2 minutes'), 2), (1, 1, 2, datetime('now'), 1), "
        "(1, 1, 0, datetime('now', '-2 minutes'), 1), (1, 9, 2, datetime('now'), 3)");
    exec("DELETE FROM library_crstate WHERE id = 4");
    exec("DROP TABLE vigil_settings");
    const Outcome run = dbictl({"check", path, "--backups", directory + "/none"});
    EXPECT_EQ(1, run.status) << run.output;
    for (const std::string& finding :
         std::vector<std::string>{"5 findings:\n", "backup directory " + directory + "/none: No such file",
                                  "command #1 still accepted since",
                                  "library_commandresponse row 4 refers to a missing library_croperation row",
                                  "library_crstate lacks the row of state 4", "table vigil_settings is missing"})
        EXPECT_TRUE(contains(run.output, finding)) << finding << " in " << run.output;
}

TEST_F(Dbictl, restoreRefusesABadBackupOrADatabaseInUseAndOtherwiseReplacesItWithoutTheOldLog) {
    addElements();
    const std::string good = directory + "/good.db";
    const std::string partial = directory + "/partial.db";
    ASSERT_EQ(0, dbictl({"backup", path, good}).status);
    ASSERT_EQ(0, dbictl({"backup", path, partial}).status);
    sqlite3* raw = nullptr;
    sqlite3_open_v2(partial.c_str(), &raw, SQLITE_OPEN_READWRITE, nullptr);
    EXPECT_EQ(SQLITE_OK, sqlite3_exec(raw, "DROP TABLE vigil_settings", nullptr, nullptr, nullptr));
    sqlite3_close(raw);
    const std::string text = directory + "/notes.txt";
    std::ofstream(text) << "not a database\n";

    struct Case {
        const char* name;
        std::string file;
        const char* holderSql;  // what another process keeps running on the database, if any
        const char* refusal;
    };
    const Case cases[] = {
        {"not a database", text, nullptr, "not a usable backup: file is not a database"},
        {"tables missing", partial, nullptr, "the schema's tables vigil_settings are missing"},
        {"no such file", directory + "/none.db", nullptr, "no such backup file"},
        {"reader in a transaction", good, "BEGIN; SELECT count(*) FROM library_element;", "a reader is in a"},
        {"writer in a transaction", good, "BEGIN IMMEDIATE; DELETE FROM library_element;", "a writer or checkpoint"},
        {"idle connection", good, "SELECT count(*) FROM library_element;", "has it open in WAL mode"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        dbi::DBManager::swapConnection(boost::shared_ptr<sqlite3>());  // only the holder has the file open
        const std::unique_ptr<dbitest::ChildProcess> holder = c.holderSql ? holding(c.holderSql) : nullptr;
        const std::string before = dbitest::readFile(path);
        const std::set<std::string> names = dbitest::listing(directory);
        const Outcome run = dbictl({"restore", c.file, path});
        EXPECT_EQ(1, run.status) << run.output;
        EXPECT_TRUE(contains(run.output, "refused: ") && contains(run.output, c.refusal)) << run.output;
        EXPECT_EQ(before, dbitest::readFile(path));
        EXPECT_EQ(names, dbitest::listing(directory));
    }
    // Deletes the elements and dies: the deletion is only in the log, which
    // the restore must not replay over the backup.
    holding("PRAGMA wal_autocheckpoint = 0; DELETE FROM library_element;");
    ASSERT_GT(dbitest::readFile(path + "-wal").size(), 0u);
    const Outcome run = dbictl({"restore", good, path});
    EXPECT_EQ(0, run.status) << run.output;
    EXPECT_EQ("2", scalar("SELECT count(*) FROM library_element"));
    EXPECT_EQ(0u, dbitest::listing(directory).count("test.db.restoring"));
    EXPECT_EQ(0, dbictl({"check", path}).status);
}

bool exitedWell(int status) {
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// How both processes' dispatchers wait: the 5-second poll, every 5 ms, or
// on commit; with a bound on a round trip, which a fast mode keeps well
// within one poll.
struct WakeMode {
    const char* name;
    std::vector<std::string> option;
    int boundSeconds;
};

class ProcessChannelModes : public dbitest::SchemaDatabase, public ::testing::WithParamInterface<WakeMode> {
protected:
    void TearDown() override {
        dbi::Notify::setDefaultWakeInterval(boost::posix_time::time_duration());
        dbi::Notify::setDefaultWakeOnCommit(false);
        SchemaDatabase::TearDown();
    }

    // The same mode in this process, as dbictl takes it from its option.
    void takeMode() {
        const std::vector<std::string>& option = GetParam().option;
        if (option.empty()) return;
        if (option.back() == "commit")
            dbi::Notify::setDefaultWakeOnCommit(true);
        else
            dbi::Notify::setDefaultWakeInterval(boost::posix_time::milliseconds(std::stoi(option.back())));
    }

    DbictlProcess responder(const std::string& text) {
        std::vector<std::string> words = {"respond", path, "--endpoint", "1", "--operation", "1", "--text", text};
        words.insert(words.end(), GetParam().option.begin(), GetParam().option.end());
        return DbictlProcess(words);
    }
};

INSTANTIATE_TEST_SUITE_P(, ProcessChannelModes,
                         ::testing::Values(WakeMode{"poll", {}, 30}, WakeMode{"interval", {"--wake", "5"}, 3},
                                           WakeMode{"commit", {"--wake", "commit"}, 3}),
                         [](const ::testing::TestParamInfo<WakeMode>& info) { return info.param.name; });

TEST_P(ProcessChannelModes, aCommandIsAnsweredByAnotherProcess) {
    DbictlProcess answering = responder("from afar");
    ASSERT_TRUE(answering.waitFor("answering"));
    takeMode();
    dbi::library::CommandResponse command(1, 1, "slot 3", 3, 2, "", dbi::CURRENT_TIMESTAMP, 0, "", 0);
    const Clock::time_point start = Clock::now();
    const dbi::library::CommandResponse answer = dbi::sendCommand(command, boost::posix_time::seconds(40));
    EXPECT_LT(Clock::now() - start, boost::chrono::seconds(GetParam().boundSeconds));
    EXPECT_EQ("3", answer.m_stateId.getValue());
    EXPECT_EQ("from afar", answer.m_resultString.getValue());
    std::vector<std::string> send = {"send", path, "--source", "1", "--operation", "1", "--target", "2"};
    send.insert(send.end(), GetParam().option.begin(), GetParam().option.end());
    const Outcome sent = dbictl(send);
    EXPECT_EQ(0, sent.status) << sent.output;
    EXPECT_TRUE(contains(sent.output, "answered") && contains(sent.output, "from afar")) << sent.output;
    EXPECT_TRUE(exitedWell(answering.finish(true)));
}

TEST_F(Dbictl, watchPrintsEveryJournalledChangeUntilStopped) {
    DbictlProcess watcher({"watch", path, "--wake", "commit", "--clock"});
    ASSERT_TRUE(watcher.waitFor("watching "));
    exec("INSERT INTO library_partition (guid) VALUES ('g')");
    EXPECT_TRUE(watcher.waitFor(" library_partition #1 INSERT"));
    EXPECT_TRUE(exitedWell(watcher.finish(true)));
}

// Each commit of a busy writer in another process arrives once, in order,
// and none waits for the 5-second poll.
TEST_F(Dbictl, everyCommitOfAnotherProcessWakesTheDispatcher) {
    const int kCommits = 1000;
    dbi::Notify notify;
    notify.setWakeOnCommit(true);
    std::vector<std::pair<int, Clock::time_point>> delivered;
    dbitest::Inbox inbox;
    notify.addListener(
        "library_commandresponse",
        [&](int row, const std::string&, const std::string&) {
            delivered.emplace_back(row, Clock::now());
            inbox.add("");
        },
        dbi::Notify::INSERT, "");
    std::map<int, Clock::time_point> committed;
    {
        dbitest::RunningNotify running(notify);
        DbictlProcess writer({"event", path, "--source", "1", "--operation", "1", "--count", std::to_string(kCommits)});
        for (std::string line; writer.readLine(line);)
            if (contains(line, "#")) committed[std::stoi(line.substr(line.find('#') + 1))] = Clock::now();
        EXPECT_TRUE(exitedWell(writer.finish()));
        EXPECT_TRUE(inbox.waitFor(kCommits, 60));
    }
    ASSERT_EQ(std::size_t(kCommits), committed.size());
    std::vector<int> order;
    Clock::duration slowest = Clock::duration::zero();
    for (const auto& delivery : delivered) {
        order.push_back(delivery.first);
        if (committed.count(delivery.first)) slowest = std::max(slowest, delivery.second - committed[delivery.first]);
    }
    std::vector<int> expected;
    for (const auto& commit : committed) expected.push_back(commit.first);
    EXPECT_EQ(expected, order);
    EXPECT_LT(slowest, boost::chrono::seconds(2));
}

}  // namespace
