#include <sqlite3.h>

#include <cstdlib>

#include "support/TestDatabase.h"

using dbitest::TestDatabase;

namespace {

class SchemaFile : public TestDatabase {};

}  // namespace

TEST_F(SchemaFile, loadsWithTheShellAndOpensWithTheDefaultFlags) {
    const std::string command = "sqlite3 '" + path + "' < '" DBI_SCHEMA_FILE "'";
    ASSERT_EQ(0, std::system(command.c_str()));
    dbi::Configure::setOptions(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX);
    EXPECT_EQ("32", scalar("SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite%'"));
    EXPECT_EQ("0", scalar("SELECT count(*) FROM library_event"));
    EXPECT_EQ("4", scalar("SELECT count(*) FROM library_crstate"));
}

TEST_F(SchemaFile, loadsTwiceThroughTheLibrary) {
    loadSchema();
    loadSchema();
    EXPECT_EQ("32", scalar("SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite%'"));
    EXPECT_EQ(0, exec("PRAGMA foreign_key_check").get<1>());
}
