// A program built against an installed dbi: opens a new file, commits one
// row through a savepoint and reads it back.
#include <dbi/dbi.h>
#include <sqlite3.h>

#include <iostream>

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    dbi::Configure::setOptions(argv[1], SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX);
    try {
        dbi::Transaction transaction(true);
        transaction.execStatement("CREATE TABLE t (a integer)");
        transaction.execStatement("INSERT INTO t VALUES (1)");
        transaction.release();
        dbi::ResultTuple rows = dbi::Transaction::getDefaultTransaction().execStatement("SELECT count(*) FROM t");
        std::cout << "dbi " << dbi::version() << ", rows: " << rows.get<0>().get()[1] << "\n";
        return std::string(rows.get<0>().get()[1]) == "1" ? 0 : 1;
    } catch (const dbi::DBIBaseException& e) {
        std::cerr << e.what() << "\n";
        return 1;
    }
}
