#include "support/ChannelSupport.h"

#include <boost/thread/lock_guard.hpp>

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

}  // namespace dbitest
