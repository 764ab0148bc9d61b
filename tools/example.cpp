// Creates a database file, runs nested transactions on it and prints what
// happened: the inner level rolled back, the outer one committed.
#include <dbi/dbi.h>
#include <sqlite3.h>

#include <iostream>

namespace {

int count(const char* table) {
    dbi::ResultTuple rows = dbi::Transaction::getDefaultTransaction().execStatement(
        std::string("SELECT count(*) FROM ") + table);
    return std::stoi(rows.get<0>().get()[1]);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string path = argc > 1 ? argv[1] : "dbi-example.db";
    dbi::Configure::setOptions(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX);
    try {
        dbi::Transaction::getDefaultTransaction().execStatement(
            "CREATE TABLE IF NOT EXISTS note (id integer PRIMARY KEY, text text)");
        std::cout << "database " << path << ": " << count("note") << " notes\n";
        dbi::Transaction outer(true);
        outer.execStatement("INSERT INTO note (text) VALUES ('kept')");
        std::cout << "outer savepoint " << outer.getSavepointName() << " inserted row " << outer.lastRowId() << "\n";
        {
            dbi::Transaction inner(true);
            inner.execStatement("INSERT INTO note (text) VALUES ('dropped')");
            std::cout << "inner savepoint " << inner.getSavepointName() << " inserted row " << inner.lastRowId()
                      << ", then left without release: rolled back\n";
        }
        outer.release();
        std::cout << "outer released: committed; now " << count("note") << " notes\n";
        try {
            dbi::Transaction::getDefaultTransaction().execStatement("INSERT INTO missing_table VALUES (1)");
        } catch (const dbi::DBIBaseException& e) {
            std::cout << "a bad statement fails with code " << e.getCode() << ": " << e.what() << "\n";
        }
    } catch (const dbi::DBIBaseException& e) {
        std::cerr << "dbi-example: " << e.what() << " (code " << e.getCode() << ")\n";
        return 1;
    }
    return 0;
}
