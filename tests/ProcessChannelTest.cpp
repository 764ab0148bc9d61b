#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/algorithm/string/split.hpp>
#include <boost/chrono.hpp>
#include <boost/algorithm/string/classification.hpp>

#include "support/ChannelSupport.h"

extern char** environ;

namespace {

// A `dbictl respond` process; waits until it listens, stops it at the end.
class Responder {
public:
    Responder(const std::string& database, const std::string& text, std::vector<std::string> options = {}) {
        std::vector<std::string> words;
        boost::split(words, std::string(DBICTL_COMMAND), boost::is_any_of("|"));
        for (const char* word : {"respond", database.c_str(), "--endpoint", "1", "--operation", "1", "--text",
                                 text.c_str()})
            words.push_back(word);
        words.insert(words.end(), options.begin(), options.end());
        std::vector<char*> argv;
        for (std::string& word : words) argv.push_back(&word[0]);
        argv.push_back(nullptr);

        int pipeEnds[2];
        if (pipe(pipeEnds) != 0) throw std::runtime_error("pipe");
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDOUT_FILENO);
        posix_spawn_file_actions_addclose(&actions, pipeEnds[0]);
        const int failed = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        close(pipeEnds[1]);
        if (failed) throw std::runtime_error("cannot start " + words[0]);
        output = fdopen(pipeEnds[0], "r");
    }

    // True once the responder said it is answering.
    bool waitUntilListening() {
        char line[512];
        while (fgets(line, sizeof line, output))
            if (std::string(line).find("answering") != std::string::npos) return true;
        return false;
    }

    int stop() {
        kill(pid, SIGTERM);
        int status = 0;
        waitpid(pid, &status, 0);
        fclose(output);
        return status;
    }

private:
    pid_t pid = 0;
    FILE* output = nullptr;
};

class ProcessChannel : public dbitest::SchemaDatabase {
protected:
    void TearDown() override {
        dbi::Notify::setDefaultWakeInterval(boost::posix_time::time_duration());
        SchemaDatabase::TearDown();
    }
};

}  // namespace

TEST_F(ProcessChannel, aCommandIsAnsweredByAnotherProcess) {
    Responder responder(path, "from afar");
    ASSERT_TRUE(responder.waitUntilListening());
    dbi::library::CommandResponse command(1, 1, "slot 3", 3, 2, "", dbi::CURRENT_TIMESTAMP, 0, "", 0);
    const dbi::library::CommandResponse answer = dbi::sendCommand(command, boost::posix_time::seconds(40));
    EXPECT_EQ("3", answer.m_stateId.getValue());
    EXPECT_EQ("from afar", answer.m_resultString.getValue());
    const int status = responder.stop();
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

// Both processes wake on each other's commits: no hop waits for a poll.
TEST_F(ProcessChannel, withFastWakeACommandIsAnsweredWellWithinOnePoll) {
    Responder responder(path, "quickly", {"--wake", "5"});
    ASSERT_TRUE(responder.waitUntilListening());
    dbi::Notify::setDefaultWakeInterval(boost::posix_time::milliseconds(5));
    dbi::library::CommandResponse command(1, 1, "", 0, 2, "", dbi::CURRENT_TIMESTAMP, 0, "", 0);
    const boost::chrono::steady_clock::time_point start = boost::chrono::steady_clock::now();
    const dbi::library::CommandResponse answer = dbi::sendCommand(command, boost::posix_time::seconds(40));
    EXPECT_LT(boost::chrono::steady_clock::now() - start, boost::chrono::seconds(3));
    EXPECT_EQ("quickly", answer.m_resultString.getValue());
    responder.stop();
}
