#ifndef DBI_TESTS_TESTDATABASE_H
#define DBI_TESTS_TESTDATABASE_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <dbi/dbi.h>

namespace dbitest {

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

    std::string directory;
    std::string path;
};

// Records every statement SQLite starts on this thread's connection.
class StatementTrace {
public:
    StatementTrace();
    ~StatementTrace();
    const std::vector<std::string>& statements() const { return seen; }
    void clear() { seen.clear(); }

private:
    static int onTrace(unsigned, void*, void*, void*);
    std::vector<std::string> seen;
};

// Text of the whole file.
std::string readFile(const std::string& path);

}  // namespace dbitest

#endif
