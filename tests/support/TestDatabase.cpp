#include "support/TestDatabase.h"

#include <dirent.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#include <sqlite3.h>
#include <stdlib.h>

#include <algorithm>
#include <fstream>
#include <sstream>

namespace dbitest {

void TestDatabase::SetUp() {
    char pattern[] = "/tmp/dbi-test-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    directory = pattern;
    path = directory + "/test.db";
    dbi::DBManager::swapConnection(boost::shared_ptr<sqlite3>());
    dbi::Configure::setOptions(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX);
}

void TestDatabase::TearDown() {
    dbi::DBManager::swapConnection(boost::shared_ptr<sqlite3>());
    std::string command = "rm -rf '" + directory + "'";
    if (system(command.c_str()) != 0) ADD_FAILURE() << "could not remove " << directory;
}

dbi::ResultTuple TestDatabase::exec(const std::string& sql) {
    return dbi::Transaction::getDefaultTransaction().execStatement(sql);
}

void TestDatabase::loadSchema() {
    exec(readFile(DBI_SCHEMA_FILE));
}

std::string TestDatabase::scalar(const std::string& sql) {
    dbi::ResultTuple result = exec(sql);
    if (result.get<1>() != 1 || result.get<2>() != 1) {
        ADD_FAILURE() << sql << " gave " << result.get<1>() << " rows";
        return std::string();
    }
    const char* cell = result.get<0>().get()[1];
    return cell ? cell : "NULL";
}

OtherConnection TestDatabase::openOther(int flags) const {
    sqlite3* other = nullptr;
    EXPECT_EQ(SQLITE_OK, sqlite3_open_v2(path.c_str(), &other, flags, nullptr));
    return OtherConnection(other, sqlite3_close);
}

std::string TestDatabase::outside(const std::string& sql, const std::string& file) const {
    std::string rows;
    const auto addRow = [](void* out, int columns, char** cells, char**) {
        std::string& text = *static_cast<std::string*>(out);
        if (!text.empty()) text += ",";
        for (int i = 0; i < columns; ++i) text += std::string(i ? "|" : "") + (cells[i] ? cells[i] : "NULL");
        return 0;
    };
    sqlite3* raw = nullptr;
    sqlite3_open_v2(file.empty() ? path.c_str() : file.c_str(), &raw, SQLITE_OPEN_READWRITE, nullptr);
    const OtherConnection db(raw, sqlite3_close);
    EXPECT_EQ(SQLITE_OK, sqlite3_exec(raw, sql.c_str(), addRow, &rows, nullptr)) << sql << ": " << sqlite3_errmsg(raw);
    return rows;
}

void BothModes::SetUp() {
    TestDatabase::SetUp();
    dbi::Configure::setBindValues(bound());
}

void BothModes::TearDown() {
    dbi::Configure::setBindValues(false);
    TestDatabase::TearDown();
}

StatementTrace::StatementTrace() {
    sqlite3_trace_v2(dbi::DBManager::getConnection().get(), SQLITE_TRACE_STMT, &StatementTrace::onTrace, this);
}

StatementTrace::~StatementTrace() {
    sqlite3_trace_v2(dbi::DBManager::getConnection().get(), 0, nullptr, nullptr);
}

int StatementTrace::onTrace(unsigned, void* self, void*, void* text) {
    const char* sql = static_cast<const char*>(text);
    // Statements run from inside triggers are reported with a "--" prefix.
    if (sql && sql[0] != '-') static_cast<StatementTrace*>(self)->seen.emplace_back(sql);
    return 0;
}

int StatementTrace::count(const std::string& sql) const {
    return static_cast<int>(std::count(seen.begin(), seen.end(), sql));
}

ChildProcess::ChildProcess(const std::function<void(ChildProcess&)>& body) {
    dbi::DBManager::swapConnection(boost::shared_ptr<sqlite3>());
    if (pipe(channel) != 0) throw std::runtime_error("pipe failed");
    pid = fork();
    if (pid == 0) {
        close(channel[0]);
        body(*this);
        _exit(0);
    }
    close(channel[1]);
}

ChildProcess::~ChildProcess() {
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    close(channel[0]);
}

void ChildProcess::tell(char byte) {
    if (write(channel[1], &byte, 1) != 1) _exit(1);
}

char ChildProcess::heard() {
    char byte = 0;
    return read(channel[0], &byte, 1) == 1 ? byte : 0;
}

Failure failureOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const dbi::DBIBaseException& e) {
        return {e.getCode(), e.what()};
    } catch (const std::exception& e) {
        return {0, e.what()};
    }
    return {-1, ""};
}

std::string readFile(const std::string& path) {
    std::ifstream in(path);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::set<std::string> listing(const std::string& directory) {
    std::set<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(directory.c_str()), closedir);
    while (const dirent* entry = folder ? readdir(folder.get()) : nullptr) names.insert(entry->d_name);
    return names;
}

}  // namespace dbitest
