#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/algorithm/string/split.hpp>
#include <boost/chrono.hpp>
#include <boost/algorithm/string/classification.hpp>
#include <map>

#include "support/ChannelSupport.h"

namespace {

using Clock = boost::chrono::steady_clock;

// A dbictl process whose output the test reads; ended by stop() or finish().
class Dbictl {
public:
    explicit Dbictl(std::vector<std::string> arguments) {
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
            if (line.find(text) != std::string::npos) return true;
        return false;
    }

    // Its wait status after SIGTERM.
    int stop() {
        kill(pid, SIGTERM);
        return finish();
    }

    // Its wait status once it ends by itself.
    int finish() {
        int status = 0;
        waitpid(pid, &status, 0);
        fclose(output);
        return status;
    }

private:
    pid_t pid = 0;
    FILE* output = nullptr;
};

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

class ProcessChannel : public dbitest::SchemaDatabase {
protected:
    void TearDown() override {
        dbi::Notify::setDefaultWakeInterval(boost::posix_time::time_duration());
        dbi::Notify::setDefaultWakeOnCommit(false);
        SchemaDatabase::TearDown();
    }
};

class ProcessChannelModes : public ProcessChannel, public ::testing::WithParamInterface<WakeMode> {
protected:
    // The same mode in this process, as dbictl takes it from its option.
    void takeMode() {
        const std::vector<std::string>& option = GetParam().option;
        if (option.empty()) return;
        if (option.back() == "commit")
            dbi::Notify::setDefaultWakeOnCommit(true);
        else
            dbi::Notify::setDefaultWakeInterval(boost::posix_time::milliseconds(std::stoi(option.back())));
    }

    Dbictl responder(const std::string& text) {
        std::vector<std::string> words = {"respond", path, "--endpoint", "1", "--operation", "1", "--text", text};
        words.insert(words.end(), GetParam().option.begin(), GetParam().option.end());
        return Dbictl(words);
    }
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(, ProcessChannelModes,
                         ::testing::Values(WakeMode{"poll", {}, 30}, WakeMode{"interval", {"--wake", "5"}, 3},
                                           WakeMode{"commit", {"--wake", "commit"}, 3}),
                         [](const ::testing::TestParamInfo<WakeMode>& info) { return info.param.name; });

TEST_P(ProcessChannelModes, aCommandIsAnsweredByAnotherProcess) {
    Dbictl answering = responder("from afar");
    ASSERT_TRUE(answering.waitFor("answering"));
    takeMode();
    dbi::library::CommandResponse command(1, 1, "slot 3", 3, 2, "", dbi::CURRENT_TIMESTAMP, 0, "", 0);
    const Clock::time_point start = Clock::now();
    const dbi::library::CommandResponse answer = dbi::sendCommand(command, boost::posix_time::seconds(40));
    EXPECT_LT(Clock::now() - start, boost::chrono::seconds(GetParam().boundSeconds));
    EXPECT_EQ("3", answer.m_stateId.getValue());
    EXPECT_EQ("from afar", answer.m_resultString.getValue());
    EXPECT_TRUE(exitedWell(answering.stop()));
}

// Each commit of a busy writer in another process arrives once, in order,
// and none waits for the 5-second poll.
TEST_F(ProcessChannel, everyCommitOfAnotherProcessWakesTheDispatcher) {
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
        Dbictl writer({"event", path, "--source", "1", "--operation", "1", "--count", std::to_string(kCommits)});
        for (std::string line; writer.readLine(line);)
            committed[std::stoi(line.substr(line.find('#') + 1))] = Clock::now();
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
