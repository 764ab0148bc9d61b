// The operator's subcommands of dbictl, run as a separate process on a
// database this test fills through the library.
#include <sys/wait.h>

#include <cstdio>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/split.hpp>

#include "support/ChannelSupport.h"

namespace {

struct Outcome {
    int status;
    std::string output;  // standard output and error together
};

Outcome dbictl(const std::vector<std::string>& arguments) {
    std::vector<std::string> words;
    boost::split(words, std::string(DBICTL_COMMAND), boost::is_any_of("|"));
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::string command;
    for (const std::string& word : words) {
        std::string quoted = "'";
        for (const char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
        command += quoted + "' ";
    }
    FILE* pipe = popen((command + "2>&1").c_str(), "r");
    if (!pipe) throw std::runtime_error("cannot run " + command);
    Outcome run{0, ""};
    char buffer[4096];
    for (std::size_t got; (got = fread(buffer, 1, sizeof buffer, pipe)) > 0;) run.output.append(buffer, got);
    const int status = pclose(pipe);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

class Dbictl : public dbitest::SchemaDatabase {
protected:
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

TEST_F(Dbictl, showPrintsAnAlignedTableOrJsonThroughTheRecordClass) {
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
    EXPECT_TRUE(contains(json.output, "{\"id\":1,\"slot_number\":7,") && contains(json.output, "\"element_full\":true") &&
                contains(json.output, "\"add_descriptor\":\"" + base64 + "\"") &&
                contains(json.output, "{\"id\":9,\"slot_number\":3,") && contains(json.output, "\"volser\":null"))
        << json.output;
    EXPECT_EQ(2, std::count(json.output.begin(), json.output.end(), '\n'));
}

TEST_F(Dbictl, showFiltersOrdersAndLimits) {
    addElements();
    const Outcome run = dbictl({"show", path, "library_element", "--where", "volser IS NULL OR slot_number > 5",
                            "--order", "slot_number", "--limit", "1", "--json"});
    EXPECT_EQ(0, run.status) << run.output;
    EXPECT_EQ(0u, run.output.find("{\"id\":9,")) << run.output;
    EXPECT_EQ(1, std::count(run.output.begin(), run.output.end(), '\n')) << run.output;
}

// Each run's exit status (0 done, 1 failed, 2 misused) and the texts its
// output holds; "DB" stands for the test's database.
TEST_F(Dbictl, runsExitWithTheirStatusAndSayWhy) {
    exec("INSERT INTO library_commandresponse (source_id, operation_id, target_id, start_time, state_id) "
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
        {{"--version"}, 0, {std::string(dbi::version()) + "\n"}},
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

TEST_F(Dbictl, storesAnOperatorsTextAsTyped) {
    const std::string database = directory + "/operator.db";  // with the lookup rows of init
    ASSERT_EQ(0, dbictl({"init", database}).status);
    const Outcome run = dbictl({"event", database, "--source", "1", "--operation", "3", "--arg", "it's full"});
    EXPECT_EQ(0, run.status) << run.output;
    EXPECT_TRUE(contains(dbictl({"show", database, "library_commandresponse"}).output, " it's full "));
}

TEST_F(Dbictl, checkListsWhatIsWrong) {
    exec("PRAGMA foreign_keys = OFF");
    exec("INSERT INTO library_commandresponse (source_id, operation_id, target_id, start_time, state_id) VALUES "
         "(1, 1, 2, datetime('now', '-2 minutes'), 2), (1, 1, 2, datetime('now'), 1), "
         "(1, 1, 0, datetime('now', '-2 minutes'), 1), (1, 9, 2, datetime('now'), 3)");
    exec("DELETE FROM library_crstate WHERE id = 4");
    exec("DROP TABLE vigil_settings");
    const Outcome run = dbictl({"check", path});
    EXPECT_EQ(1, run.status) << run.output;
    EXPECT_TRUE(contains(run.output, "4 findings:\n")) << run.output;
    EXPECT_TRUE(contains(run.output, "command #1 still accepted since")) << run.output;
    EXPECT_TRUE(contains(run.output, "library_commandresponse row 4 refers to a missing library_croperation row"))
        << run.output;
    EXPECT_TRUE(contains(run.output, "library_crstate lacks the row of state 4")) << run.output;
    EXPECT_TRUE(contains(run.output, "table vigil_settings is missing")) << run.output;
}

}  // namespace
