#include "dbi/Configure.h"

#include <sqlite3.h>

namespace dbi {

std::string Configure::m_database = "/home/embedded/library/UDS/vigil.db";
// No SQLITE_OPEN_CREATE: the file must exist. No SQLite mutexes: a
// connection is never shared between threads.
int Configure::m_mode = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX;
bool Configure::m_bindValues = false;

const std::string& Configure::getDatabaseName() { return m_database; }

int Configure::getDatabaseMode() { return m_mode; }

void Configure::setOptions(const std::string& database, int mode) {
    m_database = database;
    m_mode = mode;
}

void Configure::setBindValues(bool on) { m_bindValues = on; }

bool Configure::getBindValues() { return m_bindValues; }

}  // namespace dbi
