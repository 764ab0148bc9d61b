#ifndef DBI_TESTS_TESTDATABASE_H
#define DBI_TESTS_TESTDATABASE_H

#include <dbi/dbi.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

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
    void clear() { seen.clear(); }
    int count(const std::string& sql) const;

private:
    static int onTrace(unsigned, void*, void*, void*);
    Statements seen;
};

// Text of the whole file.
std::string readFile(const std::string& path);
// The names in a folder, "." and ".." among them; empty if it cannot be read.
std::set<std::string> listing(const std::string& directory);
inline bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

}  // namespace dbitest

#endif
