#ifndef DBI_CONFIGURE_H
#define DBI_CONFIGURE_H

#include <sqlite3.h>  // the open flags (SQLITE_OPEN_*) callers pass

#include <string>

#include "dbi/Export.h"

namespace dbi {

/// Process-wide settings of the database file. Set them once, before any
/// thread of the process touches the database: a thread that already holds a
/// connection keeps using it. Reads take no lock.
class DBI_EXPORT Configure {
public:
    Configure() = delete;

    /// The database file's path.
    static const std::string& getDatabaseName();
    /// SQLite's open flags (SQLITE_OPEN_*) for new connections.
    static int getDatabaseMode();

    /// Assigns both settings without checks; affects connections opened later.
    static void setOptions(const std::string& database, int mode);

    /// When on, the record layer's own statements carry their values as bound
    /// parameters of cached prepared statements instead of SQL text: no value
    /// can change a statement, and records are written faster. Off by default.
    static void setBindValues(bool on);
    /// Whether bound-values mode is on.
    static bool getBindValues();

private:
    static std::string m_database;
    static int m_mode;
    static bool m_bindValues;
};

}  // namespace dbi

#endif
