#include "support/ChannelSupport.h"

#include <spawn.h>
#include <unistd.h>

#include <boost/thread/lock_guard.hpp>

extern char** environ;

namespace dbitest {

void SchemaDatabase::SetUp() {
    TestDatabase::SetUp();
    loadSchema();
    exec(
        "INSERT INTO library_crendpoint VALUES (1, 'library manager'), (2, 'media manager');"
        "INSERT INTO library_croperation VALUES (1, 'inventory'), (2, 'move medium');");
}

void Inbox::add(const std::string& text) {
    boost::lock_guard<boost::mutex> lock(mutex);
    received.push_back(text);
    arrived.notify_all();
}

bool Inbox::waitFor(std::size_t count, int seconds) {
    boost::unique_lock<boost::mutex> lock(mutex);
    return arrived.wait_for(lock, boost::chrono::seconds(seconds), [&] { return received.size() >= count; });
}

std::vector<std::string> Inbox::texts() {
    boost::lock_guard<boost::mutex> lock(mutex);
    return received;
}

FILE* spawnReadingOutput(std::vector<std::string> words, pid_t& pid) {
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
    return fdopen(pipeEnds[0], "r");
}

}  // namespace dbitest
