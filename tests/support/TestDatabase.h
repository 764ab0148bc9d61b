#ifndef DBI_TESTS_TESTDATABASE_H
#define DBI_TESTS_TESTDATABASE_H

#include <dbi/dbi.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/types.h>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace dbitest {

using Statements = std::vector<std::string>;
using OtherConnection = std::unique_ptr<sqlite3, int (*)(sqlite3*)>;

// A fresh database file in its own temporary folder, made the process's
// database for the test; the thread's connection is dropped before and after.
class TestDatabase : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Runs SQL on this thread's connection through the default transaction.
    dbi::ResultTuple exec(const std::string& sql);
    dbi::ResultTuple exec(const std::string& sql, const dbi::BoundValues& values) {
        return autocommit().execStatement(sql, values);
    }
    // Loads the project's schema file.
    void loadSchema();
    // The single value of a one-row, one-column query.
    std::string scalar(const std::string& sql);
    // A connection of its own to the file, as another process would have.
    OtherConnection openOther(int flags = SQLITE_OPEN_READWRITE) const;
    // Runs SQL on a connection of its own to `file` (the test's database
    // unless given): cells joined by "|", rows by ",".
    std::string outside(const std::string& sql, const std::string& file = "") const;
    dbi::Transaction& autocommit() { return dbi::Transaction::getDefaultTransaction(); }

    std::string directory;
    std::string path;
};

// The same tests with values written into statement texts and with values
// bound; the parameter is true for bound.
class BothModes : public TestDatabase, public ::testing::WithParamInterface<bool> {
protected:
    void SetUp() override;
    void TearDown() override;
    bool bound() const { return GetParam(); }
    // Runs SQL through `transaction`: as text, or prepared with nothing bound.
    dbi::ResultTuple run(const std::string& sql,
                         dbi::Transaction& transaction = dbi::Transaction::getDefaultTransaction()) {
        return bound() ? transaction.execStatement(sql, dbi::BoundValues()) : transaction.execStatement(sql);
    }
};

#define DBITEST_IN_BOTH_MODES(Suite)                           \
    INSTANTIATE_TEST_SUITE_P(Values, Suite, ::testing::Bool(), \
                             [](const auto& mode) { return mode.param ? "bound" : "text"; })

// Records every statement SQLite starts on this thread's connection.
class StatementTrace {
public:
    StatementTrace();
    ~StatementTrace();
    const Statements& statements() const { return seen; }
    int count(const std::string& sql) const;

private:
    static int onTrace(unsigned, void*, void*, void*);
    Statements seen;
};

// A forked child that runs `body` and then ends. Destroying it kills the
// child, as a crash would, and waits for it. This thread's connection is
// dropped first, so that the child does not inherit it.
class ChildProcess {
public:
    explicit ChildProcess(const std::function<void(ChildProcess&)>& body);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    // In the child: reports `byte` to the parent.
    void tell(char byte);
    // In the parent: the byte the child told, 0 if it ended without one.
    char heard();

private:
    pid_t pid = -1;
    int channel[2] = {-1, -1};
};

// What a call threw: the library's code (0 for any other exception, -1 when
// nothing was thrown) and the message.
struct Failure {
    int code;
    std::string message;
};
Failure failureOf(const std::function<void()>& call);

// Text of the whole file.
std::string readFile(const std::string& path);
// The names in a folder, "." and ".." among them; empty if it cannot be read.
std::set<std::string> listing(const std::string& directory);
inline bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

}  // namespace dbitest

#endif
